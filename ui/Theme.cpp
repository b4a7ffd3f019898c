// SPDX-License-Identifier: Apache-2.0
#include "ui/Theme.h"

#include <QApplication>
#include <QPalette>
#include <QStyleFactory>
#include <QWidget>

using namespace Qt::Literals::StringLiterals;

namespace Theme {

void Apply(QApplication &application)
{
    const QColor window(243, 246, 250);
    const QColor text = Brand::Ink;
    const QColor faint(140, 150, 163);
    QPalette palette(window);
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Base, Qt::white);
    palette.setColor(QPalette::AlternateBase, QColor(247, 249, 252));
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::Button, QColor(249, 251, 253));
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::ToolTipBase, Qt::white);
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::Highlight, QColor(37, 121, 199));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    for (const QPalette::ColorRole role : { QPalette::WindowText, QPalette::Text, QPalette::ButtonText })
        palette.setColor(QPalette::Disabled, role, faint);
    application.setStyle(QStyleFactory::create(u"Fusion"_s));
    application.setPalette(palette);
}

void ShowThumb(QWidget *scrollBar)
{
    scrollBar->setStyleSheet(
        u"QScrollBar:vertical { background: #edf1f6; width: 16px; }"
        "QScrollBar::handle:vertical { background: #a9b9cb; border-radius: 5px; margin: 2px; min-height: 28px; }"
        "QScrollBar::handle:vertical:hover { background: #8fa3ba; }"
        "QScrollBar::handle:vertical:disabled { background: #edf1f6; }"
        "QScrollBar::add-line, QScrollBar::sub-line { height: 0; }"
        "QScrollBar::add-page, QScrollBar::sub-page { background: transparent; }"_s);
}

void ScaleFont(QWidget *widget, double factor, int weight)
{
    QFont font = widget->font();
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * factor);
    else
        font.setPixelSize(qRound(font.pixelSize() * factor));
    font.setWeight(static_cast<QFont::Weight>(weight));
    widget->setFont(font);
}

}
