// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Twips.h"

// How the exhibit window sizes itself to its picture. All lengths are twips.
namespace ExhibitLayout {

using Twips::Box;

struct Sizes {
    double PictureWidth = 0; // natural, not scaled
    double PictureHeight = 0;
    double ScreenHeight = 0; // of the whole screen, task bar included
    double ScrollBarWidth = 0;
    double ButtonWidth = 0;
    double ButtonHeight = 0;
    // What the window's frame and title take of its outer size.
    double FrameWidth = 0;
    double FrameHeight = 0;
};

struct Boxes {
    double WindowWidth = 0; // outer
    double WindowHeight = 0;
    Box Viewport; // in the client area, like the two below
    Box ScrollBar;
    Box Button;
    // Without one its box and the three lengths below are 0.
    bool HasScrollBar = false;
    int Max = 0; // of the scroll bar; Min is 0
    int SmallChange = 0;
    int LargeChange = 0;
};

// A picture taller than 70 % of the screen is clipped to that and scrolls; one
// wider than the screen gives a window wider than the screen.
Boxes Arrange(const Sizes &sizes);

// The left edge on the screen, the frame's, of a window wider than the work
// area: it begins where the area does, or as far left of it as brings the Close
// button into view. areaLeft is a place on the screen; frameLeft is the width of
// the frame's left side.
double LeftOnScreen(const Boxes &boxes, double frameLeft, double areaLeft, double areaWidth);

}
