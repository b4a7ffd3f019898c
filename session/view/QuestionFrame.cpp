// SPDX-License-Identifier: Apache-2.0
#include "session/view/QuestionFrame.h"

#include "session/view/InfoPanel.h"
#include "session/view/OptionRows.h"
#include "ui/Accessible.h"
#include "ui/TextBlock.h"
#include "ui/Theme.h"

#include <QCoreApplication>
#include <QPushButton>
#include <QScopeGuard>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QWheelEvent>

using namespace Qt::Literals::StringLiterals;

namespace {

// Room inside the question text, in pixels, so that nothing touches the frame's
// line.
constexpr int TextInset = OptionRows::Inset;
constexpr double QuestionScale = 1.3;
// Characters of an item that are laid out before they are asked for: what takes so short
// that a key or a click meanwhile is not noticeably late.
constexpr qsizetype MostAhead = 30'000;

}

QuestionFrame::QuestionFrame(QWidget *parent)
    : QFrame(parent)
    , picQuestion(new QWidget(this))
    , lblQuestion(new TextBlock(picQuestion))
    , m_rows(new OptionRows(picQuestion))
    , vsbScroll(new QScrollBar(Qt::Vertical, this))
    , fraInfo(new InfoPanel(this))
{
    SetAccessibleRole(this, QAccessible::Grouping);
    setObjectName(u"picBorder"_s);
    picQuestion->setObjectName(u"picQuestion"_s);
    lblQuestion->setObjectName(u"lblQuestion"_s);
    vsbScroll->setObjectName(u"vsbScroll"_s);
    vsbScroll->setAccessibleName(u"Scroll the question"_s);
    setFrameShape(QFrame::StyledPanel);
    setBackgroundRole(QPalette::Base);
    setAutoFillBackground(true);
    lblQuestion->SetInsets(TextInset, TextInset);
    SetTextScale(1);
    fraInfo->hide();
    connect(vsbScroll, &QScrollBar::valueChanged, this, &QuestionFrame::MoveContent);
    connect(m_rows, &OptionRows::RadioClicked, this, &QuestionFrame::RadioClicked);
    connect(m_rows, &OptionRows::CheckClicked, this, &QuestionFrame::CheckClicked);
    connect(m_rows, &OptionRows::LabelClicked, this, &QuestionFrame::LabelClicked);
    connect(m_rows, &OptionRows::Reached, this, &QuestionFrame::Reveal);
    connect(fraInfo, &InfoPanel::Dragged, this, [this](PageLayout::Point press, PageLayout::Point pointer) {
        MovePanel({ pointer.X - press.X, pointer.Y - press.Y });
    });
}

PageLayout::PanelFrame QuestionFrame::PanelFrame() const
{
    return { Twips::FromPixels(contentsRect().width()), Twips::FromPixels(contentsRect().height()), ScrollBarTwips() };
}

void QuestionFrame::PutPanel(PageLayout::Point topLeft)
{
    fraInfo->move(contentsRect().topLeft() + QPoint(Twips::ToPixels(topLeft.X), Twips::ToPixels(topLeft.Y)));
}

void QuestionFrame::MovePanel(PageLayout::Point distance)
{
    const QPoint from = fraInfo->pos() - contentsRect().topLeft();
    const PageLayout::Box panel{ Twips::FromPixels(from.x()), Twips::FromPixels(from.y()), Twips::FromPixels(fraInfo->width()),
                                 Twips::FromPixels(fraInfo->height()) };
    const PageLayout::Point to = PanelFrame().Drag(panel, {}, distance);
    PutPanel(to);
    if (to.X != panel.Left)
        m_panelCorner.X = to.X + panel.Width;
    if (to.Y != panel.Top)
        m_panelCorner.Y = to.Y + panel.Height;
}

double QuestionFrame::BorderTwips() const
{
    return Twips::FromPixels(frameWidth());
}

double QuestionFrame::ScrollBarTwips() const
{
    return Twips::FromPixels(vsbScroll->sizeHint().width());
}

void QuestionFrame::ChainTabs(QWidget *before, QWidget *after)
{
    m_rows->ChainTabs(before, fraInfo->WhyButton());
    QWidget::setTabOrder(fraInfo->WhyButton(), after);
}

void QuestionFrame::ShowItem(const PageState &page)
{
    // For each control that comes into view the toolkit asks the display server
    // where the pointer is, so they come all at once. The focus must not leave.
    const bool hasFocus = picQuestion->isAncestorOf(window()->focusWidget());
    picQuestion->setVisible(hasFocus);
    const auto show = qScopeGuard([this] { picQuestion->show(); });
    lblQuestion->SetText(page.Problem);
    m_rows->Load(page);
    m_keptScroll = 0;
    vsbScroll->setValue(0);
    ArrangeRows();
    MoveContent(0);
    m_rows->KeepFocusAbove(contentsRect().height());
}

void QuestionFrame::Prepare(QStringList texts)
{
    qsizetype length = 0;
    for (const QString &text : texts)
        length += text.size();
    if (texts.isEmpty() || length > MostAhead)
        return;
    lblQuestion->Prepare(texts.takeFirst());
    m_rows->Prepare(texts);
}

void QuestionFrame::ShowChanges(const PageState &page)
{
    m_rows->Update(page);
    fraInfo->setVisible(page.IsPostExam);
    if (page.IsPostExam) {
        fraInfo->Display(page);
        // A longer key makes the panel grow away from the corner it stands in,
        // as far as the frame has room there; a shorter one brings it back.
        PutPanel(PanelFrame().Grown(m_panelCorner, Twips::FromPixels(fraInfo->width()), Twips::FromPixels(fraInfo->height())));
        fraInfo->raise();
    }
}

void QuestionFrame::Place(const PageLayout::Boxes &boxes)
{
    m_boxes = boxes;
    const QPoint corner = contentsRect().topLeft();
    // Rounding may make it a pixel too long for the frame.
    vsbScroll->setGeometry(boxes.ScrollBar.ToPixels().translated(corner) & contentsRect());
    const PageLayout::Point room = PanelFrame().Room();
    fraInfo->SetRoom({ Twips::ToPixels(room.X), Twips::ToPixels(room.Y) });
    m_panelCorner = PanelFrame().Home();
    PutPanel({ m_panelCorner.X - Twips::FromPixels(fraInfo->width()), m_panelCorner.Y - Twips::FromPixels(fraInfo->height()) });
    ArrangeRows();
    // The content is shown from its top again, whatever the scroll bar says.
    MoveContent(0);
}

void QuestionFrame::ArrangeRows()
{
    // Before Place has given the width every character would be a line of its own.
    if (m_boxes.QuestionWidth <= 0)
        return;
    const int questionWidth = Twips::ToPixels(m_boxes.QuestionWidth);
    const int questionHeight = lblQuestion->HeightForWidth(questionWidth);
    lblQuestion->setGeometry(0, 0, questionWidth, questionHeight);
    m_contentHeight = m_rows->Arrange(m_boxes.QuestionWidth, Twips::FromPixels(questionHeight));
    picQuestion->resize(Twips::ToPixels(m_boxes.Content.Width), Twips::ToPixels(m_contentHeight));
    AdjustScrollBar();
}

void QuestionFrame::AdjustScrollBar()
{
    const PageLayout::Scroll scroll = PageLayout::ScrollFor(Twips::FromPixels(contentsRect().height()), m_contentHeight);
    const bool wasEnabled = vsbScroll->isEnabled();
    vsbScroll->setEnabled(scroll.IsEnabled);
    if (!scroll.IsEnabled) {
        if (wasEnabled)
            m_keptScroll = vsbScroll->value();
        vsbScroll->setRange(0, 0); // without a thumb
        return;
    }
    vsbScroll->setRange(0, scroll.Max);
    vsbScroll->setSingleStep(scroll.SmallChange);
    vsbScroll->setPageStep(scroll.LargeChange);
    if (!wasEnabled) {
        // The value is kept; the content stays where it is until the next move.
        const QSignalBlocker blocker(vsbScroll);
        vsbScroll->setValue(m_keptScroll);
    }
}

void QuestionFrame::MoveContent(int value)
{
    const int top = Twips::ToPixels(value);
    picQuestion->move(contentsRect().topLeft() - QPoint(0, top));
    m_rows->Show(top, top + contentsRect().height());
}

void QuestionFrame::SetTextScale(double scale)
{
    m_scale = scale;
    lblQuestion->setFont(parentWidget()->font());
    Theme::ScaleFont(lblQuestion, QuestionScale * m_scale);
    m_rows->SetFont(lblQuestion->font());
    // What was at the top of the view stays there.
    const double share = m_contentHeight > 0 ? vsbScroll->value() / m_contentHeight : 0;
    ArrangeRows();
    if (vsbScroll->isEnabled())
        vsbScroll->setValue(static_cast<int>(std::lround(share * m_contentHeight)));
    MoveContent(vsbScroll->isEnabled() ? vsbScroll->value() : 0);
}

void QuestionFrame::wheelEvent(QWheelEvent *event)
{
    QCoreApplication::sendEvent(vsbScroll, event);
    event->accept();
}

void QuestionFrame::Reveal(int top, int bottom)
{
    if (!vsbScroll->isEnabled())
        return;
    const int height = contentsRect().height();
    const int shown = -(picQuestion->y() - contentsRect().y());
    if (bottom > shown + height)
        vsbScroll->setValue(static_cast<int>(Twips::FromPixels(std::min(top, bottom - height))));
    else if (top < shown)
        vsbScroll->setValue(static_cast<int>(Twips::FromPixels(top)));
    // After a change of size the page stands at its top, whatever the bar says.
    MoveContent(vsbScroll->value());
}
