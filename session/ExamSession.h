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

    QString Caption; // the option's letter and a full stop
    int Value = Off; // a check box may also be 2, greyed, which does not count
    bool IsEnabled = true;
    bool IsVisible = false;
};

// An option's text beside its selector, as the exam file has it: it may hold
// line breaks and NULs.
struct RowLabel {
    QString Text;
    bool IsVisible = false;
};

// A plain picture of the exam window: what a window paints and nothing of how.
// Row i stands at index i - 1; row 1 of all three arrays is always there, and
// not visible for an item without options.
struct PageState {
    QString Title; // of the window
    QString Problem; // the stem
    // Which selectors the item has: radio buttons when exactly one option is
    // correct, check boxes for any other number, 0 too. The other array keeps one
    // row, which is not visible.
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
    QString Time; // as it was last shown: "Time Remaining:  00:59:59"
    // Empty and false, like HasExplanation, until the exam has ended. Answer holds
    // the key, not the response; Status is "CORRECT" or "INCORRECT".
    QString Answer;
    QString Status;
    bool IsCorrect = false;

    std::vector<Selector> &Selectors(SelectorKind kind) { return kind == SelectorKind::Radio ? optChoices : chkChoices; }
    // Those of the item on the page.
    const std::vector<Selector> &Selectors() const { return Kind == SelectorKind::Radio ? optChoices : chkChoices; }
};

// What the session asks of its surroundings, always from inside one of its own
// operations. Calls that wait run an event loop: ticks of the clock reach the
// session meanwhile.
class SessionPort {
public:
    virtual ~SessionPort() = default;
    // Shows the text with the values in its places and waits: the button pressed.
    virtual MessageAnswer Ask(const QString &text, MessageStyle style, const QVariantList &values) = 0;
    // The same for a question that comes by itself, whatever the candidate is doing.
    virtual MessageAnswer AskUnprompted(const QString &text, MessageStyle style) { return Ask(text, style, {}); }
    // Another item is on the page, which is to be shown from its top. Everything
    // on the page may be new; ShowChanges does not follow.
    virtual void ShowItem() = 0;
    // Something on the page other than the item has changed.
    virtual void ShowChanges() = 0;
    // The catalogue is to be hidden and the exam window shown. The first item is
    // on the page by then.
    virtual void ShowExam() = 0;
    // From here on tmrTimer_Timer is to be called once a second, the first time
    // after a second.
    virtual void StartClock() = 0;
    // Also comes when the clock stands still.
    virtual void StopClock() = 0;
    // Modeless, returns at once. The name is that of a file in the exam's folder.
    // Raises an Error when the picture cannot be loaded.
    virtual void ShowExhibit(const QString &name) = 0;
    // Comes with every item, whether an exhibit is open or not.
    virtual void CloseExhibit() = 0;
    // Modal; each returns once its window is closed. The index is the item's
    // 1-based position.
    virtual void ShowExplanation(qint16 index) = 0;
    virtual void ShowReviewList() = 0;
    virtual void ShowReport() = 0;
};

// One sitting of an exam: showing items, taking answers, navigation, marks, the
// countdown and the review after the exam. Items are addressed by their 1-based
// position. What the candidate does to an item changes the page alone;
// GotoQuestion and cmdReview_Click write it into the Question. Errors of the
// model pass through every operation; before StartExam those that need an exam
// raise InvalidCall. The session has no timer of its own and belongs to one
// thread. It shares the exam with Globals::CurrentExam, and keeps it until the
// next sitting starts or the session is destroyed.
class ExamSession {
public:
    // What Next and Previous visit: all items, all again, or the marked ones.
    enum Review : qint32 { TakingExam = 0, ReviewingAll = 1, ReviewingMarked = 2 };

    // The port must outlive the session.
    explicit ExamSession(SessionPort &port);

    const PageState &Page() const { return m_page; }
    // 0 before StartExam.
    qint16 CurrentIndex() const { return m_currentIndex; }
    // Below 0 when the time has run out and no more has been taken.
    qint16 SecondsRemaining() const { return m_secondsRemaining; }
    // Stays as it is when the exam ends.
    Review ReviewMode() const { return m_reviewMode; }
    // Which items Next and Previous visit from now on. The title mentions it with
    // the next item that is shown.
    void SetReviewMode(Review mode) { m_reviewMode = mode; }

    // Begins a sitting of Globals::CurrentExam, which the session keeps from now
    // on; item 1 loses what answer and mark it had. Starts the clock, then shows
    // the window. Raises Overflow for a duration beyond 546 minutes, InvalidCall
    // without an exam and SubscriptOutOfRange for one without items; the window is
    // not shown then.
    void StartExam();
    // The exam window is gone: releases Globals::CurrentExam, whatever it holds by
    // now. The question about more time, if it is still open, has no effect any
    // more.
    void Unload();
    // Saves the answer on the page and shows another item. The index is not
    // checked: one outside the exam raises SubscriptOutOfRange and is the current
    // one nevertheless.
    void GotoQuestion(qint16 index);
    // Raises SubscriptOutOfRange when there is no item at the current index.
    std::shared_ptr<Question> CurrentQuestion() const;
    // The stem and the options' texts of the item that Next would show; empty when there
    // is none, and before StartExam.
    QStringList NextTexts() const;
    // Fills the page with an item and closes the exhibit, without ShowItem and
    // without a change of the current index; GotoQuestion does the rest. Raises
    // what ParseAnswer raises for the item's Answer, and SubscriptOutOfRange for a
    // number in it that is no option's.
    void DisplayQuestion(const Question &question);
    // "1,3" as 1 and 3; empty for an empty answer. One comma at the end is
    // ignored. Raises TypeMismatch for a piece that is no number and Overflow for
    // one beyond 16 bits.
    static std::vector<qint16> ParseAnswer(const QString &answer);
    // The numbers of the rows that are On, visible or not, as "1,3"; empty when
    // none is.
    static QString BuildAnswer(const std::vector<Selector> &selectors);
    // The item on the page stays when no item in that direction is marked.
    // GotoPreviousMarked clears CanGoBack at the first marked item and sets it
    // anywhere else; the other two leave it as GotoQuestion does.
    void GotoFirstMarked();
    void GotoNextMarked();
    void GotoPreviousMarked();
    // Puts the key of the current item, and whether the saved answer equals it,
    // on the page; nothing is shown yet.
    void ShowStatus();
    // Stops the clock and changes the page over to the review after the exam. The
    // exam itself must have been ended.
    void StartPostExamReview();

    // The commands of the review list: to see all items from the first, only the
    // marked ones, or the end of the exam. EndExam saves the answer on the page
    // and shows item 1; the review after the exam begins when ShowReviewList has
    // returned.
    void ReviewAll();
    void ReviewMarked();
    void EndExam();

    // What the candidate does. Rows count from 1. The two selectors ignore a row
    // that the item does not have, or has with the other kind; the label's row
    // must be one of the item's. One check box too many is cleared again, with a
    // message, when the item limits the selection.
    void optChoices_Click(int row);
    void chkChoices_Click(int row, bool checked);
    // Toggles a check box or sets a radio button; ignored after the exam.
    void lblChoices_Click(int row);
    // A letter key, in either case, acts on the option of that letter; false when
    // none has it. A disabled option takes the key and does not change.
    bool PressLetter(QChar letter);
    void chkMarked_Click(bool marked);
    // At the last item, or the last marked one, the same as cmdReview_Click.
    void cmdNext_Click();
    // Not to be called while CanGoBack is false: at item 1 it raises
    // SubscriptOutOfRange, unless only marked items are visited.
    void cmdPrev_Click();
    // Returns when the review list is closed.
    void cmdReview_Click();
    // Raises nothing: an exhibit that cannot be shown is reported by Ask.
    void cmdExhibit_Click();
    void cmdWhy_Click();
    // One second of the countdown has passed. Below zero seconds it stops the
    // clock and asks about another 30 minutes. They start the clock again, and when
    // they are over the question comes again; without them the exam ends, with the
    // item on the page as it was last saved, and the report is shown. Ignored while
    // the question is open and after the exam.
    void tmrTimer_Timer();
    // Whether the window may close; asks while the exam is running. True before
    // StartExam.
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
