// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/MessageStyle.h"
#include "model/Question.h"

#include <QString>
#include <QVariantList>

#include <memory>
#include <vector>

class Exam;

enum class SelectorKind { Radio, Check };

// One radio button or check box in front of an option.
struct Selector {
    static constexpr int Off = 0;
    static constexpr int On = 1;

    QString Caption;
    int Value = Off; // a check box may also be 2, greyed, which does not count
    bool IsEnabled = true;
    bool IsVisible = false;
};

// An option's text beside its selector.
struct RowLabel {
    QString Text;
    bool IsVisible = false;
};

// A plain picture of the exam window: what a window paints and nothing of how.
// Row i stands at index i - 1; row 1 of all three arrays is always there.
struct PageState {
    QString Title;
    QString Problem;
    SelectorKind Kind = SelectorKind::Radio;
    std::vector<Selector> optChoices = std::vector<Selector>(1);
    std::vector<Selector> chkChoices = std::vector<Selector>(1);
    std::vector<RowLabel> lblChoices = std::vector<RowLabel>(1);
    bool IsMarked = false;
    bool CanMark = true;
    bool CanGoBack = false;
    bool CanReview = true;
    bool HasExhibit = false;
    bool HasExplanation = false;
    bool IsPostExam = false; // the panel with the key instead of the clock
    QString Time;
    QString Answer;
    QString Status;
    bool IsCorrect = false;

    std::vector<Selector> &Selectors(SelectorKind kind) { return kind == SelectorKind::Radio ? optChoices : chkChoices; }
    const std::vector<Selector> &Selectors() const { return Kind == SelectorKind::Radio ? optChoices : chkChoices; }
};

// What the session asks of its surroundings.
class SessionPort {
public:
    virtual ~SessionPort() = default;
    // Shows the text with the values in its places and waits: the button pressed.
    virtual MessageAnswer Ask(const QString &text, MessageStyle style, const QVariantList &values) = 0;
    // The same for a question that comes by itself, whatever the candidate is doing.
    virtual MessageAnswer AskUnprompted(const QString &text, MessageStyle style) { return Ask(text, style, {}); }
    // Another item is on the page, which is to be shown from its top.
    virtual void ShowItem() = 0;
    // Something on the page other than the item has changed.
    virtual void ShowChanges() = 0;
    // The catalogue is to be hidden and the exam window shown.
    virtual void ShowExam() = 0;
    virtual void StartClock() = 0;
    virtual void StopClock() = 0;
    // Raises an Error when the picture cannot be loaded.
    virtual void ShowExhibit(const QString &name) = 0;
    virtual void CloseExhibit() = 0;
    // Modal; each returns once its window is closed.
    virtual void ShowExplanation(qint16 index) = 0;
    virtual void ShowReviewList() = 0;
    virtual void ShowReport() = 0;
};

// One sitting of an exam: showing items, taking answers, navigation, marks, the
// countdown and the review after the exam. Items are addressed by their 1-based
// position. Errors of the model pass through every operation; before StartExam
// those that need an exam raise InvalidCall.
class ExamSession {
public:
    enum Review : qint32 { TakingExam = 0, ReviewingAll = 1, ReviewingMarked = 2 };

    // The port must outlive the session.
    explicit ExamSession(SessionPort &port);

    const PageState &Page() const { return m_page; }
    // 0 before StartExam.
    qint16 CurrentIndex() const { return m_currentIndex; }
    qint16 SecondsRemaining() const { return m_secondsRemaining; }
    Review ReviewMode() const { return m_reviewMode; }
    // Which items Next and Previous visit from now on, and what the title says of it.
    void SetReviewMode(Review mode) { m_reviewMode = mode; }

    // Begins a sitting of Globals::CurrentExam, which the session keeps from now
    // on; item 1 loses what answer and mark it had. Raises Overflow for a duration
    // beyond 546 minutes, and InvalidCall without an exam.
    void StartExam();
    // The exam window is gone: releases Globals::CurrentExam. A question that is
    // still open has no effect any more.
    void Unload();
    // Saves the answer on the page and shows another item. The index is not
    // checked: one outside the exam raises SubscriptOutOfRange.
    void GotoQuestion(qint16 index);
    std::shared_ptr<Question> CurrentQuestion() const;
    void DisplayQuestion(const Question &question);
    // "1,3" as 1 and 3; empty for an empty answer. Raises TypeMismatch.
    static std::vector<qint16> ParseAnswer(const QString &answer);
    static QString BuildAnswer(const std::vector<Selector> &selectors);
    // Nothing happens when no item there is marked.
    void GotoFirstMarked();
    void GotoNextMarked();
    void GotoPreviousMarked();
    void ShowStatus();
    void StartPostExamReview();

    // The commands of the review list: to see all items from the first, only the
    // marked ones, or the end of the exam.
    void ReviewAll();
    void ReviewMarked();
    void EndExam();

    // What the candidate does. Rows count from 1.
    void optChoices_Click(int row);
    void chkChoices_Click(int row, bool checked);
    void lblChoices_Click(int row);
    // A letter key acts on the option of that letter; false when none has it.
    bool PressLetter(QChar letter);
    void chkMarked_Click(bool marked);
    void cmdNext_Click();
    void cmdPrev_Click();
    void cmdReview_Click();
    void cmdExhibit_Click();
    void cmdWhy_Click();
    // One second of the countdown has passed. Below zero seconds it asks for
    // more time, once, and without it ends the exam.
    void tmrTimer_Timer();
    // Whether the window may close; asks while the exam is running.
    bool QueryClose();

private:
    Exam &TheExam() const;
    MessageAnswer AskForMoreTime();
    void EndByTime();
    // Fills the page from the model, whatever stands on it.
    void ShowCurrentQuestion();
    void ShowTime();
    void SaveAnswer();
    void ClearChoices();
    void LoadChoices(const Question &question);
    void SetRadio(size_t row);
    void SetCheck(size_t row, int value);
    // Whether the item has an option in that row, shown by selectors of the kind.
    bool HasRow(int row, SelectorKind kind) const;
    bool IsFirstQuestion() const;
    bool IsLastQuestion() const;
    bool IsMarkedBetween(int first, int last) const;
    bool IsFirstMarked() const;
    bool IsLastMarked() const;
    qint32 Count() const;
    // The first marked item met on the way from one index to another.
    void GotoMarked(int from, int to, int step);

    SessionPort &m_port;
    std::shared_ptr<Exam> m_exam;
    PageState m_page;
    qint16 m_currentIndex = 0;
    qint16 m_secondsRemaining = 0;
    Review m_reviewMode = TakingExam;
    bool m_isAskingForTime = false;
    bool m_isUnloaded = false;
};
