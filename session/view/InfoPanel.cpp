// SPDX-License-Identifier: Apache-2.0
#include "session/view/InfoPanel.h"

#include "session/ExamSession.h"
#include "ui/TextBlock.h"
#include "ui/Theme.h"

#include <QGridLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QMargins Margins(14, 10, 14, 10); // pixels
constexpr int ButtonGap = 18;
constexpr int LineGap = 6;
constexpr int Slack = 4; // a text is rarely as wide as its metrics say

PageLayout::Point PointOf(const QMouseEvent *event)
{
    return { Twips::FromPixels(event->position().toPoint().x()), Twips::FromPixels(event->position().toPoint().y()) };
}

}

InfoPanel::InfoPanel(QWidget *parent)
    : Panel(parent)
    , lblAnswer(new TextBlock(this))
    , lblStatus(new QLabel(this))
    , cmdWhy(new QPushButton(u"&Why?"_s, this))
{
    setObjectName(u"fraInfo"_s);
    lblAnswer->setObjectName(u"lblAnswer"_s);
    lblStatus->setObjectName(u"lblStatus"_s);
    cmdWhy->setObjectName(u"cmdWhy"_s);
    cmdWhy->setAccessibleName(u"Why: show the explanation"_s);
    Theme::ScaleFont(lblStatus, 1.1, QFont::Bold);
    lblStatus->setFont(Theme::Large(lblStatus->font()));
    lblStatus->setForegroundRole(QPalette::WindowText);
    for (QLabel *label : { static_cast<QLabel *>(lblAnswer), lblStatus }) {
        label->setTextFormat(Qt::PlainText);
        label->setAttribute(Qt::WA_TransparentForMouseEvents);
    }
    lblStatus->setMinimumWidth(lblStatus->fontMetrics().horizontalAdvance(u"INCORRECT"_s));
    auto *layout = new QGridLayout(this);
    layout->setContentsMargins(Margins);
    layout->setHorizontalSpacing(ButtonGap);
    layout->setVerticalSpacing(LineGap);
    layout->addWidget(lblAnswer, 0, 0);
    layout->addWidget(lblStatus, 1, 0);
    layout->addWidget(cmdWhy, 0, 1, 2, 1, Qt::AlignVCenter);
    // The panel keeps its size when the button comes and goes.
    QSizePolicy keep = cmdWhy->sizePolicy();
    keep.setRetainSizeWhenHidden(true);
    cmdWhy->setSizePolicy(keep);
    setCursor(Qt::SizeAllCursor);
    cmdWhy->setCursor(Qt::ArrowCursor);
    Theme::WithLook(this, [this] {
        SetBackColor(OleColors::Of(Theme::Current().PanelBack));
        SetBorderColor(OleColors::Of(Theme::Current().PanelLine));
        ShowStatus();
    });
}

void InfoPanel::ShowStatus()
{
    QPalette colours;
    colours.setColor(QPalette::WindowText, m_isCorrect ? Theme::Current().CorrectText : Theme::Current().IncorrectText);
    lblStatus->setPalette(colours);
}

void InfoPanel::Display(const PageState &page)
{
    m_answer = page.Answer;
    lblStatus->setText(page.Status);
    m_isCorrect = page.IsCorrect;
    ShowStatus();
    cmdWhy->setVisible(page.HasExplanation);
    Fit();
}

void InfoPanel::SetRoom(QSize room)
{
    m_room = room;
    Fit();
}

void InfoPanel::Fit()
{
    const QFontMetrics metrics = lblAnswer->fontMetrics();
    const QSize room
        = m_room.shrunkBy(Margins) - QSize(cmdWhy->sizeHint().width() + ButtonGap, lblStatus->sizeHint().height() + LineGap);
    const int least = metrics.horizontalAdvance(u"Answer: A,B,C,D,E"_s);
    const int width = std::clamp(metrics.horizontalAdvance(m_answer) + Slack, least, std::max(least, room.width()));
    lblAnswer->SetText(m_answer);
    qsizetype shown = lblAnswer->HeightForWidth(width) > room.height() ? 0 : m_answer.size();
    for (qsizetype tooMuch = m_answer.size(); tooMuch - shown > 1;) {
        const qsizetype middle = (shown + tooMuch) / 2;
        lblAnswer->SetText(m_answer.left(middle) + u'…');
        (lblAnswer->HeightForWidth(width) > room.height() ? tooMuch : shown) = middle;
    }
    if (shown < m_answer.size())
        lblAnswer->SetText(m_answer.left(shown) + u'…');
    lblAnswer->setFixedWidth(width);
    adjustSize();
}

void InfoPanel::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return;
    m_isPressed = true;
    m_press = PointOf(event);
}

void InfoPanel::mouseMoveEvent(QMouseEvent *event)
{
    if (m_isPressed && event->buttons().testFlag(Qt::LeftButton))
        Q_EMIT Dragged(m_press, PointOf(event));
}

void InfoPanel::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        m_isPressed = false;
}
