// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/Sketch.h"

#include <QAbstractItemView>
#include <QCheckBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QStyleOptionButton>
#include <QStyleOptionSlider>

#include <cmath>

// How well what a window paints can be told apart, by the formulas of WCAG 2.2.
namespace Windows {

inline double Luminance(QRgb color)
{
    const auto linear
        = [](int part) { return part <= 10 ? part / 255.0 / 12.92 : std::pow((part / 255.0 + 0.055) / 1.055, 2.4); };
    return 0.2126 * linear(qRed(color)) + 0.7152 * linear(qGreen(color)) + 0.0722 * linear(qBlue(color));
}

inline double Contrast(QRgb one, QRgb other)
{
    const auto [dark, light] = std::minmax({ Luminance(one), Luminance(other) });
    return (light + 0.05) / (dark + 0.05);
}

// The contrast of the most frequent colour there to the one that differs most from it.
inline double ContrastIn(const QImage &picture, const QRect &place)
{
    const QImage part = Part(picture, place);
    QHash<QRgb, int> dots;
    for (int dot = 0; dot < part.width() * part.height(); ++dot)
        ++dots[part.pixel(dot % part.width(), dot / part.width())];
    const auto most = std::max_element(dots.cbegin(), dots.cend());
    double best = 1;
    for (auto color = dots.keyBegin(); color != dots.keyEnd(); ++color)
        best = std::max(best, Contrast(most.key(), *color));
    return best;
}

// Where a part of a window shows its text alone, by what it is.
inline QList<std::pair<QString, QRect>> TextsOf(QWidget *part)
{
    QList<std::pair<QString, QRect>> texts;
    const auto add = [&](const QString &name, const QWidget *on, const QRect &place) {
        // A bar between two links is no text.
        if (std::any_of(name.begin(), name.end(), [](QChar c) { return c.isLetterOrNumber(); }) && !place.isEmpty())
            texts += { name, place.translated(on->mapTo(part->window(), QPoint())) };
    };
    if (auto *list = qobject_cast<QAbstractItemView *>(part)) {
        for (int row = 0; row < list->model()->rowCount(); ++row) {
            for (int column = 0; column < list->model()->columnCount(); ++column) {
                const QModelIndex index = list->model()->index(row, column);
                QRect cell = list->visualRect(index) & list->viewport()->rect();
                if (!index.data(Qt::DecorationRole).isNull())
                    cell.setLeft(cell.left() + list->iconSize().width() + 4);
                add(index.data().toString(), list->viewport(), cell.adjusted(3, 3, -3, -3));
            }
        }
        for (const auto *header : list->findChildren<QHeaderView *>()) {
            if (header->isVisible())
                add(u"header"_s, header->viewport(), header->viewport()->rect().adjusted(3, 3, -40, -3));
        }
    } else if (auto *text = qobject_cast<QPlainTextEdit *>(part)) {
        add(text->toPlainText(), text->viewport(), text->viewport()->rect());
    } else if (auto *edit = qobject_cast<QLineEdit *>(part)) {
        add(edit->text(), edit, edit->rect().adjusted(5, 5, -5, -5));
    } else if (auto *button = qobject_cast<QAbstractButton *>(part)) {
        QStyleOptionButton option;
        option.initFrom(button);
        const bool isRadio = qobject_cast<QRadioButton *>(part), isBox = isRadio || qobject_cast<QCheckBox *>(part);
        const QRect box = part->style()->subElementRect(isRadio ? QStyle::SE_RadioButtonContents : QStyle::SE_CheckBoxContents,
                                                        &option, button);
        add(button->text(), button, isBox ? box.adjusted(1, 3, -1, -3) : button->rect().adjusted(8, 6, -8, -6));
    } else if (part->property("text").isValid()) {
        add(part->property("text").toString(), part, part->rect());
    }
    return texts;
}

// The parts that a control is known by: outside an edge of it, and the edge.
inline QList<std::pair<QString, QRect>> EdgesOf(QWidget *part)
{
    const auto across = [&](const char *name, const QRect &place) {
        const QRect edge(place.left() - 1, place.center().y(), 4, 1);
        return std::pair{ QLatin1String(name) + u' ' + part->objectName(), edge.translated(PlaceOf(part).topLeft()) };
    };
    QStyleOptionButton option;
    option.initFrom(part);
    if (qobject_cast<QRadioButton *>(part))
        return { across("circle", part->style()->subElementRect(QStyle::SE_RadioButtonIndicator, &option, part)) };
    if (qobject_cast<QCheckBox *>(part))
        return { across("box", part->style()->subElementRect(QStyle::SE_CheckBoxIndicator, &option, part)) };
    if (qobject_cast<QLineEdit *>(part) || qobject_cast<QAbstractScrollArea *>(part))
        return { across("edge of", part->rect()) };
    return {};
}

// Every text of the window has 4.5:1, or 3:1 when it is large; every edge, mark and thumb 3:1.
inline void ExpectContrast(QWidget *window)
{
    const QImage picture = window->grab().toImage();
    SCOPED_TRACE(window->windowTitle().toStdString() + " " + window->objectName().toStdString());
    const auto expect = [&](const QString &name, const QRect &place, double least) {
        EXPECT_GE(ContrastIn(picture, place), least) << name.left(60).toStdString();
    };
    int texts = 0;
    for (QWidget *part : PartsOf(window)) {
        const double points = QFontInfo(part->font()).pointSizeF();
        const bool isLarge = points >= 18 || (points >= 14 && part->font().bold());
        const auto *button = qobject_cast<QAbstractButton *>(part);
        for (const auto &[name, place] : TextsOf(part)) {
            if (part->isEnabled())
                expect(name, place, isLarge ? 3 : 4.5);
            ++texts;
        }
        for (const auto &[name, place] : EdgesOf(part)) {
            expect(name, place, 3);
            if (button && button->isChecked())
                expect(u"mark of "_s + name, place.adjusted(4, -4, 7, 4), 3);
        }
    }
    EXPECT_GT(texts, 0);
    for (auto *bar : window->findChildren<QScrollBar *>()) {
        if (!bar->isVisible() || !bar->isEnabled() || bar->maximum() == bar->minimum())
            continue;
        const QRect whole = PlaceOf(bar);
        expect(u"thumb of "_s + bar->objectName(), { whole.center().x(), whole.y(), 1, whole.height() }, 3);
    }
}

// Where the focus is can be seen of every stop of the Tab key: around it at least the
// length of two of its sides changes by 3:1.
inline void ExpectVisibleFocus(QWidget *window)
{
    QApplication::setActiveWindow(window);
    int stops = 0;
    for (QWidget *widget = window->nextInFocusChain(); widget != window; widget = widget->nextInFocusChain()) {
        if (!widget->isVisible() || !widget->isEnabled() || widget->focusProxy() || !(widget->focusPolicy() & Qt::TabFocus)
            || widget->window() != window)
            continue;
        const auto picture = [&] { return Part(window->grab().toImage(), PlaceOf(widget)); };
        // The focus may bring the widget into view, where it stays.
        widget->setFocus(Qt::TabFocusReason);
        const QImage with = picture();
        widget->clearFocus();
        const QImage without = picture();
        ++stops;
        int changed = 0;
        for (int dot = 0; dot < with.width() * with.height(); ++dot) {
            const QPoint at(dot % with.width(), dot / with.width());
            changed += Contrast(without.pixel(at), with.pixel(at)) >= 3;
        }
        EXPECT_GE(changed, std::min(with.width(), 60) + std::min(with.height(), 20))
            << window->objectName().toStdString() << ' ' << Described(widget).toStdString();
    }
    EXPECT_GT(stops, 0);
}

}
