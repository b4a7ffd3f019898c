// SPDX-License-Identifier: Apache-2.0
#include "tests/session/ScriptedPort.h"
#include "tests/support/Seed.h"
#include "tests/support/Test.h"

#include <set>

namespace {

// What the candidate can see and press, in words.
QString Described(const PageState &page)
{
    QStringList words = { page.Title, page.Problem };
    const auto &selectors = page.Selectors();
    for (size_t row = 0; row < selectors.size(); ++row) {
        if (selectors[row].IsVisible)
            words += selectors[row].Caption + u' ' + page.lblChoices[row].Text
                + (selectors[row].IsEnabled ? u""_s : u" fixed"_s)
                + (selectors[row].Value == Selector::On ? u" chosen"_s : u""_s);
    }
    const std::pair<bool, QString> flags[] = { { page.Kind == SelectorKind::Check, u"boxes"_s },
                                               { page.IsMarked, u"marked"_s },
                                               { page.CanMark, u"can mark"_s },
                                               { page.CanGoBack, u"can go back"_s },
                                               { page.CanReview, u"can review"_s },
                                               { page.HasExhibit, u"exhibit"_s },
                                               { page.IsPostExam && page.HasExplanation, u"explanation"_s } };
    for (const auto &[isSet, word] : flags)
        words += isSet ? word : QString();
    words += page.IsPostExam ? page.Answer + u' ' + page.Status : page.Time;
    words.removeAll(QString());
    return words.join(u'|');
}

// The rules of a sitting once more, as short as they can be said.
struct Rules {
    struct Item {
        int Options;
        std::set<int> Key;
        bool HasLimit, HasExhibit, HasExplanation;
        std::set<int> Response = {};
        bool IsMarked = false;
    };
    std::vector<Item> Items;
    int Seconds;
    int At = 1;
    int Mode = 0;
    bool IsEnded = false, IsPostExam = false, CanGoBack = false, IsMarked = false;
    std::set<int> Chosen = {};
    QStringList Log = {};
    QString Time = {};

    Item &Current() { return Items[At - 1]; }
    int Count() const { return int(Items.size()); }
    bool AnyMarked(int first, int last) const
    {
        return std::any_of(Items.begin() + first - 1, Items.begin() + std::max(first - 1, last),
                           [](const Item &item) { return item.IsMarked; });
    }
    void ShowTime() { Time = u"Time Remaining:  "_s + Common::FormatDuration(qint16(Seconds)); }
    void Save()
    {
        Current().Response = Chosen;
        Current().IsMarked = IsMarked;
    }
    void Show()
    {
        Chosen = Current().Response;
        IsMarked = Current().IsMarked;
        CanGoBack = At > 1;
        Log += u"item"_s;
    }
    void GoTo(int index)
    {
        Save();
        At = index;
        Show();
    }
    bool GoToMarked(int index, int step)
    {
        for (; index >= 1 && index <= Count(); index += step) {
            if (Items[index - 1].IsMarked) {
                GoTo(index);
                return true;
            }
        }
        return false;
    }
    bool NextOpensList() const { return Mode == 2 ? Items[At - 1].IsMarked && !AnyMarked(At + 1, Count()) : At == Count(); }
    void Next()
    {
        if (Mode == 2)
            GoToMarked(At + 1, 1);
        else
            GoTo(At + 1);
    }
    void Previous()
    {
        if (Mode != 2)
            return GoTo(At - 1);
        GoToMarked(At - 1, -1);
        CanGoBack = !Current().IsMarked || AnyMarked(1, At - 1);
    }
    void Toggle(int row)
    {
        if (Current().Key.size() == 1) {
            Chosen = { row };
        } else if (Chosen.erase(row) == 0) {
            Chosen.insert(row);
            if (Current().HasLimit && Chosen.size() > Current().Key.size()) {
                Chosen.erase(row);
                Log += u"64 You cannot select more than %1 options for this question. To select this option, please unselect another."_s
                           .arg(Current().Key.size());
            }
        }
    }
    void StartReview()
    {
        IsPostExam = true;
        Log += u"no clock"_s;
    }
    void Tick(MessageAnswer answer)
    {
        if (IsEnded)
            return;
        if (--Seconds >= 0)
            return ShowTime();
        Log += { u"no clock"_s,
                 u"36 The time has elapsed for this exam. Would you like to continue for another 30 minutes?"_s };
        if (answer == AnswerYes) {
            Seconds = 1800;
            Log += u"clock"_s;
        } else {
            IsEnded = true;
            Log += u"report"_s;
            StartReview();
            Show();
        }
    }
    QString Described()
    {
        static const QString modes[] = { u""_s, u" - Reviewing All"_s, u" - Reviewing Marked"_s };
        QStringList words = { u"Exam: EX-101 - Item %1 of %2"_s.arg(At).arg(Count()) + modes[Mode], u"stem %1"_s.arg(At) };
        QStringList key;
        for (int row = 1; row <= Current().Options; ++row) {
            const QString letter(QChar(u'@' + row));
            words += letter + u". option %1"_s.arg(row) + (IsEnded ? u" fixed"_s : u""_s)
                + (Chosen.count(row) ? u" chosen"_s : u""_s);
            if (Current().Key.count(row))
                key += letter;
        }
        const bool isRight = Current().Response == Current().Key;
        words += { Current().Key.size() == 1 ? u""_s : u"boxes"_s,
                   IsMarked ? u"marked"_s : u""_s,
                   IsEnded ? u""_s : u"can mark"_s,
                   CanGoBack ? u"can go back"_s : u""_s,
                   u"can review"_s,
                   Current().HasExhibit ? u"exhibit"_s : u""_s,
                   IsPostExam && Current().HasExplanation ? u"explanation"_s : u""_s,
                   IsPostExam ? u"Answer: "_s + key.join(u',') + (isRight ? u" CORRECT"_s : u" INCORRECT"_s) : Time };
        words.removeAll(QString());
        return words.join(u'|');
    }
};

// A candidate who does anything that the windows offer, one random step after the other.
class Candidate {
public:
    explicit Candidate(unsigned seed)
        : m_random(seed)
        , m_rules{ .Items = {}, .Seconds = 60 * Any(3) }
    {
        Globals::CurrentExam = NewExam({ .Duration = qint16(m_rules.Seconds / 60) });
        for (int count = 1 + Any(6); count > 0; --count) {
            Rules::Item item{ Any(6), {}, Any(2) == 0, Any(4) == 0, Any(2) == 0 };
            QStringList options;
            const int keys = Any(4);
            for (int row = 1; row <= item.Options; ++row) {
                if (int(item.Key.size()) < keys && Any(2) == 0)
                    item.Key.insert(row);
                options += (item.Key.count(row) ? u"*"_s : u""_s) + u"option %1"_s.arg(row);
            }
            m_rules.Items.push_back(item);
            AddItem(*Globals::CurrentExam,
                    { u"stem %1"_s.arg(m_rules.Count()), options, item.HasLimit, item.HasExhibit ? u"map.gif"_s : u""_s,
                      item.HasExplanation ? u" why "_s : u" "_s });
        }
        m_exam = Globals::CurrentExam;
        m_port.Shown = [this] { m_painted = Described(m_session.Page()); };
        m_session.StartExam();
        m_rules.ShowTime();
        m_rules.Show();
        m_rules.Log += { u"clock"_s, u"exam"_s };
    }
    ~Candidate() { Globals::CurrentExam.reset(); }

    // False when session and rules differ.
    bool Sit(int steps)
    {
        while (steps-- > 0 && AreSame())
            Step();
        return AreSame();
    }
    const QStringList &Steps() const { return m_steps; }

private:
    int Any(int below) { return int(m_random() % unsigned(below)); }
    int AnyOption() { return 1 + Any(m_rules.Current().Options); }
    bool AreSame()
    {
        const QString page = Described(m_session.Page());
        EXPECT_EQ(page.toStdString(), m_rules.Described().toStdString());
        EXPECT_EQ(m_painted.toStdString(), page.toStdString()) << "the window shows something else";
        EXPECT_EQ(m_port.Log, m_rules.Log);
        for (int index = 1; index <= m_rules.Count(); ++index) {
            QStringList rows;
            for (const int row : m_rules.Items[index - 1].Response)
                rows += QString::number(row);
            const Question &question = *m_exam->Questions().Item(index);
            EXPECT_EQ(question.Answer().toStdString(), rows.join(u',').toStdString()) << "item " << index;
            EXPECT_EQ(question.IsMarked(), m_rules.Items[index - 1].IsMarked) << "item " << index;
        }
        m_port.Log.clear();
        m_rules.Log.clear();
        return !testing::Test::HasFailure();
    }

    void Step()
    {
        const bool isRunning = !m_rules.IsEnded;
        const bool hasOptions = m_rules.Current().Options > 0;
        switch (Any(12)) {
        case 0:
        case 1: return isRunning && hasOptions ? Choose(AnyOption()) : void();
        case 2: return hasOptions ? ClickText(AnyOption()) : void();
        case 3: return PressLetter(1 + Any(7));
        case 4: return isRunning ? Mark() : void();
        case 5:
        case 6: return Next();
        case 7: return m_rules.CanGoBack ? Previous() : void();
        case 8: return OpenList();
        case 9: return Wait();
        case 10: return Look();
        default: return TryToClose();
        }
    }
    void Choose(int row)
    {
        m_steps += u"choose %1"_s.arg(row);
        if (m_rules.Current().Key.size() == 1)
            m_session.optChoices_Click(row);
        else
            m_session.chkChoices_Click(row, m_rules.Chosen.count(row) == 0);
        m_rules.Toggle(row);
    }
    // Without a key the boxes are shown, and a text acts on the hidden radio buttons.
    void ClickText(int row)
    {
        m_steps += u"click text %1"_s.arg(row);
        m_session.lblChoices_Click(row);
        if (!m_rules.IsEnded && !m_rules.Current().Key.empty())
            m_rules.Toggle(row);
    }
    void PressLetter(int row)
    {
        m_steps += u"letter %1"_s.arg(row);
        const bool isOption = row <= m_rules.Current().Options;
        EXPECT_EQ(m_session.PressLetter(QChar(u'`' + row)), isOption);
        if (isOption && !m_rules.IsEnded)
            m_rules.Toggle(row);
    }
    void Mark()
    {
        m_steps += u"mark"_s;
        m_rules.IsMarked = !m_rules.IsMarked;
        m_session.chkMarked_Click(m_rules.IsMarked);
    }
    void Next()
    {
        m_steps += u"next"_s;
        if (m_rules.NextOpensList())
            return OpenList(&ExamSession::cmdNext_Click);
        m_session.cmdNext_Click();
        m_rules.Next();
    }
    void Previous()
    {
        m_steps += u"previous"_s;
        m_session.cmdPrev_Click();
        m_rules.Previous();
    }
    void OpenList(void (ExamSession::*by)() = &ExamSession::cmdReview_Click)
    {
        m_rules.Save();
        m_rules.Log += u"list"_s;
        m_port.Meanwhile = [this] { UseList(); };
        (m_session.*by)();
        EXPECT_FALSE(m_port.Meanwhile) << "the list did not open";
        if (m_rules.IsEnded)
            m_rules.StartReview();
    }
    void UseList()
    {
        const int index = 1 + Any(m_rules.Count());
        switch (Any(6)) {
        case 0:
            m_steps += u"list: all"_s;
            m_session.ReviewAll();
            m_rules.Mode = 1;
            return m_rules.GoTo(1);
        case 1:
            if (!m_rules.AnyMarked(1, m_rules.Count()))
                return;
            m_steps += u"list: marked"_s;
            m_session.ReviewMarked();
            m_rules.Mode = 2;
            m_rules.GoToMarked(1, 1);
            return;
        case 2:
            if (m_rules.IsEnded || Any(3) > 0)
                return;
            m_steps += u"list: end"_s;
            m_session.EndExam();
            m_rules.IsEnded = true;
            return m_rules.GoTo(1);
        case 3:
        case 4:
            m_steps += u"list: item %1"_s.arg(index);
            m_session.GotoQuestion(qint16(index));
            return m_rules.GoTo(index);
        default: m_steps += u"list: nothing"_s;
        }
    }
    void Wait()
    {
        m_port.Answer = Any(2) == 0 ? AnswerYes : AnswerNo;
        const int seconds = Any(8) > 0 ? Any(10) : Any(1900);
        m_steps += u"wait %1 and answer %2"_s.arg(seconds).arg(m_port.Answer);
        for (int second = 0; second < seconds; ++second) {
            // No second counts while the question is open.
            m_port.Meanwhile = [this] { m_session.tmrTimer_Timer(); };
            m_session.tmrTimer_Timer();
            m_rules.Tick(m_port.Answer);
        }
        m_port.Meanwhile = {};
    }
    void Look()
    {
        if (m_rules.Current().HasExhibit) {
            m_session.cmdExhibit_Click();
            m_rules.Log += u"map.gif"_s;
        }
        if (m_rules.IsPostExam && m_rules.Current().HasExplanation) {
            m_session.cmdWhy_Click();
            m_rules.Log += u"why %1"_s.arg(m_rules.At);
        }
    }
    void TryToClose()
    {
        m_port.Answer = AnswerNo;
        EXPECT_EQ(m_session.QueryClose(), m_rules.IsEnded);
        if (!m_rules.IsEnded)
            m_rules.Log += u"36 Are you sure you want to terminate the exam?"_s;
    }

    std::mt19937 m_random;
    Rules m_rules;
    ScriptedPort m_port;
    ExamSession m_session{ m_port };
    QString m_painted;
    QStringList m_steps;
    std::shared_ptr<Exam> m_exam;
};

}

// Whatever a candidate does, session and rules agree after every step.
TEST(SittingTest, AnySteps)
{
    constexpr int Sittings = 2000, Steps = 150;
    const unsigned seed = TestSeed();
    for (int sitting = 0; sitting < Sittings; ++sitting) {
        Candidate candidate(seed + unsigned(sitting));
        ASSERT_TRUE(candidate.Sit(Steps)) << "seed " << seed + unsigned(sitting)
                                          << " after: " << candidate.Steps().join(u"; "_s).toStdString();
    }
}
