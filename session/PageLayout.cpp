// SPDX-License-Identifier: Apache-2.0
#include "session/PageLayout.h"

#include <algorithm>

namespace PageLayout {

namespace {

constexpr double Gap = 100; // above and below the frame
constexpr double EdgeGap = 50; // of what is right-aligned in the frame
constexpr double FirstRowGap = 500;
constexpr double RowGap = 200;
constexpr double ContentFoot = 1000;
constexpr double DragMargin = 10;

double Percent(double value, double percent)
{
    return value * percent / 100;
}

bool IsWithin(double value, double low, double high)
{
    return low <= value && value <= high;
}

}

Boxes Arrange(const Sizes &sizes, double NextHeight)
{
    Boxes boxes;
    Box &frame = boxes.Frame;
    frame.Top = sizes.Mark.Top + sizes.Mark.Height + Gap;
    frame.Width = Percent(sizes.InnerWidth, 99);
    frame.Height = sizes.InnerHeight - frame.Top - NextHeight - Gap;
    const double frameWidth = frame.Width - 2 * sizes.FrameBorder;
    const double frameHeight = frame.Height - 2 * sizes.FrameBorder;
    boxes.Content.Width = Percent(frameWidth, 97);
    boxes.ScrollBar = { frameWidth - sizes.ScrollBarWidth, 0, sizes.ScrollBarWidth, frameHeight };
    frame.Left = Twips::Centred(sizes.InnerWidth, frame.Width);
    boxes.MarkLeft = frame.Left;
    boxes.TimeLeft = frame.Left + frameWidth - sizes.Time.Width - EdgeGap;
    boxes.QuestionWidth = Percent(boxes.Content.Width, 98);
    return boxes;
}

ButtonLefts ArrangeButtons(const Box &frame, double innerHeight, double nextHeight, double reviewWidth, bool hasExhibit)
{
    ButtonLefts row;
    row.Top = innerHeight - nextHeight;
    row.Next = frame.Left;
    row.Review = frame.Left + frame.Width - reviewWidth;
    const double step = (row.Review - row.Next) / (hasExhibit ? 3 : 2);
    row.Prev = row.Next + step;
    row.Exhibit = row.Prev + step;
    return row;
}

double LabelWidth(double questionWidth, double selectorWidth)
{
    return questionWidth - selectorWidth;
}

Rows ArrangeRows(double questionHeight, const std::vector<double> &labelHeights)
{
    Rows rows;
    rows.ContentHeight = questionHeight;
    double top = questionHeight + FirstRowGap;
    for (const double height : labelHeights) {
        rows.Tops.push_back(top);
        rows.ContentHeight = top + height + ContentFoot;
        top += height + RowGap;
    }
    return rows;
}

Scroll ScrollFor(double frameInnerHeight, double contentHeight)
{
    if (frameInnerHeight >= contentHeight)
        return {};
    return { true, static_cast<int>(std::lround(contentHeight - frameInnerHeight)),
             static_cast<int>(std::lround(Percent(frameInnerHeight, 10))), static_cast<int>(std::lround(frameInnerHeight)) };
}

Point PanelFrame::Home() const
{
    return { Width - ScrollBarWidth - EdgeGap, Height - EdgeGap };
}

Point PanelFrame::Room() const
{
    return { Home().X - DragMargin, Home().Y - DragMargin };
}

Point PanelFrame::Drag(const Box &panel, Point press, Point pointer) const
{
    const double left = panel.Left + (pointer.X - press.X);
    const double top = panel.Top + (pointer.Y - press.Y);
    const bool across = IsWithin(left, DragMargin, Width - ScrollBarWidth - panel.Width - DragMargin);
    const bool down = IsWithin(top, DragMargin, Height - panel.Height - DragMargin);
    return { across ? left : panel.Left, down ? top : panel.Top };
}

Point PanelFrame::Grown(Point corner, double width, double height) const
{
    return { std::max(DragMargin, corner.X - width), std::max(DragMargin, corner.Y - height) };
}

}
