// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Twips.h"

#include <vector>

// Where everything on the exam page goes, as functions from sizes to
// rectangles. All lengths are twips inside the window's client area; "inner"
// sizes are without the container's border. Nothing is clamped: a window too
// small for its page gives negative heights.
namespace PageLayout {

using Twips::Box;

struct Sizes {
    double InnerWidth = 0;
    double InnerHeight = 0;
    // The mark box stays where the page's design has it.
    Box Mark;
    Box Time; // only its width and height count
    double FrameBorder = 0; // of the question frame, on each side
    double ScrollBarWidth = 0;
};

struct Boxes {
    Box Frame; // in the window
    Box Content; // in the frame, at its top left; its height comes from ArrangeRows
    Box ScrollBar; // in the frame
    double MarkLeft = 0; // in the window, like TimeLeft
    double TimeLeft = 0;
    double QuestionWidth = 0; // of the question text
};

// The page for a window size; NextHeight is the height of the button row.
Boxes Arrange(const Sizes &sizes, double NextHeight);

struct ButtonLefts {
    double Top = 0;
    double Next = 0;
    double Prev = 0;
    double Exhibit = 0; // means nothing while the button is hidden
    double Review = 0;
};

// The row of buttons below the frame, evenly spaced by their left edges, from the
// frame's left edge to its right one, where Review ends. They stand on the bottom
// of the window. Frame and innerHeight are in the window.
ButtonLefts ArrangeButtons(const Box &frame, double innerHeight, double nextHeight, double reviewWidth, bool hasExhibit);

// The width that an option's text gets beside a selector.
double LabelWidth(double questionWidth, double selectorWidth);

// The tops of the option rows below a question text that begins at the top of
// the content, and the height of the content that holds them. Without rows that
// is the question's height.
struct Rows {
    std::vector<double> Tops;
    double ContentHeight = 0;
};
Rows ArrangeRows(double questionHeight, const std::vector<double> &labelHeights);

// The scroll bar for a content in a frame, its values in twips; for what fits it
// is disabled and all of them are 0.
struct Scroll {
    bool IsEnabled = false;
    int Max = 0; // Min is 0
    int SmallChange = 0;
    int LargeChange = 0;
};
Scroll ScrollFor(double frameInnerHeight, double contentHeight);

struct Point {
    double X = 0;
    double Y = 0;
};

// The panel of the review inside the question frame, which may have it anywhere
// but on the scroll bar. The frame's size is its inner one.
struct PanelFrame {
    double Width = 0;
    double Height = 0;
    double ScrollBarWidth = 0;

    // The largest panel that has its home, and may be moved, inside the frame:
    // X is its width, Y its height.
    Point Room() const;
    // The panel's lower right corner at its home.
    Point Home() const;
    // Where the panel goes when the pointer, in the panel's own coordinates,
    // has moved away from where it was pressed. Each axis moves only as long as
    // it stays inside the frame; otherwise it keeps the panel's present place.
    Point Drag(const Box &panel, Point press, Point pointer) const;
    // Where a panel of another size goes whose lower right corner was inside:
    // away from that corner as far as there is room, then beyond it.
    Point Grown(Point corner, double width, double height) const;
};

}
