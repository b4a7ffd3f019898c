// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/Windows.h"

#include <QAbstractScrollArea>
#include <QAccessible>
#include <QImage>
#include <QLabel>
#include <QScrollArea>
#include <QScrollBar>
#include <QSet>

// What a window shows, in words.
namespace Windows {

inline QRect PlaceOf(const QWidget *part)
{
    return { part->mapTo(part->window(), QPoint()), part->size() };
}

// The colours of a picture.
inline QSet<QRgb> Colours(const QImage &picture)
{
    QSet<QRgb> colours;
    for (int dot = 0; dot < picture.width() * picture.height(); ++dot)
        colours += picture.pixel(dot % picture.width(), dot / picture.width());
    return colours;
}

// What is painted there in the picture of a window.
inline QImage Part(const QImage &picture, const QRect &place)
{
    const qreal scale = picture.devicePixelRatio();
    const QRectF dots(place.x() * scale, place.y() * scale, place.width() * scale, place.height() * scale);
    return picture.copy(dots.toRect() & picture.rect());
}

// Whether that is more than one colour.
inline bool HasInk(const QImage &picture, const QRect &place)
{
    const QImage part = Part(picture, place);
    for (int dot = 0; dot < part.width() * part.height(); ++dot) {
        if (part.pixel(dot % part.width(), dot / part.width()) != part.pixel(0, 0))
            return true;
    }
    return false;
}

// The parts of a widget that have no parts themselves.
inline QWidgetList PartsOf(QWidget *widget)
{
    if (auto *page = qobject_cast<QScrollArea *>(widget))
        return PartsOf(page->widget());
    QWidgetList parts;
    for (QWidget *child : widget->findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly)) {
        if (child->isVisible() && !child->isWindow() && !child->size().isEmpty() && !qobject_cast<QScrollBar *>(child))
            parts += PartsOf(child);
    }
    const auto *label = qobject_cast<QLabel *>(widget);
    const bool isEmpty = label && label->text().isEmpty() && label->pixmap(Qt::ReturnByValue).isNull();
    if (qobject_cast<QAbstractScrollArea *>(widget) || (parts.isEmpty() && !isEmpty))
        return { widget };
    return parts;
}

// Its text, or its name; "[x] " before what is chosen, "(" around what is disabled, "*" for a picture.
inline QString Described(const QWidget *part)
{
    QString text = part->property("text").toString();
    if (text.isEmpty())
        text = part->objectName().isEmpty() ? u"*"_s : part->objectName();
    if (const auto *button = qobject_cast<const QAbstractButton *>(part); button && button->isCheckable())
        text.prepend(button->isChecked() ? u"[x] "_s : u"[ ] "_s);
    return part->isEnabled() ? text : u'(' + text + u')';
}

// Where the Tab key stops, by name, in its order and from the given one on, if it is there.
inline QStringList TabStops(const QWidget *window, const QString &first)
{
    QStringList stops;
    for (const QWidget *next = window->nextInFocusChain(); next != window; next = next->nextInFocusChain()) {
        if (next->window() == window && next->isVisible() && next->isEnabled() && (next->focusPolicy() & Qt::TabFocus)
            && !next->focusProxy())
            stops += next->objectName();
    }
    std::rotate(stops.begin(), std::find(stops.begin(), stops.end(), first), stops.end());
    return stops;
}

// A window's title, and its parts row by row as they are read; "..." stands for
// much room. With the gaps come the pixels between one row and the next, and those
// of narrow gaps in a row. Each part must stand whole in the window and in nobody's
// way, have room for its text, and be painted. The Tab key goes through them as they
// are read, and each of its stops has a name for a screen reader.
inline QStringList Sketch(QWidget *window, bool hasGaps = false)
{
    const QImage picture = window->grab().toImage();
    QWidgetList parts = PartsOf(window);
    QStringList stops;
    std::stable_sort(parts.begin(), parts.end(),
                     [](const QWidget *a, const QWidget *b) { return PlaceOf(a).center().y() < PlaceOf(b).center().y(); });
    QStringList rows{ window->windowTitle() };
    const auto gap = [&](int pixels) {
        const bool isNarrow = hasGaps && pixels > 0 && pixels <= 30;
        return pixels > window->width() / 8 ? u" ..."_s : isNarrow ? u" %1"_s.arg(pixels) : u""_s;
    };
    int above = 0;
    while (!parts.isEmpty()) {
        const QRect first = PlaceOf(parts.first());
        QWidgetList row;
        for (QWidget *part : parts) {
            const QRect place = PlaceOf(part), common = place & first.adjusted(-QWIDGETSIZE_MAX, 0, QWIDGETSIZE_MAX, 0);
            if (4 * common.height() > std::min(first.height(), place.height()))
                row += part;
        }
        std::sort(row.begin(), row.end(),
                  [](const QWidget *a, const QWidget *b) { return PlaceOf(a).left() < PlaceOf(b).left(); });
        QString words;
        int right = 0, below = 0;
        for (QWidget *part : row) {
            parts.removeOne(part);
            const QString text = Described(part);
            const QRect place = PlaceOf(part);
            const auto *label = qobject_cast<const QLabel *>(part);
            const int flags = label && !label->buddy() ? 0 : Qt::TextShowMnemonic;
            const int needed = part->fontMetrics().size(flags, part->property("text").toString()).width();
            const bool isText = needed > 0;
            if (part->hasHeightForWidth())
                EXPECT_GE(part->height(), part->heightForWidth(part->width())) << text.toStdString() << " is cut off";
            else
                EXPECT_GE(part->width(), needed) << text.toStdString() << " is cut off";
            EXPECT_EQ(part->visibleRegion().boundingRect(), part->rect()) << text.toStdString() << " is covered";
            for (const QWidget *other : parts)
                EXPECT_FALSE(PlaceOf(other).intersects(place))
                    << text.toStdString() << " lies on " << Described(other).toStdString();
            EXPECT_TRUE(HasInk(picture, isText ? place : place.adjusted(-2, -2, 2, 2)))
                << text.toStdString() << " is not painted";
            words += gap(place.left() - right) + u' ' + text;
            below = std::max(below, place.bottom() + 1);
            // The label in a link stands for the link.
            QWidget *stop = part->focusPolicy() & Qt::TabFocus ? part : part->parentWidget();
            if (stop && stop->isEnabled() && (stop->focusPolicy() & Qt::TabFocus)) {
                stops += stop->objectName();
                EXPECT_NE(QAccessible::queryAccessibleInterface(stop)->text(QAccessible::Name), QString())
                    << text.toStdString();
            }
            right = place.right() + 1;
        }
        words += gap(window->width() - right);
        rows += (hasGaps ? u"%1:"_s.arg(first.top() - std::exchange(above, below)) + words : words.mid(1));
    }
    EXPECT_EQ(TabStops(window, stops.value(0)), stops);
    return rows;
}

}
