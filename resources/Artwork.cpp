// SPDX-License-Identifier: Apache-2.0
#include "resources/Artwork.h"

#include "resources/Brand.h"

#include <QFont>
#include <QFontMetricsF>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>

using namespace Qt::Literals::StringLiterals;

namespace Artwork {

namespace {

using Brand::Blue;
using Brand::Ink;
using Brand::Orange;
constexpr QColor SignBlue(37, 121, 199);
constexpr QColor DoneGreen(60, 145, 50);
constexpr QColor Pale(112, 124, 138);
constexpr QColor Amber(247, 183, 51);

// Drawings are made on a square of this size and scaled.
constexpr qreal Canvas = 100;

QPen Stroke(const QColor &color, qreal width)
{
    return QPen(color, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
}

void Tick(QPainter &painter, const QPointF &start, qreal size)
{
    painter.drawPolyline(QPolygonF({ start, start + QPointF(size * 0.38, size * 0.38), start + QPointF(size, -size * 0.42) }));
}

// An answer sheet: three rows, the middle one ticked.
void PaintEmblem(QPainter &painter, const QColor &ground, const QColor &mark)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(ground);
    painter.drawRoundedRect(QRectF(2, 2, 96, 96), 22, 22);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(Stroke(mark, 6));
    for (const qreal y : { 27.0, 75.0 }) {
        painter.drawEllipse(QPointF(27, y), 7, 7);
        painter.drawLine(QPointF(46, y), QPointF(80, y));
    }
    painter.setPen(Stroke(mark, 11));
    Tick(painter, QPointF(17, 50), 30);
    painter.setPen(Stroke(mark, 6));
    painter.drawLine(QPointF(58, 51), QPointF(80, 51));
}

void PaintChecked(QPainter &painter)
{
    // The white edge is seen where the ground is no lighter than the flag.
    for (const auto &[color, edge] : { std::pair{ QColor(Qt::white), 12 }, { Orange, 0 } }) {
        painter.setPen(Stroke(color, 9 + edge));
        painter.drawLine(QPointF(26, 10), QPointF(26, 92));
        painter.setPen(Stroke(color, 4 + edge));
        painter.setBrush(color);
        painter.drawPolygon(QPolygonF({ QPointF(28, 14), QPointF(84, 32), QPointF(28, 54) }));
    }
}

void PaintIncomplete(QPainter &painter)
{
    painter.setPen(Stroke(Pale, 9));
    painter.setBrush(Qt::white);
    painter.drawRoundedRect(QRectF(14, 14, 72, 72), 14, 14);
}

void PaintComplete(QPainter &painter)
{
    painter.setPen(Stroke(DoneGreen, 9));
    painter.setBrush(Qt::white);
    painter.drawRoundedRect(QRectF(14, 14, 72, 72), 14, 14);
    painter.setPen(Stroke(DoneGreen, 12));
    Tick(painter, QPointF(30, 52), 42);
}

void PaintDisc(QPainter &painter, const QColor &color)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawEllipse(QRectF(4, 4, 92, 92));
    painter.setBrush(Qt::NoBrush);
    painter.setPen(Stroke(Qt::white, 10));
}

void PaintCritical(QPainter &painter)
{
    PaintDisc(painter, Orange);
    painter.drawLine(QPointF(34, 34), QPointF(66, 66));
    painter.drawLine(QPointF(66, 34), QPointF(34, 66));
}

void PaintQuestion(QPainter &painter)
{
    PaintDisc(painter, SignBlue);
    QPainterPath hook(QPointF(36, 40));
    hook.cubicTo(QPointF(36, 16), QPointF(66, 18), QPointF(65, 38));
    hook.cubicTo(QPointF(64, 50), QPointF(50, 48), QPointF(50, 61));
    painter.drawPath(hook);
    painter.drawPoint(QPointF(50, 78));
}

void PaintExclamation(QPainter &painter)
{
    painter.setPen(Stroke(Amber, 8));
    painter.setBrush(Amber);
    painter.drawPolygon(QPolygonF({ QPointF(50, 10), QPointF(94, 88), QPointF(6, 88) }));
    painter.setPen(Stroke(Ink, 9));
    painter.drawLine(QPointF(50, 38), QPointF(50, 62));
    painter.drawPoint(QPointF(50, 77));
}

void PaintInformation(QPainter &painter)
{
    PaintDisc(painter, SignBlue);
    painter.drawPoint(QPointF(50, 27));
    painter.drawLine(QPointF(50, 46), QPointF(50, 74));
}

void PaintApplication(QPainter &painter)
{
    PaintEmblem(painter, Blue, Qt::white);
}

void OnCanvas(QPainter &painter, const QRectF &rectangle, void (*drawing)(QPainter &))
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal side = std::min(rectangle.width(), rectangle.height());
    painter.translate(rectangle.center() - QPointF(side, side) / 2);
    painter.scale(side / Canvas, side / Canvas);
    drawing(painter);
    painter.restore();
}

class VectorIcon : public QIconEngine {
public:
    explicit VectorIcon(void (*drawing)(QPainter &))
        : m_drawing(drawing)
    {
    }

    void paint(QPainter *painter, const QRect &rectangle, QIcon::Mode, QIcon::State) override
    {
        OnCanvas(*painter, QRectF(rectangle), m_drawing);
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect(QPoint(), size), mode, state);
        return pixmap;
    }

    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override
    {
        return { QSize(16, 16), QSize(32, 32), QSize(48, 48), QSize(128, 128) };
    }

    QIconEngine *clone() const override { return new VectorIcon(m_drawing); }

private:
    void (*m_drawing)(QPainter &);
};

// The name is drawn as an outline, so that it has the same width everywhere.
void PaintName(QPainter &painter, const QRectF &rectangle, const QColor &color)
{
    QFont font;
    font.setPixelSize(100);
    font.setWeight(QFont::Bold);
    QPainterPath name;
    name.addText(0, 0, font, u"Practorium"_s);
    const QRectF bounds = name.boundingRect();
    const qreal scale = std::min(rectangle.width() / bounds.width(), rectangle.height() / bounds.height());
    painter.save();
    painter.translate(rectangle.left(), rectangle.center().y());
    painter.scale(scale, scale);
    painter.translate(-bounds.left(), -bounds.center().y());
    painter.fillPath(name, color);
    painter.restore();
}

void PaintWhole(QPainter &painter, const QRectF &rectangle, void (*emblem)(QPainter &), const QColor &nameColor)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal height = std::min(rectangle.height(), rectangle.width() / LogoAspect);
    const QRectF area(rectangle.center().x() - height * LogoAspect / 2, rectangle.center().y() - height / 2,
                      height * LogoAspect, height);
    OnCanvas(painter, QRectF(area.topLeft(), QSizeF(height, height)), emblem);
    PaintName(painter, area.adjusted(height * 1.22, height * 0.18, 0, -height * 0.06), nameColor);
    painter.restore();
}

}

void PaintLogo(QPainter &painter, const QRectF &rectangle, const QColor &nameColor)
{
    PaintWhole(painter, rectangle, PaintApplication, nameColor);
}

void PaintPrintableLogo(QPainter &painter, const QRectF &rectangle)
{
    PaintWhole(
        painter, rectangle, [](QPainter &on) { PaintEmblem(on, Ink, Qt::white); }, Ink);
}

QIcon ApplicationIcon()
{
    return QIcon(new VectorIcon(PaintApplication));
}

QIcon StatusIcon(const QString &key)
{
    if (key == "Checked"_L1)
        return QIcon(new VectorIcon(PaintChecked));
    if (key == "Incomplete"_L1)
        return QIcon(new VectorIcon(PaintIncomplete));
    if (key == "Complete"_L1)
        return QIcon(new VectorIcon(PaintComplete));
    return {};
}

QIcon MessageIcon(const QString &key)
{
    if (key == "Critical"_L1)
        return QIcon(new VectorIcon(PaintCritical));
    if (key == "Question"_L1)
        return QIcon(new VectorIcon(PaintQuestion));
    if (key == "Exclamation"_L1)
        return QIcon(new VectorIcon(PaintExclamation));
    if (key == "Information"_L1)
        return QIcon(new VectorIcon(PaintInformation));
    return {};
}

}
