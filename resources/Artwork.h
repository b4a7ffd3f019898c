// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QColor>
#include <QIcon>
#include <QSizeF>

class QPainter;
class QRectF;

// The program's pictures, drawn as vectors at whatever size they are shown.
namespace Artwork {

// Width to height of both logos.
constexpr qreal LogoAspect = 4.2;

// Emblem and name, into the rectangle, the name in that colour.
void PaintLogo(QPainter &painter, const QRectF &rectangle, const QColor &nameColor);
// The same for paper: dark on white, little ink.
void PaintPrintableLogo(QPainter &painter, const QRectF &rectangle);

QIcon ApplicationIcon();

// The small pictures of the review list, by their keys "Checked" (marked for
// review), "Incomplete" and "Complete"; null for any other key.
QIcon StatusIcon(const QString &key);

// The pictures of message boxes: "Critical", "Question", "Exclamation" and
// "Information"; null for any other key.
QIcon MessageIcon(const QString &key);

}
