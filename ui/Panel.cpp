// SPDX-License-Identifier: Apache-2.0
#include "ui/Panel.h"

#include <QPainter>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString BackColorProperty = u"BackColor"_s;
const QString EnabledProperty = u"Enabled"_s;
const QString BorderColorName = u"BorderColor"_s;

}

Panel::Panel(QWidget *parent)
    : QWidget(parent)
{
}

void Panel::ReadProperties(const QVariantMap &Store)
{
    m_backColor = Store.value(BackColorProperty, OleColors::ButtonFace).toUInt();
    setEnabled(Store.value(EnabledProperty, true).toBool());
    m_borderColor = Store.value(BorderColorName, OleColors::WindowText).toUInt();
    update();
}

QVariantMap Panel::WriteProperties() const
{
    return { { BackColorProperty, m_backColor }, { EnabledProperty, Enabled() }, { BorderColorName, m_borderColor } };
}

void Panel::SetBackColor(OleColor Color)
{
    m_backColor = Color;
    update();
    Q_EMIT PropertyChanged(BackColorProperty);
}

void Panel::SetEnabled(bool Enabled)
{
    setEnabled(Enabled);
    Q_EMIT PropertyChanged(EnabledProperty);
}

void Panel::Refresh()
{
    repaint();
}

void Panel::SetBorderColor(OleColor Color)
{
    m_borderColor = Color;
    update();
    Q_EMIT PropertyChanged(BorderColorName);
}

void Panel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), OleColors::ToColor(m_backColor, palette()));
    painter.setPen(OleColors::ToColor(m_borderColor, palette()));
    // The line lies inside the edges at every size and scaling.
    const qreal half = 0.5;
    painter.drawRect(QRectF(rect()).adjusted(half, half, -half, -half));
}
