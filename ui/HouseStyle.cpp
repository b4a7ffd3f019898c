// SPDX-License-Identifier: Apache-2.0
#include "ui/HouseStyle.h"

#include "ui/Theme.h"

#include <QAbstractScrollArea>
#include <QPainter>
#include <QStyleFactory>
#include <QStyleOption>

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace {

// Pixels.
constexpr int BarThickness = 16;
constexpr int ThumbMargin = 2;
constexpr int LeastThumb = 28;
constexpr int FocusWidth = 2;
constexpr double Rounding = 3;
constexpr int HoverLight = 115; // percent

// A line of that width inside the rectangle, of whole dots of the screen: one that lies
// between two dots is paler.
void DrawFrame(QPainter &painter, const QRect &rectangle, const QColor &color, double width, double rounding = 0)
{
    const QTransform toDots = painter.deviceTransform();
    const QRectF dots = toDots.mapRect(QRectF(rectangle));
    const double scale = dots.width() / rectangle.width();
    const double line = std::max(1.0, std::round(width * scale));
    const QRectF whole(QPointF(std::ceil(dots.left()), std::ceil(dots.top())),
                       QPointF(std::floor(dots.right()), std::floor(dots.bottom())));
    const QRectF middle = whole.adjusted(line / 2, line / 2, -line / 2, -line / 2);
    painter.setPen(QPen(color, line / scale, Qt::SolidLine, Qt::SquareCap, rounding > 0 ? Qt::RoundJoin : Qt::MiterJoin));
    painter.drawRoundedRect(toDots.inverted().mapRect(middle), rounding, rounding);
}

QColor MarkColor(const QStyleOption &option)
{
    return (option.state & QStyle::State_Enabled) ? option.palette.color(QPalette::Text) : Theme::Current().Outline;
}

QColor LineColor(const QStyleOption &option)
{
    return (option.state & QStyle::State_MouseOver) ? MarkColor(option) : Theme::Current().Outline;
}

void DrawCheckBox(QPainter &painter, const QStyleOption &option)
{
    painter.setBrush(option.palette.color((option.state & QStyle::State_Sunken) ? QPalette::Button : QPalette::Base));
    DrawFrame(painter, option.rect, LineColor(option), 1, 2);
    if (!(option.state & QStyle::State_On))
        return;
    const QRectF box = option.rect;
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(MarkColor(option), box.width() / 7, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const auto at = [&box](double x, double y) { return box.topLeft() + QPointF(x * box.width(), y * box.height()); };
    painter.drawPolyline(QPolygonF({ at(0.25, 0.52), at(0.43, 0.71), at(0.77, 0.29) }));
}

void DrawRadioButton(QPainter &painter, const QStyleOption &option)
{
    const double side = std::min(option.rect.width(), option.rect.height());
    const QPointF centre = QRectF(option.rect).center();
    painter.setBrush(option.palette.color((option.state & QStyle::State_Sunken) ? QPalette::Button : QPalette::Base));
    painter.setPen(QPen(LineColor(option), 1));
    painter.drawEllipse(centre, (side - 1) / 2, (side - 1) / 2);
    if (!(option.state & QStyle::State_On))
        return;
    painter.setPen(Qt::NoPen);
    painter.setBrush(MarkColor(option));
    painter.drawEllipse(centre, side / 4, side / 4);
}

void DrawFocus(QPainter &painter, const QStyleOption &option)
{
    painter.setBrush(Qt::NoBrush);
    const bool isOnHighlight = option.state & QStyle::State_Selected;
    DrawFrame(painter, option.rect, isOnHighlight ? option.palette.color(QPalette::HighlightedText) : Theme::Current().Focus,
              option.rect.height() < 20 ? 1 : FocusWidth);
}

// Around a list or a text of many lines, and around an entry.
void DrawEdge(QPainter &painter, const QStyleOption &option, double rounding)
{
    painter.setBrush(Qt::NoBrush);
    if ((option.state & QStyle::State_HasFocus) && (option.state & QStyle::State_Enabled))
        DrawFrame(painter, option.rect, Theme::Current().Focus, FocusWidth, rounding);
    else
        DrawFrame(painter, option.rect, Theme::Current().Outline, 1, rounding);
}

void DrawButton(QPainter &painter, const QStyleOption &option)
{
    const auto *button = qstyleoption_cast<const QStyleOptionButton *>(&option);
    const bool isEnabled = option.state & QStyle::State_Enabled;
    const bool isDefault = button && (button->features & QStyleOptionButton::DefaultButton);
    QColor face = option.palette.color(QPalette::Button);
    if (option.state & (QStyle::State_Sunken | QStyle::State_On))
        face = option.palette.color(QPalette::Base);
    else if (isEnabled && (option.state & QStyle::State_MouseOver))
        face = face.lighter(HoverLight);
    painter.setBrush(face);
    if (isEnabled && isDefault)
        DrawFrame(painter, option.rect, option.palette.color(QPalette::Highlight), FocusWidth, Rounding);
    else
        DrawFrame(painter, option.rect, isEnabled ? Theme::Current().Outline : Theme::Current().Frame, 1, Rounding);
}

QRect Thumb(const QStyle &style, const QStyleOptionSlider &bar)
{
    if (bar.maximum <= bar.minimum)
        return {};
    const bool isUpright = bar.orientation == Qt::Vertical;
    const int room = isUpright ? bar.rect.height() : bar.rect.width();
    const qint64 steps = qint64(bar.maximum) - bar.minimum;
    const int least = style.pixelMetric(QStyle::PM_ScrollBarSliderMin, &bar);
    const int length = static_cast<int>(
        std::clamp<qint64>(room * qint64(bar.pageStep) / (steps + bar.pageStep), std::min(least, room), room));
    const int start
        = QStyle::sliderPositionFromValue(bar.minimum, bar.maximum, bar.sliderPosition, room - length, bar.upsideDown);
    const QRect thumb = isUpright ? QRect(bar.rect.x(), bar.rect.y() + start, bar.rect.width(), length)
                                  : QRect(bar.rect.x() + start, bar.rect.y(), length, bar.rect.height());
    return QStyle::visualRect(bar.direction, bar.rect, thumb);
}

// Without buttons at its ends.
QRect PartOfBar(const QStyle &style, const QStyleOptionSlider &bar, QStyle::SubControl part)
{
    const QRect thumb = Thumb(style, bar);
    const bool isUpright = bar.orientation == Qt::Vertical;
    const bool isReversed = !isUpright && bar.direction == Qt::RightToLeft;
    QRect before = bar.rect;
    QRect behind = bar.rect;
    if (isUpright) {
        before.setBottom(thumb.top() - 1);
        behind.setTop(thumb.bottom() + 1);
    } else {
        before.setRight(thumb.left() - 1);
        behind.setLeft(thumb.right() + 1);
    }
    switch (part) {
    case QStyle::SC_ScrollBarGroove: return bar.rect;
    case QStyle::SC_ScrollBarSlider: return thumb;
    case QStyle::SC_ScrollBarSubPage: return isReversed ? behind : before;
    case QStyle::SC_ScrollBarAddPage: return isReversed ? before : behind;
    default: return {};
    }
}

void DrawBar(const QStyle &style, QPainter &painter, const QStyleOptionSlider &bar)
{
    painter.fillRect(bar.rect, Theme::Current().Groove);
    if (!(bar.state & QStyle::State_Enabled))
        return;
    const bool isHeld = bar.activeSubControls & QStyle::SC_ScrollBarSlider;
    painter.setPen(Qt::NoPen);
    painter.setBrush(isHeld ? bar.palette.color(QPalette::WindowText) : Theme::Current().Outline);
    const QRectF thumb = QRectF(Thumb(style, bar)).adjusted(ThumbMargin, ThumbMargin, -ThumbMargin, -ThumbMargin);
    const double rounding = std::min(thumb.width(), thumb.height()) / 2;
    painter.drawRoundedRect(thumb, rounding, rounding);
}

}

HouseStyle::HouseStyle()
    : QProxyStyle(QStyleFactory::create(u"Fusion"_s))
{
}

void HouseStyle::drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                               const QWidget *widget) const
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    switch (element) {
    case PE_IndicatorCheckBox: DrawCheckBox(*painter, *option); break;
    case PE_IndicatorRadioButton: DrawRadioButton(*painter, *option); break;
    case PE_FrameFocusRect: DrawFocus(*painter, *option); break;
    case PE_FrameLineEdit: DrawEdge(*painter, *option, Rounding); break;
    case PE_Frame:
        if (qobject_cast<const QAbstractScrollArea *>(widget))
            DrawEdge(*painter, *option, 0);
        else
            DrawFrame(*painter, option->rect, Theme::Current().Frame, 1);
        break;
    case PE_PanelButtonCommand:
        if (Theme::CurrentLook() == Theme::Look::Light)
            QProxyStyle::drawPrimitive(element, option, painter, widget);
        else
            DrawButton(*painter, *option);
        if (option->state & State_HasFocus) {
            QStyleOption inside = *option;
            inside.rect = option->rect.adjusted(FocusWidth + 1, FocusWidth + 1, -FocusWidth - 1, -FocusWidth - 1);
            DrawFocus(*painter, inside);
        }
        break;
    default:
        painter->restore();
        QProxyStyle::drawPrimitive(element, option, painter, widget);
        return;
    }
    painter->restore();
}

void HouseStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex *option, QPainter *painter,
                                    const QWidget *widget) const
{
    const auto *bar = qstyleoption_cast<const QStyleOptionSlider *>(option);
    if (control != CC_ScrollBar || !bar) {
        QProxyStyle::drawComplexControl(control, option, painter, widget);
        return;
    }
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    DrawBar(*this, *painter, *bar);
    painter->restore();
}

QRect HouseStyle::subControlRect(ComplexControl control, const QStyleOptionComplex *option, SubControl part,
                                 const QWidget *widget) const
{
    const auto *bar = qstyleoption_cast<const QStyleOptionSlider *>(option);
    if (control == CC_ScrollBar && bar)
        return PartOfBar(*this, *bar, part);
    return QProxyStyle::subControlRect(control, option, part, widget);
}

int HouseStyle::pixelMetric(PixelMetric metric, const QStyleOption *option, const QWidget *widget) const
{
    switch (metric) {
    case PM_ScrollBarExtent: return BarThickness;
    case PM_ScrollBarSliderMin: return LeastThumb;
    case PM_DefaultFrameWidth:
        // Room for the frame of the focus.
        if (qobject_cast<const QAbstractScrollArea *>(widget))
            return FocusWidth;
        [[fallthrough]];
    default: return QProxyStyle::pixelMetric(metric, option, widget);
    }
}
