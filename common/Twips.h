// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QRect>
#include <QSize>

#include <cmath>

// Lengths in rules are twips, 1/1440 inch; widgets take pixels, of which an
// inch has 96 before the scale of the screen. Only this file converts one into the
// other.
namespace Twips {

constexpr double PerPixel = 15.0;

inline int ToPixels(double twips)
{
    return static_cast<int>(std::lround(twips / PerPixel));
}

constexpr double FromPixels(int pixels)
{
    return pixels * PerPixel;
}

// The left edge of what stands in the middle of a container.
constexpr double Centred(double innerWidth, double width)
{
    return (innerWidth - width) / 2;
}

// A rectangle in twips.
struct Box {
    double Left = 0;
    double Top = 0;
    double Width = 0;
    double Height = 0;

    double Right() const { return Left + Width; }
    double Bottom() const { return Top + Height; }
    bool operator==(const Box &) const = default;

    // Edges are rounded, not sizes, so that boxes that touch still do.
    QRect ToPixels() const
    {
        const int left = Twips::ToPixels(Left);
        const int top = Twips::ToPixels(Top);
        return QRect(left, top, Twips::ToPixels(Right()) - left, Twips::ToPixels(Bottom()) - top);
    }
};

}
