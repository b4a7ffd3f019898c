// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "resources/Brand.h"

#include <QPalette>

#include <functional>
#include <optional>

class QApplication;
class QWidget;

// How the program looks: the same style on every desktop, in one of three looks.
namespace Theme {

enum class Look { Light, Dark, HighContrast };

// The colours of the screen that no role of a palette stands for. Every text keeps
// a contrast of 4.5:1 to its ground, and what a control is known by 3:1.
struct Colors {
    QColor ListText;
    QColor CorrectText;
    QColor IncorrectText; // large: in the light look 3.7:1
    QColor PanelBack; // of the panel behind the two
    QColor PanelLine;
    QColor Outline; // of what is pressed, ticked, typed into and scrolled
    QColor Frame; // around what is only read
    QColor Focus;
    QColor Groove; // of a scroll bar
    QColor LogoName;
};

// The look that was applied last, and its colours; light before any.
Look CurrentLook();
const Colors &Current();

// Gives the application its style, palette and colours; every open window follows.
// The palette, where given, takes the place of the program's own of high contrast.
void Apply(QApplication &application, Look look = Look::Light, const std::optional<QPalette> &highContrast = {});
// Has the look that the user has chosen for the desktop, now and after each change.
void Follow(QApplication &application);
// Does this now and whenever the look has changed, as long as the widget lives.
void WithLook(QWidget *widget, std::function<void()> action);

// The widget's font, larger by the factor, in that weight of QFont::Weight.
void ScaleFont(QWidget *widget, double factor, int weight = 400);
// The font, made at least so large that it counts as a large text when it is bold: such
// a text can be read at a contrast of 3:1.
QFont Large(QFont font);

}
