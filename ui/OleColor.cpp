// SPDX-License-Identifier: Apache-2.0
#include "ui/OleColor.h"

#include <QPalette>

namespace OleColors {

OleColor Of(const QColor &Color)
{
    return static_cast<OleColor>(Color.red() | Color.green() << 8 | Color.blue() << 16);
}

QColor ToColor(OleColor Color, const QPalette &Palette)
{
    if ((Color & 0x80000000) == 0)
        return QColor(Color & 0xFF, Color >> 8 & 0xFF, Color >> 16 & 0xFF);
    switch (Color & 0xFF) {
    case 5: return Palette.color(QPalette::Base);
    case 13: return Palette.color(QPalette::Highlight);
    case 14: return Palette.color(QPalette::HighlightedText);
    case 15: return Palette.color(QPalette::Window);
    case 16: return Palette.color(QPalette::Dark);
    case 17: return Palette.color(QPalette::Disabled, QPalette::WindowText);
    case 18: return Palette.color(QPalette::ButtonText);
    case 20: return Palette.color(QPalette::Light);
    case 21: return Palette.color(QPalette::Shadow);
    case 22: return Palette.color(QPalette::Midlight);
    case 23: return Palette.color(QPalette::ToolTipText);
    case 24: return Palette.color(QPalette::ToolTipBase);
    case 26: return Palette.color(QPalette::Link);
    default: return Palette.color(QPalette::WindowText);
    }
}

}
