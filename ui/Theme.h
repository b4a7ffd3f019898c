// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "resources/Brand.h"

class QApplication;
class QWidget;

// How the program looks on every desktop: a light palette of its own, because
// the fixed colours of texts and bars need one.
namespace Theme {

using Brand::Blue;
using Brand::Green;
using Brand::Orange;
constexpr QColor ListText(64, 64, 64);
constexpr QColor CorrectText(0, 128, 0);
constexpr QColor IncorrectText(255, 0, 0);

// Gives the application its style and palette.
void Apply(QApplication &application);

// A scroll bar whose thumb stands out from its groove.
void ShowThumb(QWidget *scrollBar);

// The widget's font, larger by the factor, in that weight of QFont::Weight.
void ScaleFont(QWidget *widget, double factor, int weight = 400);

}
