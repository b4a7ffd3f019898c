// SPDX-License-Identifier: Apache-2.0
#include "session/ExamSession.h"

#include "common/Common.h"
#include "common/Error.h"
#include "model/Globals.h"

#include <QScopedValueRollback>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint16 ExtraSeconds = 1800;
constexpr int SecondsAMinute = 60;

}

ExamSession::ExamSession(SessionPort &port)
    : m_port(port)
{
}

Exam &ExamSession::TheExam() const
{
    if (!m_exam)
        throw Error::RunTime(InvalidCall);
    return *m_exam;
}

qint32 ExamSession::Count() const
{
    return TheExam().Questions().Count();
}

std::shared_ptr<Question> ExamSession::CurrentQuestion() const
{
    return TheExam().Questions().Item(m_currentIndex);
}

void ExamSession::StartExam()
{
    m_exam = Globals::CurrentExam;
    m_isUnloaded = false;
    m_page = PageState();
    m_currentIndex = 1;
    m_reviewMode = TakingExam;
    m_secondsRemaining = Common::ToInt16(double(TheExam().Duration()) * SecondsAMinute);
    if (m_secondsRemaining >= 0)
        ShowTime();
    GotoQuestion(1);
    m_port.StartClock();
    m_port.ShowExam();
}

void ExamSession::Unload()
{
    m_isUnloaded = true;
    Globals::CurrentExam.reset();
}

QStringList ExamSession::NextTexts() const
{
    const qint32 count = m_exam ? Count() : 0;
    for (qint32 index = m_currentIndex + 1; index <= count; ++index) {
        const auto question = m_exam->Questions().Item(index);
        if (m_reviewMode == ReviewingMarked && !question->IsMarked())
            continue;
        QStringList texts(question->Problem());
        for (const auto &choice : question->Choices())
            texts.append(choice->Statement());
        return texts;
    }
    return {};
}

void ExamSession::GotoQuestion(qint16 index)
{
    if (m_currentIndex > 0)
        SaveAnswer();
    m_currentIndex = index;
    ShowCurrentQuestion();
}

void ExamSession::ShowCurrentQuestion()
{
    ClearChoices();
    DisplayQuestion(*CurrentQuestion());
    m_page.CanGoBack = !IsFirstQuestion();
    if (TheExam().IsEnded())
        ShowStatus();
    m_port.ShowItem();
}

// The only way from the page into the model.
void ExamSession::SaveAnswer()
{
    const auto question = CurrentQuestion();
    question->SetAnswer(BuildAnswer(question->AnswerCount() == 1 ? m_page.optChoices : m_page.chkChoices));
    question->SetIsMarked(m_page.IsMarked);
}

void ExamSession::ClearChoices()
{
    m_page.optChoices.resize(1);
    m_page.chkChoices.resize(1);
    m_page.lblChoices.resize(1);
    m_page.optChoices.front().IsVisible = false;
    m_page.chkChoices.front().IsVisible = false;
}

void ExamSession::DisplayQuestion(const Question &question)
{
    const Exam &exam = TheExam();
    m_port.CloseExhibit();
    m_page.Problem = question.Problem();
    m_page.Title
        = Common::FormatText(u"Exam: {1} - Item {2} of {3}"_s, { exam.Code(), question.Number(), exam.Questions().Count() });
    if (m_reviewMode == ReviewingAll)
        m_page.Title = Common::FormatText(u"{1} - Reviewing All"_s, { m_page.Title });
    else if (m_reviewMode == ReviewingMarked)
        m_page.Title = Common::FormatText(u"{1} - Reviewing Marked"_s, { m_page.Title });
    LoadChoices(question);
    m_page.IsMarked = question.IsMarked();
    m_page.HasExhibit = question.HasExhibit();
    m_page.CanMark = !exam.IsEnded();
}

void ExamSession::LoadChoices(const Question &question)
{
    m_page.Kind = question.AnswerCount() == 1 ? SelectorKind::Radio : SelectorKind::Check;
    std::vector<Selector> &selectors = m_page.Selectors(m_page.Kind);
    const size_t rows = std::max<size_t>(1, question.Choices().Count());
    selectors.assign(rows, Selector());
    m_page.lblChoices.assign(rows, RowLabel());
    size_t row = 0;
    for (const auto &choice : question.Choices()) {
        Selector &selector = selectors[row];
        selector.IsEnabled = !TheExam().IsEnded();
        selector.Caption = Globals::OptionLetter(choice->Number()) + u'.';
        selector.IsVisible = true;
        m_page.lblChoices[row] = { choice->Statement(), true };
        ++row;
    }
    for (const qint16 number : ParseAnswer(question.Answer())) {
        if (number < 1 || size_t(number) > selectors.size())
            throw Error::RunTime(SubscriptOutOfRange);
        if (m_page.Kind == SelectorKind::Radio)
            SetRadio(number);
        else
            SetCheck(number, Selector::On);
    }
}

QString ExamSession::BuildAnswer(const std::vector<Selector> &selectors)
{
    QStringList numbers;
    for (size_t i = 0; i < selectors.size(); ++i) {
        if (selectors[i].Value == Selector::On)
            numbers.append(QString::number(i + 1));
    }
    return numbers.join(u',');
}

std::vector<qint16> ExamSession::ParseAnswer(const QString &answer)
{
    std::vector<qint16> numbers;
    if (answer.isEmpty())
        return numbers;
    QList<QStringView> pieces = QStringView(answer).split(u',');
    // Nothing need stand behind the last comma.
    if (pieces.last().isEmpty())
        pieces.removeLast();
    for (const QStringView piece : pieces)
        numbers.push_back(Globals::ListNumber(piece));
    return numbers;
}

void ExamSession::SetRadio(size_t row)
{
    for (size_t i = 0; i < m_page.optChoices.size(); ++i)
        m_page.optChoices[i].Value = i + 1 == row ? Selector::On : Selector::Off;
}

// Every change of a check box, the candidate's or the program's, passes the
// selection limit.
void ExamSession::SetCheck(size_t row, int value)
{
    m_page.chkChoices[row - 1].Value = value;
    const auto question = CurrentQuestion();
    if (!question->HasHint())
        return;
    const qint16 limit = question->AnswerCount();
    const auto selected = std::count_if(m_page.chkChoices.begin(), m_page.chkChoices.end(),
                                        [](const Selector &selector) { return selector.Value == Selector::On; });
    if (selected <= limit)
        return;
    m_page.chkChoices[row - 1].Value = Selector::Off;
    m_port.ShowChanges();
    m_port.Ask(u"You cannot select more than {1} options for this question. To select this option, please unselect another."_s,
               InformationMessage, { limit });
}

bool ExamSession::HasRow(int row, SelectorKind kind) const
{
    return m_page.Kind == kind && row >= 1 && row <= static_cast<int>(m_page.Selectors().size());
}

void ExamSession::optChoices_Click(int row)
{
    if (!HasRow(row, SelectorKind::Radio))
        return;
    SetRadio(row);
    m_port.ShowChanges();
}

void ExamSession::chkChoices_Click(int row, bool checked)
{
    if (!HasRow(row, SelectorKind::Check))
        return;
    SetCheck(row, checked ? Selector::On : Selector::Off);
    m_port.ShowChanges();
}

void ExamSession::lblChoices_Click(int row)
{
    if (TheExam().IsEnded())
        return;
    if (CurrentQuestion()->AnswerCount() > 1) {
        const int value = m_page.chkChoices[row - 1].Value;
        SetCheck(row, value == Selector::On ? Selector::Off : Selector::On);
    } else {
        // For an item without a key these are the hidden radio buttons.
        SetRadio(row);
    }
    m_port.ShowChanges();
}

bool ExamSession::PressLetter(QChar letter)
{
    const auto &selectors = m_page.Selectors();
    for (size_t index = 0; index < selectors.size(); ++index) {
        const Selector &selector = selectors[index];
        if (!selector.IsVisible || selector.Caption != letter.toUpper() + u"."_s)
            continue;
        const int row = static_cast<int>(index) + 1;
        if (selector.IsEnabled && m_page.Kind == SelectorKind::Radio)
            optChoices_Click(row);
        else if (selector.IsEnabled)
            chkChoices_Click(row, selector.Value != Selector::On);
        return true;
    }
    return false;
}

void ExamSession::chkMarked_Click(bool marked)
{
    m_page.IsMarked = marked;
    m_port.ShowChanges();
}

bool ExamSession::IsFirstQuestion() const
{
    return m_currentIndex == 1;
}

bool ExamSession::IsLastQuestion() const
{
    return m_currentIndex == Count();
}

bool ExamSession::IsMarkedBetween(int first, int last) const
{
    for (int index = first; index <= last; ++index) {
        if (TheExam().Questions().Item(index)->IsMarked())
            return true;
    }
    return false;
}

bool ExamSession::IsFirstMarked() const
{
    return CurrentQuestion()->IsMarked() && !IsMarkedBetween(1, m_currentIndex - 1);
}

bool ExamSession::IsLastMarked() const
{
    return CurrentQuestion()->IsMarked() && !IsMarkedBetween(m_currentIndex + 1, Count());
}

void ExamSession::cmdNext_Click()
{
    const bool markedOnly = m_reviewMode == ReviewingMarked;
    if (markedOnly ? IsLastMarked() : IsLastQuestion()) {
        m_page.CanReview = true;
        cmdReview_Click();
    } else if (markedOnly) {
        GotoNextMarked();
    } else {
        GotoQuestion(Common::ToInt16(m_currentIndex + 1));
    }
}

void ExamSession::cmdPrev_Click()
{
    if (m_reviewMode == ReviewingMarked)
        GotoPreviousMarked();
    else
        GotoQuestion(Common::ToInt16(m_currentIndex - 1));
}

void ExamSession::GotoMarked(int from, int to, int step)
{
    for (int index = from; step > 0 ? index <= to : index >= to; index += step) {
        if (TheExam().Questions().Item(index)->IsMarked()) {
            GotoQuestion(Common::ToInt16(index));
            return;
        }
    }
}

void ExamSession::GotoFirstMarked()
{
    GotoMarked(1, Count(), 1);
}

void ExamSession::GotoNextMarked()
{
    GotoMarked(m_currentIndex + 1, Count(), 1);
}

void ExamSession::GotoPreviousMarked()
{
    GotoMarked(m_currentIndex - 1, 1, -1);
    // Going forward leaves the button as the item's position has it.
    m_page.CanGoBack = !IsFirstMarked();
    m_port.ShowChanges();
}

void ExamSession::cmdReview_Click()
{
    SaveAnswer();
    m_port.ShowReviewList();
    if (TheExam().IsEnded())
        StartPostExamReview();
}

void ExamSession::cmdExhibit_Click()
{
    try {
        m_port.ShowExhibit(CurrentQuestion()->Exhibit());
    } catch (const std::exception &) {
        // A picture that does not fit into the memory must not end the sitting.
        m_port.Ask(
            u"The exhibit cannot be displayed because required files are missing or corrupt. Please reinstall the exam pack."_s,
            CriticalMessage, {});
    }
}

void ExamSession::cmdWhy_Click()
{
    m_port.ShowExplanation(m_currentIndex);
}

void ExamSession::ShowTime()
{
    m_page.Time = Common::FormatText(u"Time Remaining:  {1}"_s, { Common::FormatDuration(m_secondsRemaining) });
}

void ExamSession::tmrTimer_Timer()
{
    // The clock stands still while its own question is open, and for good once
    // the exam is over.
    if (m_isAskingForTime || TheExam().IsEnded())
        return;
    m_secondsRemaining = Common::ToInt16(m_secondsRemaining - 1);
    if (m_secondsRemaining >= 0) {
        ShowTime();
        m_port.ShowChanges();
        return;
    }
    m_port.StopClock();
    const MessageAnswer answer = AskForMoreTime();
    if (m_isUnloaded)
        return;
    if (answer == AnswerYes) {
        m_secondsRemaining = ExtraSeconds;
        m_port.StartClock();
    } else {
        EndByTime();
    }
}

MessageAnswer ExamSession::AskForMoreTime()
{
    const QScopedValueRollback asking(m_isAskingForTime, true);
    return m_port.AskUnprompted(u"The time has elapsed for this exam. Would you like to continue for another 30 minutes?"_s,
                                QuestionMessage);
}

// What is on the page now has not been saved and does not count; so it does not
// stay there either.
void ExamSession::EndByTime()
{
    TheExam().EndExam();
    m_port.ShowReport();
    StartPostExamReview();
    ShowCurrentQuestion();
}

void ExamSession::StartPostExamReview()
{
    m_port.StopClock();
    m_page.IsPostExam = true;
    m_port.ShowChanges();
}

void ExamSession::ShowStatus()
{
    const auto question = CurrentQuestion();
    m_page.Answer = Common::FormatText(u"Answer: {1}"_s, { Globals::AnswerLetters(question->CorrectAnswer()) });
    m_page.IsCorrect = question->Answer() == question->CorrectAnswer();
    m_page.Status = m_page.IsCorrect ? u"CORRECT"_s : u"INCORRECT"_s;
    m_page.HasExplanation = !question->Explaination().isEmpty();
}

void ExamSession::ReviewAll()
{
    m_reviewMode = ReviewingAll;
    GotoQuestion(1);
}

void ExamSession::ReviewMarked()
{
    m_reviewMode = ReviewingMarked;
    GotoFirstMarked();
}

void ExamSession::EndExam()
{
    TheExam().EndExam();
    GotoQuestion(1);
}

bool ExamSession::QueryClose()
{
    if (!m_exam || m_exam->IsEnded())
        return true;
    return m_port.Ask(u"Are you sure you want to terminate the exam?"_s, QuestionMessage, {}) == AnswerYes;
}
