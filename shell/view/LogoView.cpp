// SPDX-License-Identifier: Apache-2.0
#include "shell/view/LogoView.h"

#include "resources/Artwork.h"
#include "ui/Accessible.h"
#include "ui/Messages.h"
#include "ui/Theme.h"

#include <QPainter>

using namespace Qt::Literals::StringLiterals;

LogoView::LogoView(int width, QWidget *parent)
    : QWidget(parent)
{
    setObjectName(u"picLogo"_s);
    SetAccessibleRole(this, QAccessible::Graphic);
    setAccessibleName(ApplicationTitle);
    SetWidth(width);
}

void LogoView::SetWidth(int width)
{
    setFixedSize(width, qRound(width / Artwork::LogoAspect));
}

void LogoView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    Artwork::PaintLogo(painter, QRectF(rect()), Theme::Current().LogoName);
}
