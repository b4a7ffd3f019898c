// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Common.h"
#include "session/ExamSession.h"
#include "tests/support/Test.h"

#include <random>
#include <set>

// The surroundings of a session: a log of its calls, and scripted answers.
struct ScriptedPort : SessionPort {
    QStringList Log;
    MessageAnswer Answer = AnswerNo;
    std::function<void()> Meanwhile; // done once, while the next box or window is open
    std::function<void()> Shown = [] {}; // done whenever the page is to be painted

    void Note(const QString &what)
    {
        Log += what;
        if (const auto meanwhile = std::exchange(Meanwhile, {}))
            meanwhile();
    }
    MessageAnswer Ask(const QString &text, MessageStyle style, const QVariantList &values) override
    {
        Note(QString::number(style) + u' ' + Common::FormatText(text, values, Common::LineBreakMarker::Exact));
        return Answer;
    }
    void ShowItem() override
    {
        Log += u"item"_s;
        Shown();
    }
    void ShowChanges() override { Shown(); }
    void ShowExam() override { Note(u"exam"_s); }
    void StartClock() override { Note(u"clock"_s); }
    void StopClock() override { Log += u"no clock"_s; }
    void ShowExhibit(const QString &name) override { Note(name); }
    void CloseExhibit() override { }
    void ShowExplanation(qint16 index) override { Note(u"why %1"_s.arg(index)); }
    void ShowReviewList() override { Note(u"list"_s); }
    void ShowReport() override { Note(u"report"_s); }
};

inline const QString NoExhibit
    = u"16 The exhibit cannot be displayed because required files are missing or corrupt. Please reinstall the exam pack."_s;

// What the exam window shows of a page, as Windows::Sketch gives it.
inline QStringList Sketched(const PageState &page)
{
    const auto box = [](bool isChosen, bool isEnabled, const QString &text) {
        const QString both = (isChosen ? u"[x] "_s : u"[ ] "_s) + text;
        return isEnabled ? both : u'(' + both + u')';
    };
    QStringList rows{ page.Title, box(page.IsMarked, page.CanMark, u"&Mark this item for review"_s) + u" ..."_s, page.Problem };
    rows[1] += page.IsPostExam ? u""_s : u' ' + page.Time;
    const auto &selectors = page.Selectors();
    for (size_t row = 0; row < selectors.size(); ++row) {
        if (selectors[row].IsVisible)
            rows += box(selectors[row].Value == Selector::On, selectors[row].IsEnabled, selectors[row].Caption) + u' '
                + page.lblChoices[row].Text;
    }
    if (page.IsPostExam)
        rows += { u"... "_s + page.Answer + (page.HasExplanation ? u" &Why?"_s : u" ..."_s),
                  u"... "_s + page.Status + u" ..."_s };
    rows += u"&Next ... "_s + (page.CanGoBack ? u"&Previous"_s : u"(&Previous)"_s)
        + (page.HasExhibit ? u" ... E&xhibit ... &Review"_s : u" ... &Review"_s);
    return rows;
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
    void Save() { std::tie(Current().Response, Current().IsMarked) = std::tie(Chosen, IsMarked); }
    void Show()
    {
        std::tie(Chosen, IsMarked) = std::tie(Current().Response, Current().IsMarked);
        CanGoBack = At > 1;
        Log += u"item"_s;
    }
    void GoTo(int index)
    {
        Save();
        At = index;
        Show();
    }
    void GoToMarked(int index, int step)
    {
        while (index >= 1 && index <= Count() && !Items[index - 1].IsMarked)
            index += step;
        if (index >= 1 && index <= Count())
            GoTo(index);
    }
    bool NextOpensList() const { return Mode == 2 ? Items[At - 1].IsMarked && !AnyMarked(At + 1, Count()) : At == Count(); }
    void Next() { Mode == 2 ? GoToMarked(At + 1, 1) : GoTo(At + 1); }
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
            IsEnded = IsPostExam = true;
            Log += { u"report"_s, u"no clock"_s };
            Show();
        }
    }
    PageState Page()
    {
        static const QString modes[] = { u""_s, u" - Reviewing All"_s, u" - Reviewing Marked"_s };
        PageState page{ .Title = u"Exam: EX-101 - Item %1 of %2"_s.arg(At).arg(Count()) + modes[Mode],
                        .Problem = u"stem %1"_s.arg(At),
                        .Kind = Current().Key.size() == 1 ? SelectorKind::Radio : SelectorKind::Check,
                        .IsMarked = IsMarked,
                        .CanMark = !IsEnded,
                        .CanGoBack = CanGoBack,
                        .HasExhibit = Current().HasExhibit,
                        .HasExplanation = Current().HasExplanation,
                        .IsPostExam = IsPostExam,
                        .Time = Time,
                        .Answer = u"Answer: "_s,
                        .Status = Current().Response == Current().Key ? u"CORRECT"_s : u"INCORRECT"_s };
        page.Selectors(page.Kind).clear();
        for (int row = 1; row <= Current().Options; ++row) {
            const QString letter(QChar(u'@' + row));
            page.Selectors(page.Kind).push_back(
                { letter + u'.', Chosen.count(row) ? Selector::On : Selector::Off, !IsEnded, true });
            page.lblChoices.resize(row);
            page.lblChoices.back().Text = u"option %1"_s.arg(row);
            if (Current().Key.count(row))
                page.Answer += (page.Answer.endsWith(u' ') ? u""_s : u","_s) + letter;
        }
        return page;
    }
};

// How a candidate acts on a sitting and what the sitting shows: here without a window.
class Hands {
public:
    Hands(ExamSession &session, ScriptedPort &port)
        : Session(session)
        , Port(port)
    {
        Port.Shown = [this] { m_shown = Session.Page(); };
    }
    virtual ~Hands() = default;

    // A control by its name, and by its number if it is in a row.
    virtual void Press(const QString &control, int row)
    {
        static const std::map<QString, void (*)(ExamSession &, int)> presses = {
            { u"optChoices"_s, [](ExamSession &s, int r) { s.optChoices_Click(r); } },
            { u"chkChoices"_s, [](ExamSession &s, int r) { s.chkChoices_Click(r, !s.Page().chkChoices[r - 1].Value); } },
            { u"lblChoices"_s, [](ExamSession &s, int r) { s.lblChoices_Click(r); } },
            { u"chkMarked"_s, [](ExamSession &s, int) { s.chkMarked_Click(!s.Page().IsMarked); } },
            { u"cmdNext"_s, [](ExamSession &s, int) { s.cmdNext_Click(); } },
            { u"cmdPrev"_s, [](ExamSession &s, int) { s.cmdPrev_Click(); } },
            { u"cmdReview"_s, [](ExamSession &s, int) { s.cmdReview_Click(); } },
            { u"cmdExhibit"_s, [](ExamSession &s, int) { s.cmdExhibit_Click(); } },
            { u"cmdWhy"_s, [](ExamSession &s, int) { s.cmdWhy_Click(); } },
        };
        presses.at(control)(Session, row);
    }
    virtual void PressLetter(QChar letter, bool isOption) { EXPECT_EQ(Session.PressLetter(letter), isOption); }
    virtual bool Close() { return Session.QueryClose(); }
    // What the session has asked to show.
    virtual QStringList Shown() { return Sketched(m_shown); }
    // Whether the log of the port has that word.
    virtual bool Hears(const QString &) const { return true; }

    ExamSession &Session;
    ScriptedPort &Port;

private:
    PageState m_shown;
};

// A candidate who does anything that the windows offer, one random step after the other.
class Candidate {
public:
    Candidate(Hands &hands, unsigned seed)
        : m_random(seed)
        , m_rules{ .Items = {}, .Seconds = 60 * Any(3) }
        , m_hands(hands)
        , m_session(hands.Session)
        , m_port(hands.Port)
    {
        Globals::CurrentExam = m_exam = NewExam({ .Duration = qint16(m_rules.Seconds / 60) });
        for (int count = 1 + Any(6); count > 0; --count)
            AddItem();
        m_session.StartExam();
        m_rules.ShowTime();
        m_rules.Show();
        m_rules.Log += { u"clock"_s, u"exam"_s };
    }
    ~Candidate() { Globals::CurrentExam.reset(); }

    // Fails where the sitting differs from the rules.
    void Sit(int steps)
    {
        while (steps-- > 0 && AreSame())
            Step();
        EXPECT_TRUE(AreSame()) << "after: " << m_steps.join(u"; "_s).toStdString();
    }

private:
    int Any(int below) { return int(m_random() % unsigned(below)); }
    // With response and mark of an earlier sitting; the first item begins anew.
    void AddItem()
    {
        Rules::Item item{ Any(6), {}, Any(2) == 0, Any(4) == 0, Any(2) == 0 };
        QStringList options;
        const int keys = Any(4);
        for (int row = 1; row <= item.Options; ++row) {
            if (int(item.Key.size()) < keys && Any(2) == 0)
                item.Key.insert(row);
            options += (item.Key.count(row) ? u"*"_s : u""_s) + u"option %1"_s.arg(row);
        }
        const auto question = ::AddItem(*m_exam,
                                        { u"stem %1"_s.arg(m_rules.Count() + 1), options, item.HasLimit,
                                          item.HasExhibit ? u"map.gif"_s : u""_s, item.HasExplanation ? u" why "_s : u" "_s });
        question->SetAnswer(question->CorrectAnswer());
        question->SetIsMarked(Any(4) == 0);
        if (m_rules.Count() > 0) {
            item.Response = item.Key;
            item.IsMarked = question->IsMarked();
        }
        m_rules.Items.push_back(item);
    }
    bool AreSame()
    {
        m_rules.Log.removeIf([this](const QString &word) { return !m_hands.Hears(word); });
        EXPECT_EQ(std::exchange(m_port.Log, {}), std::exchange(m_rules.Log, {}));
        EXPECT_EQ(m_hands.Shown(), Sketched(m_rules.Page()));
        const PageState &page = m_session.Page();
        const auto &unused = page.Kind == SelectorKind::Radio ? page.chkChoices : page.optChoices;
        EXPECT_TRUE(unused.size() == 1 && !unused.front().IsVisible);
        for (int index = 1; index <= m_rules.Count(); ++index) {
            const Question &question = *m_exam->Questions().Item(index);
            const auto response = ExamSession::ParseAnswer(question.Answer());
            EXPECT_EQ(std::set<int>(response.begin(), response.end()), m_rules.Items[index - 1].Response) << "item " << index;
            EXPECT_EQ(question.IsMarked(), m_rules.Items[index - 1].IsMarked) << "item " << index;
        }
        return !testing::Test::HasFailure();
    }

    void Press(const QString &control, int row = 0)
    {
        m_steps += control + QString::number(row);
        m_hands.Press(control, row);
    }
    void Step()
    {
        const int row = 1 + Any(7);
        const bool isRadio = m_rules.Current().Key.size() == 1;
        const bool isOption = row <= m_rules.Current().Options, canChoose = isOption && !m_rules.IsEnded;
        switch (Any(13)) {
        case 0:
        case 1:
            if (!canChoose)
                return;
            Press(isRadio ? u"optChoices"_s : u"chkChoices"_s, row);
            return m_rules.Toggle(row);
        case 2:
            if (!isOption)
                return;
            Press(u"lblChoices"_s, row);
            // Without a key the boxes are shown, and a text acts on the hidden radio buttons.
            return canChoose && !m_rules.Current().Key.empty() ? m_rules.Toggle(row) : void();
        case 3:
            m_steps += u"letter %1"_s.arg(row);
            m_hands.PressLetter(QChar(u'`' + row), isOption);
            return canChoose ? m_rules.Toggle(row) : void();
        case 4:
            if (m_rules.IsEnded)
                return;
            m_rules.IsMarked = !m_rules.IsMarked;
            return Press(u"chkMarked"_s);
        case 5:
        case 6:
            if (m_rules.NextOpensList()) {
                EXPECT_EQ(m_hands.Session.NextTexts(), QStringList());
                return OpenList(u"cmdNext"_s);
            }
            return Next();
        case 7:
            if (!m_rules.CanGoBack)
                return;
            Press(u"cmdPrev"_s);
            return m_rules.Previous();
        case 8: return OpenList(u"cmdReview"_s);
        case 9: return Wait();
        case 10: return Look();
        case 11:
            m_steps += u"close"_s;
            m_port.Answer = AnswerNo;
            EXPECT_EQ(m_hands.Close(), m_rules.IsEnded);
            return m_rules.IsEnded ? void() : m_rules.Log.push_back(u"36 Are you sure you want to terminate the exam?"_s);
        default:
            // Assistive technology can press what is not there.
            for (const int none : { 0, std::max(1, m_rules.Current().Options) + row }) {
                m_session.optChoices_Click(isRadio ? none : row);
                m_session.chkChoices_Click(isRadio ? row : none, true);
            }
        }
    }
    // The session knows beforehand what it will show.
    void Next()
    {
        const QStringList next = m_hands.Session.NextTexts();
        const int before = m_rules.At;
        Press(u"cmdNext"_s);
        m_rules.Next();
        const PageState &page = m_hands.Session.Page();
        QStringList shown(m_rules.At == before ? QStringList() : QStringList(page.Problem));
        for (const RowLabel &label : page.lblChoices) {
            if (m_rules.At != before && label.IsVisible)
                shown += label.Text;
        }
        EXPECT_EQ(next, shown);
    }
    void OpenList(const QString &by)
    {
        m_rules.Save();
        m_rules.Log += u"list"_s;
        m_port.Meanwhile = [this] { UseList(1 + Any(m_rules.Count())); };
        Press(by);
        EXPECT_FALSE(m_port.Meanwhile) << "the list did not open";
        m_rules.IsPostExam = m_rules.IsEnded;
        m_rules.Log += QStringList(m_rules.IsEnded ? 1 : 0, u"no clock"_s);
    }
    void UseList(int index)
    {
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
            return m_rules.GoToMarked(1, 1);
        case 2:
            if (m_rules.IsEnded || Any(3) > 0)
                return;
            m_steps += u"list: end"_s;
            m_session.EndExam();
            m_rules.IsEnded = true;
            return m_rules.GoTo(1);
        case 3: m_steps += u"list: nothing"_s; return;
        default:
            m_steps += u"list: item %1"_s.arg(index);
            m_session.GotoQuestion(qint16(index));
            return m_rules.GoTo(index);
        }
    }
    void Wait()
    {
        m_port.Answer = std::array{ AnswerYes, AnswerNo, NoAnswer }[Any(3)];
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
            m_port.Meanwhile = [] { throw std::bad_alloc(); };
            Press(u"cmdExhibit"_s);
            m_rules.Log += { u"map.gif"_s, NoExhibit };
        }
        if (m_rules.IsPostExam && m_rules.Current().HasExplanation) {
            Press(u"cmdWhy"_s);
            m_rules.Log += u"why %1"_s.arg(m_rules.At);
        }
    }

    std::mt19937 m_random;
    Rules m_rules;
    Hands &m_hands;
    ExamSession &m_session;
    ScriptedPort &m_port;
    QStringList m_steps;
    std::shared_ptr<Exam> m_exam;
};
