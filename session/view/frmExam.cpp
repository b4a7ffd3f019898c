// SPDX-License-Identifier: Apache-2.0
#include "session/view/frmExam.h"

#include "common/Common.h"
#include "session/view/InfoPanel.h"
#include "session/view/QuestionFrame.h"
#include "session/view/frmExhibit.h"
#include "session/view/frmExplain.h"
#include "ui/Accessible.h"
#include "ui/Guard.h"
#include "ui/Layout.h"
#include "ui/Messages.h"
#include "ui/Theme.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QTimer>

#include <chrono>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr double ScaleStep = 1.1;
constexpr double SmallestScale = 0.7;
constexpr double LargestScale = 2.6;
constexpr QSize Least(280, 180); // pixels; more than a compositor gives is an error of Wayland
constexpr int TopMargin = 8;
constexpr int ButtonWidth = 110;
constexpr int ButtonGap = 4; // at the least
constexpr int MinuteColons = 2;
const QString LastMinute = u"  00:00"_s;
constexpr double PanelStep = 300; // twips
constexpr double ExplanationScale = 1.15;
constexpr std::chrono::milliseconds AheadDelay(20); // the item itself is painted first

}

frmExam::frmExam()
    : m_session(*this)
    , tmrAhead(new QTimer(this))
    , chkMarked(new QCheckBox(u"&Mark this item for review"_s, this))
    , lblTime(new QLabel(this))
    , picBorder(new QuestionFrame(this))
    , cmdNext(new QPushButton(u"&Next"_s, this))
    , cmdPrev(new QPushButton(u"&Previous"_s, this))
    , cmdExhibit(new QPushButton(u"E&xhibit"_s, this))
    , cmdReview(new QPushButton(u"&Review"_s, this))
{
    SetAccessibleRole(this, QAccessible::Window);
    setObjectName(u"frmExam"_s);
    setMinimumSize(Least);
    chkMarked->setObjectName(u"chkMarked"_s);
    lblTime->setObjectName(u"lblTime"_s);
    lblTime->setTextFormat(Qt::PlainText);
    lblTime->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    Theme::ScaleFont(lblTime, 1.1, QFont::DemiBold);
    cmdNext->setObjectName(u"cmdNext"_s);
    cmdPrev->setObjectName(u"cmdPrev"_s);
    cmdExhibit->setObjectName(u"cmdExhibit"_s);
    cmdReview->setObjectName(u"cmdReview"_s);
    for (QPushButton *button : { cmdNext, cmdPrev, cmdExhibit, cmdReview })
        button->resize(button->sizeHint() + QSize(0, 6));
    picBorder->ChainTabs(chkMarked, cmdNext);
    setTabOrder(cmdNext, cmdPrev);
    setTabOrder(cmdPrev, cmdExhibit);
    setTabOrder(cmdExhibit, cmdReview);

    const auto press = [this](QPushButton *button, void (ExamSession::*operation)()) {
        connect(button, &QPushButton::clicked, this, [this, operation] { Guard([&] { (m_session.*operation)(); }); });
    };
    press(cmdNext, &ExamSession::cmdNext_Click);
    press(cmdPrev, &ExamSession::cmdPrev_Click);
    press(cmdExhibit, &ExamSession::cmdExhibit_Click);
    press(cmdReview, &ExamSession::cmdReview_Click);
    press(picBorder->Info()->WhyButton(), &ExamSession::cmdWhy_Click);
    connect(chkMarked, &QCheckBox::clicked, this, [this](bool marked) { m_session.chkMarked_Click(marked); });
    // Assistive technology can change it without a click.
    const auto toggled = [this] {
        if (chkMarked->isChecked() != m_session.Page().IsMarked)
            m_session.chkMarked_Click(chkMarked->isChecked());
    };
    connect(chkMarked, &QCheckBox::toggled, this, toggled, Qt::QueuedConnection);
    connect(picBorder, &QuestionFrame::RadioClicked, this,
            [this](int row) { Guard([&] { m_session.optChoices_Click(row); }); });
    connect(picBorder, &QuestionFrame::CheckClicked, this,
            [this](int row, bool checked) { Guard([&] { m_session.chkChoices_Click(row, checked); }); });
    connect(picBorder, &QuestionFrame::LabelClicked, this,
            [this](int row) { Guard([&] { m_session.lblChoices_Click(row); }); });
    connect(&tmrTimer, &ExamClock::Tick, this, [this] { Guard([&] { m_session.tmrTimer_Timer(); }); });

    // While the candidate reads an item, the next one is laid out.
    tmrAhead->setObjectName(u"tmrAhead"_s);
    tmrAhead->setSingleShot(true);
    tmrAhead->setInterval(AheadDelay);
    connect(tmrAhead, &QTimer::timeout, this, [this] { picBorder->Prepare(m_session.NextTexts()); });

    CoverWorkArea(this);
}

frmExam::~frmExam() = default;

void frmExam::StartExam()
{
    m_session.StartExam();
}

MessageAnswer frmExam::Ask(const QString &text, MessageStyle style, const QVariantList &values)
{
    return ShowMessage(text, style, values);
}

MessageAnswer frmExam::AskUnprompted(const QString &text, MessageStyle style)
{
    return ShowUnpromptedMessage(text, style);
}

void frmExam::ShowItem()
{
    picBorder->ShowItem(m_session.Page());
    ShowChanges();
    ArrangeButtons();
    AnnounceItem();
    tmrAhead->start();
}

// The focus stays on Next, so a screen reader would not read the new item.
void frmExam::AnnounceItem()
{
    const PageState &page = m_session.Page();
    QString text = page.Title + u". "_s + page.Problem;
    if (page.IsPostExam)
        text += u". "_s + page.Status + u". "_s + page.Answer;
    if (page.IsMarked)
        text += u". Marked for review"_s;
    picBorder->setAccessibleName(text);
    if (isVisible())
        Announce(this, text);
}

void frmExam::AnnounceOption(const QString &caption)
{
    const PageState &page = m_session.Page();
    for (size_t row = 0; row < page.Selectors().size(); ++row) {
        const Selector &selector = page.Selectors()[row];
        if (selector.Caption == caption)
            Announce(this,
                     caption + u' ' + Common::ShownText(page.lblChoices[row].Text)
                         + (selector.Value == Selector::On ? u", selected"_s : u", not selected"_s));
    }
}

void frmExam::ShowChanges()
{
    const PageState &page = m_session.Page();
    // The toolkit takes a single "[*]" for a mark of its own.
    const QString title = QString(page.Title).replace("[*]"_L1, "[*][*]"_L1);
    if (windowTitle() != title)
        setWindowTitle(title);
    picBorder->ShowChanges(page);
    chkMarked->setChecked(page.IsMarked);
    chkMarked->setEnabled(page.CanMark);
    // When a button is hidden or disabled, Qt would move the focus, and with it the
    // next Enter, to its neighbour.
    if ((!page.CanGoBack && cmdPrev->hasFocus()) || (!page.HasExhibit && cmdExhibit->hasFocus()))
        cmdNext->setFocus();
    cmdPrev->setEnabled(page.CanGoBack);
    cmdReview->setEnabled(page.CanReview);
    cmdExhibit->setVisible(page.HasExhibit);
    lblTime->setVisible(!page.IsPostExam);
    ShowTime(page.Time);
    if (page.IsPostExam && !std::exchange(m_isReviewed, true)) {
        // The row that the time has in a narrow window is free.
        if (chkMarked->y() > TopMargin)
            Arrange();
        AnnounceItem();
    }
}

void frmExam::ShowTime(const QString &time)
{
    lblTime->setText(time);
    // A name of its own keeps the label from being announced at every change;
    // the name is renewed once a minute, and in the last one every ten seconds.
    const QString minute = time.section(u':', 0, MinuteColons);
    const bool isLast = minute.endsWith(LastMinute);
    if (std::exchange(m_announcedMinute, minute) == minute && !(isLast && time.endsWith(u'0')))
        return;
    const QString name = (isLast ? time : minute).simplified();
    if (name == lblTime->accessibleName())
        return;
    lblTime->setAccessibleName(name);
    if (isVisible())
        Announce(this, name);
}

void frmExam::ShowExam()
{
    Q_EMIT Starting();
    show();
    cmdNext->setFocus();
    AnnounceItem();
}

void frmExam::StartClock()
{
    tmrTimer.Start();
}

void frmExam::StopClock()
{
    tmrTimer.Stop();
}

void frmExam::ShowExhibit(const QString &name)
{
    // A closed one may still be waiting for its deletion.
    const bool isOpen = m_exhibit && m_exhibit->isVisible();
    auto *exhibit = isOpen ? m_exhibit.data() : new frmExhibit(this);
    try {
        exhibit->SetExhibit(name);
    } catch (...) {
        if (!isOpen)
            delete exhibit;
        throw;
    }
    m_exhibit = exhibit;
    exhibit->show();
    exhibit->raise();
    exhibit->activateWindow();
}

void frmExam::CloseExhibit()
{
    if (m_exhibit)
        m_exhibit->close();
}

void frmExam::ShowExplanation(qint16 index)
{
    frmExplain window(this);
    Theme::ScaleFont(&window, m_textScale * ExplanationScale);
    window.QuestionNumber = index;
    window.Load();
    window.exec();
}

void frmExam::ShowReviewList()
{
    Q_EMIT ReviewRequested();
}

void frmExam::ShowReport()
{
    Q_EMIT ReportRequested();
}

void frmExam::Arrange()
{
    PageLayout::Sizes sizes;
    sizes.InnerWidth = Twips::FromPixels(width());
    sizes.InnerHeight = Twips::FromPixels(height());
    chkMarked->adjustSize();
    const int timeWidth = lblTime->fontMetrics().horizontalAdvance(u"Time Remaining:  000:00:00"_s);
    // A narrow window has the time in a row of its own.
    const bool isNarrow = !m_session.Page().IsPostExam && chkMarked->x() + chkMarked->width() + timeWidth > width() * 98 / 100;
    const int markTop = TopMargin + (isNarrow ? chkMarked->height() : 0);
    chkMarked->move(chkMarked->x(), markTop);
    sizes.Mark = { Twips::FromPixels(chkMarked->x()), Twips::FromPixels(markTop), Twips::FromPixels(chkMarked->width()),
                   Twips::FromPixels(chkMarked->height()) };
    sizes.Time = { 0, 0, Twips::FromPixels(timeWidth), Twips::FromPixels(chkMarked->height()) };
    sizes.FrameBorder = picBorder->BorderTwips();
    sizes.ScrollBarWidth = picBorder->ScrollBarTwips();

    const PageLayout::Boxes boxes = PageLayout::Arrange(sizes, Twips::FromPixels(cmdNext->height()));
    picBorder->setGeometry(boxes.Frame.ToPixels());
    picBorder->Place(boxes);
    chkMarked->move(Twips::ToPixels(boxes.MarkLeft), markTop);
    lblTime->setGeometry(Twips::ToPixels(boxes.TimeLeft), TopMargin, timeWidth, chkMarked->height());
    ArrangeButtons();
}

void frmExam::ArrangeButtons()
{
    const QList<QPushButton *> buttons{ cmdNext, cmdPrev, cmdExhibit, cmdReview };
    const int count = static_cast<int>(buttons.size());
    const int room = (picBorder->width() - (count - 1) * ButtonGap) / count;
    for (QPushButton *button : buttons)
        button->resize(std::min(std::max(ButtonWidth, button->sizeHint().width()), room), button->height());
    const PageLayout::Box frame{ Twips::FromPixels(picBorder->x()), Twips::FromPixels(picBorder->y()),
                                 Twips::FromPixels(picBorder->width()), Twips::FromPixels(picBorder->height()) };
    const PageLayout::ButtonLefts row
        = PageLayout::ArrangeButtons(frame, Twips::FromPixels(height()), Twips::FromPixels(cmdNext->height()),
                                     Twips::FromPixels(cmdReview->width()), m_session.Page().HasExhibit);
    const int top = Twips::ToPixels(row.Top);
    cmdNext->move(Twips::ToPixels(row.Next), top);
    cmdPrev->move(Twips::ToPixels(row.Prev), top);
    cmdExhibit->move(Twips::ToPixels(row.Exhibit), top);
    cmdReview->move(Twips::ToPixels(row.Review), top);
}

void frmExam::SetTextScale(double scale)
{
    const double before = std::exchange(m_textScale, std::clamp(scale, SmallestScale, LargestScale));
    // A key held down at either end lays nothing out anew.
    if (before == m_textScale)
        return;
    picBorder->SetTextScale(m_textScale);
}

bool frmExam::PressScaleKey(int key)
{
    switch (key) {
    case Qt::Key_Plus:
    case Qt::Key_Equal: // the same key without Shift
        SetTextScale(m_textScale * ScaleStep);
        return true;
    case Qt::Key_Minus: SetTextScale(m_textScale / ScaleStep); return true;
    case Qt::Key_0: SetTextScale(1); return true;
    default: return false;
    }
}

bool frmExam::PressPanelKey(int key)
{
    if (!m_session.Page().IsPostExam)
        return false;
    switch (key) {
    case Qt::Key_Left: picBorder->MovePanel({ -PanelStep, 0 }); return true;
    case Qt::Key_Right: picBorder->MovePanel({ PanelStep, 0 }); return true;
    case Qt::Key_Up: picBorder->MovePanel({ 0, -PanelStep }); return true;
    case Qt::Key_Down: picBorder->MovePanel({ 0, PanelStep }); return true;
    default: return false;
    }
}

// Without the focus, so a screen reader would not read what has been chosen.
bool frmExam::PressLetter(QChar letter)
{
    if (!m_session.PressLetter(letter))
        return false;
    AnnounceOption(letter.toUpper() + u"."_s);
    return true;
}

bool frmExam::PressPageKey(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
    case Qt::Key_Home:
    case Qt::Key_End:
        // A bar that cannot scroll would return the key to this window.
        if (picBorder->ScrollBar()->isEnabled())
            QCoreApplication::sendEvent(picBorder->ScrollBar(), event);
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (auto *button = qobject_cast<QPushButton *>(focusWidget()))
            button->click();
        return true;
    default: return false;
    }
}

void frmExam::keyPressEvent(QKeyEvent *event)
{
    Guard([&] {
        const Qt::KeyboardModifiers modifiers = event->modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier);
        const bool isControl = modifiers == Qt::ControlModifier;
        const bool isLetter = modifiers == Qt::NoModifier && event->text().size() == 1;
        if ((isControl && (PressScaleKey(event->key()) || PressPanelKey(event->key()))) || PressPageKey(event)
            || (isLetter && PressLetter(event->text().front())))
            return;
        QWidget::keyPressEvent(event);
    });
}

void frmExam::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    // One comes with the first showing, too, but not when a window is restored,
    // which stays as the candidate left it.
    Arrange();
}

void frmExam::closeEvent(QCloseEvent *event)
{
    bool mayClose = false;
    if (!m_isClosing)
        Guard([&] { mayClose = m_session.QueryClose(); });
    if (!mayClose) {
        event->ignore();
        return;
    }
    m_isClosing = true;
    tmrTimer.Stop();
    CloseExhibit();
    hide();
    m_session.Unload();
    Q_EMIT Unloaded();
}
