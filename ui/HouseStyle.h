// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QProxyStyle>

// Fusion, with what a control is known by in the colours of the current look: boxes to
// tick, frames of entries and lists, scroll bars, buttons, and the frame of what has
// the focus, which is always painted.
class HouseStyle : public QProxyStyle {
    Q_OBJECT
public:
    HouseStyle();

    void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                       const QWidget *widget) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex *option, QPainter *painter,
                            const QWidget *widget) const override;
    QRect subControlRect(ComplexControl control, const QStyleOptionComplex *option, SubControl part,
                         const QWidget *widget) const override;
    int pixelMetric(PixelMetric metric, const QStyleOption *option, const QWidget *widget) const override;
};
