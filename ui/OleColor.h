// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QColor>

class QPalette;

// A colour as 0x00BBGGRR, or with the top bit set the number of a colour of
// the system's own.
using OleColor = quint32;

namespace OleColors {

constexpr OleColor LinkBlue = 0xFF0000;
constexpr OleColor WindowText = 0x80000008;
constexpr OleColor ButtonFace = 0x8000000F;
constexpr OleColor WindowBack = 0x80000005;
constexpr OleColor HotLight = 0x8000001A; // of links

// The colour without its opacity.
OleColor Of(const QColor &Color);

// A system colour without an equal in the palette gives its window text.
QColor ToColor(OleColor Color, const QPalette &Palette);

}
