// SPDX-License-Identifier: Apache-2.0
#include "tests/session/ScriptedPort.h"
#include "tests/support/Test.h"

namespace {

const QString TimeQuestion = u"36 The time has elapsed for this exam. Would you like to continue for another 30 minutes?"_s;

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
        Port.Log.clear();
    }
    Question &Item(int index) { return *Globals::CurrentExam->Questions().Item(index); }
    // The rows that are chosen.
    QString Chosen() const { return ExamSession::BuildAnswer(Session.Page().Selectors()); }
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
    EXPECT_EQ(ResultOf([&] { Session.GotoQuestion(1); }), u"5 "_s) << "not begun yet";
    EXPECT_TRUE(Session.QueryClose());
    for (const int index : { 1, 2 }) {
        Item(index).SetAnswer(u"1"_s);
        Item(index).SetIsMarked(true);
    }
    Session.StartExam();
    EXPECT_EQ(Chosen() + Item(1).Answer(), u""_s) << "the first item begins anew";
    EXPECT_EQ(Port.Log, (QStringList{ u"item"_s, u"clock"_s, u"exam"_s }));
    Session.GotoQuestion(2);
    EXPECT_TRUE(Chosen() == u"1"_s && Session.Page().IsMarked) << "the others keep what they have";

    for (const auto &[minutes, seconds] :
         { std::pair{ qint16(0), u"0"_s }, { qint16(546), u"32760"_s }, { qint16(547), u"6 "_s } }) {
        Globals::CurrentExam->SetDuration(minutes);
        Port.Log.clear();
        EXPECT_EQ(ResultOf([&] {
                      Session.StartExam();
                      return Session.SecondsRemaining();
                  }),
                  seconds);
        EXPECT_EQ(Port.Log.isEmpty(), minutes > 546);
    }
    Globals::CurrentExam = NewExam();
    EXPECT_EQ(ResultOf([&] { Session.StartExam(); }), u"9 "_s) << "without items";
}

// A stored response may be of a file that was made for another key.
TEST_F(SessionTest, StoredAnswersAreRestored)
{
    struct Row {
        int Index;
        QString Stored, Chosen;
        int Boxes = 0;
    };
    for (const Row &row : { Row{ 2, u"1,3"_s, u"1,3"_s }, Row{ 2, u"1,3,4"_s, u"1,3"_s, 1 }, Row{ 3, u"1,2,3"_s, u"1,2,3"_s },
                            Row{ 3, u"1,2,"_s, u"1,2"_s }, Row{ 1, u"1,2"_s, u"2"_s }, Row{ 3, u"4"_s, u"9 "_s },
                            Row{ 3, u"0"_s, u"9 "_s }, Row{ 3, u"x"_s, u"13 "_s } }) {
        SetUpExam();
        Session.StartExam();
        Session.GotoQuestion(row.Index == 1 ? 2 : 1);
        Port.Log.clear();
        Item(row.Index).SetAnswer(row.Stored);
        EXPECT_EQ(ResultOf([&] {
                      Session.GotoQuestion(qint16(row.Index));
                      return Chosen();
                  }),
                  row.Chosen)
            << row.Stored.toStdString();
        EXPECT_EQ(Port.Log.filter(u"64 "_s).size(), row.Boxes) << row.Stored.toStdString();
    }
}

TEST_F(SessionTest, Countdown)
{
    const auto time = [&] { return Session.Page().Time; };
    Globals::CurrentExam->SetDuration(1);
    Session.StartExam();
    EXPECT_EQ(time(), u"Time Remaining:  00:01:00"_s);
    Tick(60);
    EXPECT_EQ(time(), u"Time Remaining:  00:00:00"_s);
    Port.Answer = AnswerYes;
    Tick(1);
    EXPECT_EQ(time(), u"Time Remaining:  00:00:00"_s);
    Tick(1);
    EXPECT_EQ(time(), u"Time Remaining:  00:29:59"_s);
    Tick(1799);

    Session.optChoices_Click(1);
    Port.Log.clear();
    Port.Answer = NoAnswer; // the box was closed some other way
    QString saved = u"?"_s;
    Port.Meanwhile = [&] {
        Port.Meanwhile = [&] { saved = Item(1).Answer() + (Globals::CurrentExam->IsEnded() ? u""_s : u"too early"_s); };
    };
    Tick(1);
    EXPECT_EQ(Port.Log, (QStringList{ u"no clock"_s, TimeQuestion, u"report"_s, u"no clock"_s, u"item"_s }));
    EXPECT_EQ(saved, u""_s) << "what was on the page does not count";
}

// The program may end, and the window close, while a question or a list is open.
TEST_F(SessionTest, UnloadedMeanwhile)
{
    for (const MessageAnswer answer : { AnswerYes, AnswerNo }) {
        SetUpExam();
        Globals::CurrentExam->SetDuration(0);
        Session.StartExam();
        Port.Log.clear();
        Port.Answer = answer;
        Port.Meanwhile = [&] { Session.Unload(); };
        Tick(1);
        EXPECT_EQ(Port.Log, (QStringList{ u"no clock"_s, TimeQuestion })) << "neither clock nor report";
        EXPECT_EQ(Globals::CurrentExam, nullptr);
    }
    SetUpExam();
    Session.StartExam();
    Port.Meanwhile = [&] { Session.Unload(); };
    Session.cmdReview_Click();
    EXPECT_EQ(Port.Log.last(), u"list"_s);
}

// Assistive technology can press what is not shown.
TEST_F(SessionTest, WhatCannotBeDone)
{
    Session.StartExam();
    Session.optChoices_Click(2);
    for (const int row : { 0, 4 })
        Session.optChoices_Click(row);
    Session.chkChoices_Click(1, true);
    EXPECT_EQ(Chosen(), u"2"_s);
    Session.GotoQuestion(3);
    Session.optChoices_Click(1);
    for (const int row : { 0, 4, 99 })
        Session.chkChoices_Click(row, true);
    EXPECT_EQ(Chosen(), u""_s);
    Port.Meanwhile = [] { throw std::bad_alloc(); };
    Session.cmdExhibit_Click();
    EXPECT_EQ(
        Port.Log.last(),
        u"16 The exhibit cannot be displayed because required files are missing or corrupt. Please reinstall the exam pack."_s);
}
