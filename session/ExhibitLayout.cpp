// SPDX-License-Identifier: Apache-2.0
#include "session/ExhibitLayout.h"

#include <algorithm>

namespace ExhibitLayout {

namespace {

constexpr double SideRoom = 200;
constexpr double FootRoom = 550;
constexpr double ButtonGap = 150;
constexpr double LeastFoot = 60;
constexpr double ScreenShare = 70; // percent

}

Boxes Arrange(const Sizes &sizes)
{
    Boxes boxes;
    boxes.Viewport.Width = sizes.PictureWidth;
    // A picture narrower than the button would cut it off.
    boxes.WindowWidth = std::max(boxes.Viewport.Width, sizes.ButtonWidth) + SideRoom;
    const double narrow = boxes.WindowWidth - sizes.FrameWidth;
    boxes.Viewport.Left = Twips::Centred(narrow, boxes.Viewport.Width);

    const double tallest = sizes.ScreenHeight * ScreenShare / 100;
    boxes.HasScrollBar = sizes.PictureHeight > tallest;
    boxes.Viewport.Height = std::min(sizes.PictureHeight, tallest);
    if (boxes.HasScrollBar)
        boxes.WindowWidth += sizes.ScrollBarWidth;
    boxes.WindowHeight = boxes.Viewport.Height + sizes.ButtonHeight + FootRoom;

    const double innerWidth = boxes.WindowWidth - sizes.FrameWidth;
    boxes.Button = { Twips::Centred(innerWidth, sizes.ButtonWidth), boxes.Viewport.Height + ButtonGap, sizes.ButtonWidth,
                     sizes.ButtonHeight };
    // Under a title bar taller than the room at the foot the button would be
    // cut off.
    boxes.WindowHeight = std::max(boxes.WindowHeight, boxes.Button.Bottom() + LeastFoot + sizes.FrameHeight);
    if (boxes.HasScrollBar) {
        boxes.ScrollBar
            = { innerWidth - sizes.ScrollBarWidth, 0, sizes.ScrollBarWidth, boxes.WindowHeight - sizes.FrameHeight };
        boxes.Max = static_cast<int>(std::lround(sizes.PictureHeight - boxes.Viewport.Height));
        boxes.SmallChange = static_cast<int>(std::lround(boxes.Viewport.Height * 10 / 100));
        boxes.LargeChange = static_cast<int>(std::lround(boxes.Viewport.Height));
    }
    return boxes;
}

double LeftOnScreen(const Boxes &boxes, double frameLeft, double areaLeft, double areaWidth)
{
    const double shown = frameLeft + boxes.Button.Right() + ButtonGap;
    return areaLeft - std::max(0.0, shown - areaWidth);
}

}
