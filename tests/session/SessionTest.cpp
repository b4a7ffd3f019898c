// SPDX-License-Identifier: Apache-2.0
#include "session/ExamSession.h"

#include "common/Common.h"
#include "tests/support/Test.h"
#include "ui/Messages.h"

namespace {

const QString TimeQuestion = u"36 The time has elapsed for this exam. Would you like to continue for another 30 minutes?"_s;

// The surroundings of a session: notes what it is asked for and answers as told.
struct ScriptedPort : SessionPort {
    QStringList Log;
    int Answer = AnswerOK;
    std::function<void()> Meanwhile; // done while the next box or window is open

    void Note(const QString &what)
    {
        Log += what;
        if (const auto meanwhile = std::exchange(Meanwhile, {}))
            meanwhile();
    }
    int Ask(const QString &text, int style, const QVariantList &values) override
    {
        Note(QString::number(style) + u' ' + Common::FormatText(text, values, Common::LineBreakMarker::Exact));
        return Answer;
    }
    void ShowItem() override { }
    void ShowChanges() override { }
    void ShowExam() override { Note(u"exam"_s); }
    void StartClock() override { Note(u"clock"_s); }
    void StopClock() override { Log += u"no clock"_s; }
    void ShowExhibit(const QString &name) override { Note(name); }
    void CloseExhibit() override { }
    void ShowExplanation(qint16 index) override { Note(u"why %1"_s.arg(index)); }
    void ShowReviewList() override { Note(u"list"_s); }
    void ShowReport() override { Note(u"report"_s); }
};

class SessionTest : public testing::Test {
protected:
    SessionTest() { SetUpExam(); }
    ~SessionTest() override { Globals::CurrentExam.reset(); }
    void SetUpExam()
    {
        Globals::CurrentExam = NewExam();
        AddItem(*Globals::CurrentExam, { u"single"_s, { u"*one"_s, u"two"_s, u"three"_s } });
        AddItem(*Globals::CurrentExam, { u"limited"_s, { u"*one"_s, u"two"_s, u"*three"_s, u"four"_s }, true });
        AddItem(*Globals::CurrentExam, { u"unlimited"_s, { u"*one"_s, u"*two"_s, u"three"_s } });
        AddItem(*Globals::CurrentExam, { u"no key"_s, { u"one"_s, u"two"_s } });
        AddItem(*Globals::CurrentExam, { u"last"_s, { u"one"_s, u"*two"_s }, false, u"map.gif"_s, u" because "_s });
    }
    Question &Item(int index) { return *Globals::CurrentExam->Questions().Item(index); }

    // Digits click a row's selector and letters its label; n(ext), p(revious),
    // m(ark), r(eview list); A and M review all and marked items from the list,
    // E ends the exam there.
    void Do(const QString &steps)
    {
        for (const QChar step : steps) {
            const int digit = step.digitValue();
            if (digit > 0 && Session.Page().Kind == SelectorKind::Radio)
                Session.optChoices_Click(digit);
            else if (digit > 0)
                Session.chkChoices_Click(digit, Session.Page().chkChoices[digit - 1].Value != Selector::On);
            else if (step >= u'a' && step <= u'd')
                Session.lblChoices_Click(step.unicode() - u'a' + 1);
            else if (step == u'n')
                Session.cmdNext_Click();
            else if (step == u'p')
                Session.cmdPrev_Click();
            else if (step == u'm')
                Session.chkMarked_Click(!Session.Page().IsMarked);
            else
                DoInList(step);
        }
    }
    void DoInList(QChar step)
    {
        Port.Meanwhile = [this, step] {
            if (step == u'E')
                Globals::CurrentExam->EndExam();
            else if (step != u'r')
                Session.SetReviewMode(step == u'A' ? ExamSession::ReviewingAll : ExamSession::ReviewingMarked);
            if (step == u'M')
                Session.GotoFirstMarked();
            else if (step != u'r')
                Session.GotoQuestion(1);
        };
        Session.cmdReview_Click();
    }
    // The item's position, ( for radio buttons or [ for check boxes, each row as
    // . or x (: or X when it is disabled), m for a mark, < when one can go back.
    QString Page() const
    {
        const PageState &page = Session.Page();
        QString rows;
        for (const Selector &selector : page.Selectors()) {
            if (selector.IsVisible)
                rows += (selector.IsEnabled ? u".x"_s : u":X"_s).at(selector.Value == Selector::On);
        }
        return QString::number(Session.CurrentIndex()) + (page.Kind == SelectorKind::Radio ? u'(' : u'[') + rows
            + (page.IsMarked ? u"m"_s : u""_s) + (page.CanGoBack ? u"<"_s : u""_s);
    }
    void Tick(int times)
    {
        while (times-- > 0)
            Session.tmrTimer_Timer();
    }

    ScriptedPort Port;
    ExamSession Session{ Port };
};

}

TEST_F(SessionTest, Start)
{
    for (const int index : { 1, 2 }) {
        Item(index).SetAnswer(u"1"_s);
        Item(index).SetIsMarked(true);
    }
    Session.StartExam();
    EXPECT_EQ(Session.Page().Title, u"Exam: EX-101 - Item 1 of 5"_s);
    EXPECT_EQ(Page(), u"1(..."_s);
    EXPECT_EQ(Item(1).Answer(), u""_s) << "the first item begins anew";
    EXPECT_EQ(Port.Log, (QStringList{ u"clock"_s, u"exam"_s }));
    Do(u"n"_s);
    EXPECT_EQ(Page(), u"2[x...m<"_s) << "the others keep what they have";

    struct Row {
        qint16 Minutes;
        QString Seconds;
    };
    for (const Row &row : { Row{ 0, u"0"_s }, Row{ 546, u"32760"_s }, Row{ 547, u"6 "_s } }) {
        Globals::CurrentExam->SetDuration(row.Minutes);
        Port.Log.clear();
        EXPECT_EQ(ResultOf([&] {
                      Session.StartExam();
                      return Session.SecondsRemaining();
                  }),
                  row.Seconds)
            << row.Minutes;
        EXPECT_EQ(Port.Log.isEmpty(), row.Seconds == u"6 "_s) << row.Minutes;
    }
    Globals::CurrentExam = NewExam();
    EXPECT_EQ(ResultOf([&] { Session.StartExam(); }), u"9 "_s) << "without items";
}

// Every row begins at a fresh item 1; item 2 takes two of four boxes.
TEST_F(SessionTest, Walks)
{
    const QString list = u"list"_s;
    const QString limit
        = u"64 You cannot select more than 2 options for this question. To select this option, please unselect another."_s;
    const struct {
        QString Steps, Page;
        QStringList Log = {};
    } rows[] = {
        { u"21"_s, u"1(x.."_s },
        { u"2np"_s, u"1(.x."_s },
        { u"ccb"_s, u"1(.x."_s },
        { u"mnp"_s, u"1(...m"_s },
        { u"mnpmnp"_s, u"1(..."_s },
        { u"n134"_s, u"2[x.x.<"_s, { limit } },
        { u"n1343"_s, u"2[x...<"_s, { limit } },
        { u"nacd"_s, u"2[x.x.<"_s, { limit } },
        { u"nacad"_s, u"2[..xx<"_s },
        { u"n13npn"_s, u"3[...<"_s },
        { u"n13np"_s, u"2[x.x.<"_s },
        { u"nn123"_s, u"3[xxx<"_s },
        // Without a key boxes are shown, and labels act on hidden radio buttons.
        { u"nnn12"_s, u"4[xx<"_s },
        { u"nnnab"_s, u"4[..<"_s },
        { u"nnn1anp"_s, u"4[x.<"_s },
        { u"nnnanp"_s, u"4[..<"_s },
        { u"nnnn"_s, u"5(..<"_s },
        { u"nnnn2n"_s, u"5(.x<"_s, { list } },
        { u"2r"_s, u"1(.x."_s, { list } },
        { u"Annnnn"_s, u"5(..<"_s, { list, list } },
    };
    for (const auto &row : rows) {
        SetUpExam();
        Session.StartExam();
        Port.Log.clear();
        Do(row.Steps);
        EXPECT_EQ(Page(), row.Page) << row.Steps.toStdString();
        EXPECT_EQ(Port.Log, row.Log) << row.Steps.toStdString();
    }
    Globals::CurrentExam = NewExam();
    AddItem(*Globals::CurrentExam, { u"only"_s, { u"*yes"_s, u"no"_s } });
    Session.StartExam();
    Do(u"1n"_s);
    EXPECT_EQ(Page(), u"1(x."_s);
    EXPECT_EQ(Port.Log.last() + Item(1).Answer(), u"list1"_s) << "the only item is the last one";
}

// Items 2, 3 and 5 are marked. The number tells how often the list opened.
TEST_F(SessionTest, MarkedItems)
{
    const struct {
        QString Steps, Page;
        int Lists;
    } rows[] = {
        // From where the first marked item is reached decides whether one can go back.
        { u"M"_s, u"2[....m<"_s, 1 },
        { u"Mp"_s, u"2[....m"_s, 1 },
        { u"Mnp"_s, u"2[....m"_s, 1 },
        { u"Mnn"_s, u"5(..m<"_s, 1 },
        { u"Mnnn"_s, u"5(..m<"_s, 2 },
        { u"Mnnpp"_s, u"2[....m"_s, 1 },
        { u"Mnnp"_s, u"3[...m<"_s, 1 },
        // The mark on the page counts once it is saved, which opening the list does.
        { u"Mnnmn"_s, u"5(..<"_s, 2 },
        { u"Mnnmnn"_s, u"5(..<"_s, 2 },
        { u"Mnnmnp"_s, u"3[...m<"_s, 2 },
        { u"Mnmn"_s, u"5(..m<"_s, 1 },
        { u"Mnmnp"_s, u"2[....m"_s, 1 },
        { u"MA"_s, u"1(..."_s, 2 },
        { u"MAn"_s, u"2[....m<"_s, 2 },
    };
    for (const auto &row : rows) {
        SetUpExam();
        for (const int index : { 2, 3, 5 })
            Item(index).SetIsMarked(true);
        Session.StartExam();
        Port.Log.clear();
        Do(row.Steps);
        EXPECT_EQ(Page(), row.Page) << row.Steps.toStdString();
        EXPECT_EQ(Port.Log.count(u"list"_s), row.Lists) << row.Steps.toStdString();
        const QString mode = row.Steps.contains(u'A') ? u" - Reviewing All"_s : u" - Reviewing Marked"_s;
        EXPECT_TRUE(Session.Page().Title.endsWith(mode)) << row.Steps.toStdString();
    }
    SetUpExam();
    Session.StartExam();
    for (const QString &steps : { u"nnM"_s, u"n"_s, u"p"_s }) {
        Do(steps);
        EXPECT_EQ(Page(), u"3[...<"_s) << "none is marked";
    }
}

TEST_F(SessionTest, StoredAnswersAreRestored)
{
    const QString limit = u"2[x.x.<"_s;
    struct Row {
        int Index;
        QString Stored, Page;
        int Boxes = 0;
    };
    for (const Row &row : { Row{ 2, u"1,3"_s, limit }, Row{ 2, u"1,3,4"_s, limit, 1 }, Row{ 3, u"1,2,3"_s, u"3[xxx<"_s },
                            Row{ 5, u"1,2"_s, u"5(.x<"_s }, Row{ 3, u"4"_s, u"9 "_s }, Row{ 3, u"x"_s, u"13 "_s } }) {
        SetUpExam();
        Session.StartExam();
        Port.Log.clear();
        Item(row.Index).SetAnswer(row.Stored);
        EXPECT_EQ(ResultOf([&] {
                      Session.GotoQuestion(qint16(row.Index));
                      return Page();
                  }),
                  row.Page)
            << row.Stored.toStdString();
        EXPECT_EQ(Port.Log.size(), row.Boxes) << row.Stored.toStdString();
    }
}

TEST_F(SessionTest, Countdown)
{
    const auto time = [&] { return Session.Page().Time; };
    Globals::CurrentExam->SetDuration(1);
    Session.StartExam();
    Tick(1);
    EXPECT_EQ(time(), u"Time Remaining:  00:00:59"_s);
    Tick(59);
    EXPECT_EQ(time(), u"Time Remaining:  00:00:00"_s);
    Port.Log.clear();
    Port.Answer = AnswerYes;
    Port.Meanwhile = [&] { Tick(100); };
    Tick(1);
    EXPECT_EQ(Port.Log, (QStringList{ u"no clock"_s, TimeQuestion, u"clock"_s })) << "asked once";
    EXPECT_EQ(Session.SecondsRemaining(), 1800);
    EXPECT_EQ(time(), u"Time Remaining:  00:00:00"_s);
    Tick(1);
    EXPECT_EQ(time(), u"Time Remaining:  00:29:59"_s);
    Tick(1799);
    EXPECT_EQ(time(), u"Time Remaining:  00:00:00"_s);

    for (const int answer : { AnswerNo, NoAnswer }) {
        SetUpExam();
        Globals::CurrentExam->SetDuration(90);
        Session.StartExam();
        Tick(5400);
        Do(u"1m"_s);
        Port.Log.clear();
        Port.Answer = answer;
        QString saved = u"?"_s;
        bool isEnded = false;
        Port.Meanwhile = [&] {
            Port.Meanwhile = [&] {
                isEnded = Globals::CurrentExam->IsEnded();
                saved = Item(1).Answer();
            };
        };
        Tick(1);
        EXPECT_EQ(Port.Log, (QStringList{ u"no clock"_s, TimeQuestion, u"report"_s, u"no clock"_s }));
        EXPECT_TRUE(isEnded) << "before the report";
        EXPECT_EQ(saved, u""_s) << "what was on the page does not count";
        EXPECT_EQ(Page() + Session.Page().Status, u"1(:::INCORRECT"_s) << "nor does it stay there";
        EXPECT_FALSE(Session.Page().CanMark);
        Tick(3);
        EXPECT_EQ(Port.Log.size(), 4) << "no tick counts any more";
    }
}

TEST_F(SessionTest, ReviewAfterTheExam)
{
    Item(4).SetExplaination(u"   "_s);
    Session.StartExam();
    Do(u"1n14n12n1n"_s);
    Do(u"E"_s);
    EXPECT_TRUE(Session.Page().IsPostExam);
    const struct {
        QString Page, Answer, Status;
        bool HasExplanation;
    } rows[] = {
        { u"1(X::"_s, u"Answer: A"_s, u"CORRECT"_s, false },    { u"2[X::X<"_s, u"Answer: A,C"_s, u"INCORRECT"_s, false },
        { u"3[XX:<"_s, u"Answer: A,B"_s, u"CORRECT"_s, false }, { u"4[X:<"_s, u"Answer: "_s, u"INCORRECT"_s, false },
        { u"5(::<"_s, u"Answer: B"_s, u"INCORRECT"_s, true },
    };
    for (const auto &row : rows) {
        Do(u"ab"_s);
        EXPECT_EQ(Page(), row.Page) << "labels have no effect";
        EXPECT_EQ(Session.Page().Answer, row.Answer);
        EXPECT_EQ(Session.Page().Status, row.Status) << row.Page.toStdString();
        EXPECT_EQ(Session.Page().HasExplanation, row.HasExplanation) << row.Page.toStdString();
        if (Session.CurrentIndex() < 5)
            Do(u"n"_s);
    }
    EXPECT_EQ(Item(2).Answer(), u"1,4"_s) << "kept by walking past";
    Session.cmdWhy_Click();
    EXPECT_EQ(Port.Log.last(), u"why 5"_s);
    Item(4).SetAnswer({});
    Session.GotoQuestion(4);
    EXPECT_EQ(Session.Page().Status, u"CORRECT"_s) << "no answer to an item without a key";
}

TEST_F(SessionTest, WhatCannotBeDone)
{
    Session.StartExam();
    Do(u"2nn"_s);
    // Assistive technology can press what is not shown.
    Session.optChoices_Click(1);
    for (const int row : { 0, 4, 99 })
        Session.chkChoices_Click(row, true);
    EXPECT_EQ(Page(), u"3[...<"_s);
    Session.GotoQuestion(5);
    for (const int row : { 0, 3 })
        Session.optChoices_Click(row);
    Session.chkChoices_Click(1, true);
    Port.Meanwhile = [] { throw std::bad_alloc(); };
    Session.cmdExhibit_Click();
    EXPECT_EQ(
        Port.Log.last(),
        u"16 The exhibit cannot be displayed because required files are missing or corrupt. Please reinstall the exam pack."_s);
    Session.GotoQuestion(1);
    EXPECT_EQ(Page(), u"1(.x."_s);
}
