// SPDX-License-Identifier: Apache-2.0
#include "ui/LinkLabel.h"

#include "common/Common.h"
#include "ui/Browser.h"
#include "ui/Guard.h"
#include "ui/Theme.h"

#include <QAccessibleWidget>
#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QStyleOptionFocusRect>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString HRefName = u"HRef"_s;
const QString ForeColorName = u"ForeColor"_s;
const QString EnabledName = u"Enabled"_s;
const QString FontName = u"Font"_s;
const QString CaptionName = u"Caption"_s;
const QString BackColorName = u"BackColor"_s;

}

// A link that assistive technology can follow.
class LinkInterface : public QAccessibleWidget {
public:
    explicit LinkInterface(LinkLabel *link)
        : QAccessibleWidget(link, QAccessible::Link)
        , m_link(link)
    {
    }

    static QAccessibleInterface *New(const QString &className, QObject *object)
    {
        return className == "LinkLabel"_L1 ? new LinkInterface(static_cast<LinkLabel *>(object)) : nullptr;
    }
    QStringList actionNames() const override
    {
        return m_link->isEnabled() ? QStringList(pressAction()) + QAccessibleWidget::actionNames() : QStringList();
    }
    // Later, because the caller waits for the return, and following may open a modal window.
    void doAction(const QString &action) override
    {
        if (action == pressAction() && m_link->isEnabled())
            QMetaObject::invokeMethod(m_link, &LinkLabel::Follow, Qt::QueuedConnection);
        else
            QAccessibleWidget::doAction(action);
    }

private:
    LinkLabel *m_link;
};

LinkLabel::LinkLabel(QWidget *parent)
    : QWidget(parent)
    , lblLink(new QLabel(this))
{
    static const bool installed = (QAccessible::installFactory(LinkInterface::New), true);
    Q_UNUSED(installed);
    lblLink->setTextFormat(Qt::PlainText);
    lblLink->setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    setAutoFillBackground(true);
    Apply();
}

void LinkLabel::InitProperties()
{
    QFont underlined = lblLink->font();
    underlined.setUnderline(true);
    lblLink->setFont(underlined);
    m_foreColor = OleColors::LinkBlue;
    lblLink->setText(objectName());
    Apply();
}

void LinkLabel::ReadProperties(const QVariantMap &Store)
{
    m_href = Store.value(HRefName).toString();
    m_foreColor = Store.value(ForeColorName, OleColors::LinkBlue).toUInt();
    setEnabled(Store.value(EnabledName, true).toBool());
    lblLink->setFont(Store.value(FontName, parentWidget() ? parentWidget()->font() : font()).value<QFont>());
    lblLink->setText(Store.value(CaptionName, u"LinkLabel"_s).toString());
    m_backColor = Store.value(BackColorName, OleColors::ButtonFace).toUInt();
    Apply();
}

QVariantMap LinkLabel::WriteProperties() const
{
    return { { HRefName, m_href },          { ForeColorName, m_foreColor }, { EnabledName, Enabled() },
             { FontName, lblLink->font() }, { CaptionName, Caption() },     { BackColorName, m_backColor } };
}

void LinkLabel::SetHRef(const QString &HRef)
{
    m_href = HRef;
    Q_EMIT PropertyChanged(HRefName);
}

void LinkLabel::SetForeColor(OleColor Color)
{
    m_foreColor = Color;
    Apply();
    Q_EMIT PropertyChanged(ForeColorName);
}

void LinkLabel::SetEnabled(bool Enabled)
{
    setEnabled(Enabled);
    Q_EMIT PropertyChanged(EnabledName);
}

QFont LinkLabel::Font() const
{
    return lblLink->font();
}

void LinkLabel::SetFont(const QFont &Font)
{
    lblLink->setFont(Font);
    Fit();
    Q_EMIT PropertyChanged(FontName);
}

void LinkLabel::Refresh()
{
    lblLink->repaint();
}

QString LinkLabel::Caption() const
{
    return lblLink->text();
}

void LinkLabel::SetCaption(const QString &Caption)
{
    lblLink->setText(Caption);
    Apply();
    Q_EMIT PropertyChanged(CaptionName);
}

void LinkLabel::SetBackColor(OleColor Color)
{
    m_backColor = Color;
    Apply();
    Q_EMIT PropertyChanged(BackColorName);
}

void LinkLabel::Apply()
{
    const QPalette system = parentWidget() ? parentWidget()->palette() : QApplication::palette();
    QPalette surface;
    surface.setColor(QPalette::Window, OleColors::ToColor(m_backColor, system));
    setPalette(surface);
    // The blue of links is made for a light ground.
    const bool isLight = Theme::CurrentLook() == Theme::Look::Light;
    const OleColor ink = m_foreColor == OleColors::LinkBlue && !isLight ? OleColors::HotLight : m_foreColor;
    QPalette text;
    for (const QPalette::ColorGroup group : { QPalette::Active, QPalette::Inactive })
        text.setColor(group, QPalette::WindowText, OleColors::ToColor(ink, system));
    lblLink->setPalette(text);
    setAccessibleName(Caption());
    Fit();
}

void LinkLabel::Fit()
{
    lblLink->adjustSize();
    setFixedSize(lblLink->size());
}

void LinkLabel::Follow()
{
    Guard([&] {
        const QString address = Common::TrimBlanks(m_href);
        if (!address.isEmpty())
            LaunchBrowser(address);
    });
    Q_EMIT Click();
}

void LinkLabel::showEvent(QShowEvent *event)
{
    Fit();
    QWidget::showEvent(event);
}

void LinkLabel::mouseReleaseEvent(QMouseEvent *event)
{
    // The second release of a double-click is no click of its own.
    if (event->button() == Qt::LeftButton && !std::exchange(m_isDoubleClick, false)
        && rect().contains(event->position().toPoint()))
        Follow();
}

void LinkLabel::mouseDoubleClickEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        m_isDoubleClick = true;
}

void LinkLabel::keyPressEvent(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space: Follow(); break;
    default: QWidget::keyPressEvent(event);
    }
}

void LinkLabel::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        Fit();
    // The parent has its new colours by now. Setting the same ones again is no change.
    if (event->type() == QEvent::PaletteChange)
        Apply();
    QWidget::changeEvent(event);
}

void LinkLabel::paintEvent(QPaintEvent *)
{
    if (!hasFocus())
        return;
    QPainter painter(this);
    QStyleOptionFocusRect frame;
    frame.initFrom(this);
    style()->drawPrimitive(QStyle::PE_FrameFocusRect, &frame, &painter, this);
}
