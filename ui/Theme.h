#pragma once

#include <QColor>

class QApplication;
class QWidget;

// How the program looks on every desktop: a light palette of its own, because
// the fixed colours of texts and bars need one.
namespace Theme {

constexpr QColor Blue(58, 153, 239);
constexpr QColor Orange(228, 78, 39);
constexpr QColor Green(153, 239, 58);
constexpr QColor ListText(64, 64, 64);
constexpr QColor CorrectText(0, 128, 0);
constexpr QColor IncorrectText(255, 0, 0);
constexpr QColor Line(198, 207, 218);

// Gives the application its style and palette.
void Apply(QApplication &application);

// A scroll bar whose thumb stands out from its groove.
void ShowThumb(QWidget *scrollBar);

// The widget's font, larger by the factor, in that weight of QFont::Weight.
void ScaleFont(QWidget *widget, double factor, int weight = 400);

}
