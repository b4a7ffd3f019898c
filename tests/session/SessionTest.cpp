// SPDX-License-Identifier: Apache-2.0
#include "tests/session/Candidate.h"
#include "tests/support/Seed.h"

namespace {

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

    ScriptedPort Port;
    ExamSession Session{ Port };
};

}

TEST_F(SessionTest, Start)
{
    EXPECT_EQ(ResultOf([&] { Session.GotoQuestion(1); }), u"5 "_s) << "not begun yet";
    EXPECT_TRUE(Session.QueryClose());
    for (const auto &[minutes, seconds] :
         { std::pair{ qint16(0), u"0"_s }, { qint16(546), u"32760"_s }, { qint16(547), u"6 "_s }, { qint16(-1), u"-60"_s } }) {
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
    const struct {
        qint16 Index;
        QString Stored, Chosen;
        int Boxes = 0;
    } rows[]
        = { { 2, u"1,3"_s, u"1,3"_s }, { 2, u"1,3,4"_s, u"1,3"_s, 1 }, { 3, u"1,2,"_s, u"1,2"_s }, { 1, u"1,2"_s, u"2"_s },
            { 3, u"3"_s, u"3"_s },     { 3, u"4"_s, u"9 "_s },         { 3, u"0"_s, u"9 "_s },     { 3, u"x"_s, u"13 "_s } };
    for (const auto &row : rows) {
        SetUpExam();
        Session.StartExam();
        Session.GotoQuestion(row.Index == 1 ? 2 : 1);
        Globals::CurrentExam->Questions().Item(row.Index)->SetAnswer(row.Stored);
        const QString chosen = ResultOf([&] {
            Session.GotoQuestion(row.Index);
            return ExamSession::BuildAnswer(Session.Page().Selectors());
        });
        EXPECT_EQ(chosen, row.Chosen) << row.Stored.toStdString();
        EXPECT_EQ(Port.Log.filter(u"64 "_s).size(), row.Boxes) << row.Stored.toStdString();
    }
}

// The program may end, and the window close, while a question or a list is open.
TEST_F(SessionTest, UnloadedMeanwhile)
{
    for (const MessageAnswer answer : { AnswerYes, AnswerNo, NoAnswer }) {
        SetUpExam();
        Globals::CurrentExam->SetDuration(0);
        Session.StartExam();
        Port.Answer = answer;
        Port.Meanwhile = [&] { Session.Unload(); };
        answer == NoAnswer ? Session.cmdReview_Click() : Session.tmrTimer_Timer();
        EXPECT_EQ(Port.Log.last().left(2), answer == NoAnswer ? u"li"_s : u"36"_s) << "neither clock nor report";
        EXPECT_EQ(Globals::CurrentExam, nullptr);
    }
    SetUpExam();
    Globals::CurrentExam->SetDuration(0);
    Session.StartExam();
    Session.tmrTimer_Timer();
    EXPECT_TRUE(Port.Log.contains(u"report"_s)) << "the next sitting";
}

// Whatever a candidate does, session and rules agree after every step.
TEST(SittingTest, AnySteps)
{
    constexpr int Sittings = 1500, Steps = 150;
    const unsigned seed = TestSeed();
    for (unsigned sitting = 0; sitting < Sittings && !HasFailure(); ++sitting) {
        SCOPED_TRACE(testing::Message() << "seed " << seed + sitting);
        ScriptedPort port;
        ExamSession session(port);
        Hands hands(session, port);
        Candidate(hands, seed + sitting).Sit(Steps);
    }
}
