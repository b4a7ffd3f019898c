// SPDX-License-Identifier: Apache-2.0
#include "tests/download/RunFixture.h"
#include "tests/support/Seed.h"
#include "tests/support/System.h"

#include <random>

namespace {

// In milliseconds; where a program starts slowly, everything else is slow as well.
const int Timeout = System::RunsByName ? 50 : 3;

// A service that makes every kind of mistake, a candidate who presses at any
// moment, and the few rules that hold whatever they do.
class RandomRunsTest : public RunTest {
protected:
    int Below(int limit) { return std::uniform_int_distribution(0, limit - 1)(Random); }
    bool OneIn(int count) { return Below(count) == 0; }
    QByteArray Any(const QByteArrayList &choices) { return choices.at(Below(int(choices.size()))); }

    QByteArray Message(const QString &request)
    {
        const QByteArray exams = Any({ "101", "101,102", "old,101", "101,101", " 102,old ", "101,../x,,102", "" });
        const QByteArray right = request.contains(u"LOGIN"_s) ? "LOGIN?status=OK&sid=7;"
            : request.contains(u"LIST"_s)                     ? "LIST?status=OK&data=" + exams + ';'
                                                              : QByteArray("REPORT;");
        return OneIn(8) ? Any({ "", ";", "HELLO;", "LOGIN?status=NO;", "LIST?status=NO;", "LIST?status=OK&data=101;",
                                "ERROR?description=no;", "REPORT;", "<html>" })
                        : right;
    }
    Reply Spoil(Reply reply)
    {
        const int event = Below(4);
        const int byte = Below(int(reply.Body.size()) + 1);
        switch (Below(9)) {
        case 0: return reply.Until({ .Event = event, .Result = 56 });
        case 1: return reply.Until({ .Event = event, .IsSilent = true });
        case 2: return reply.Until({ .Byte = byte, .Result = Below(2) * 18 });
        case 3: return reply.Until({ .Byte = byte, .IsSilent = true });
        case 4: return reply.Until({ .Byte = byte, .Result = 23, .IsRefused = true });
        case 5: return reply.With(Any({ "content-encoding", "transfer-encoding" }), "chunked");
        case 6: return reply.With("content-length", Any({ "-1", "x", "2147483647", "" }));
        case 7: return Reply::Whole(reply.Body, 100 * (2 + Below(4)) + 4);
        default: return Reply::Whole("", 302).With("location", Any({ "/x.asp?again&eid=1", "ftp://x/", "" }));
        }
    }
    Reply Serve(const QString &request) override
    {
        EXPECT_TRUE(IsOpen) << "asked after the window was closed";
        const bool isPack = request.startsWith(u"GET"_s);
        Sent = Reply::Whole(isPack ? Packs.at(Below(2)) : Message(request));
        if (OneIn(4))
            Sent = Spoil(Sent);
        Sent.PartBytes = 1 + Below(int(Sent.Body.size()) / (OneIn(2) ? 20 : 1) + 1);
        if (OneIn(12))
            PressSoon();
        if (request.contains(u"REPORT"_s)) {
            EXPECT_EQ(request.section(u"&list="_s, 1).section(u"&time="_s, 0, 0), Installed.join(u','));
        }
        Write(request);
        return Sent;
    }
    MessageAnswer Ask(const QString &text, MessageStyle style, const QVariantList &values) override
    {
        EXPECT_TRUE(IsOpen) << "asked after the window was closed";
        RunTest::Ask(text, style, values);
        if (OneIn(10) && IsOpen)
            Press();
        return OneIn(2) ? AnswerYes : AnswerNo;
    }
    // What is about to be run is the pack that was sent last, to its last byte.
    void InstallationStarts(const QString &examID) override
    {
        ASSERT_TRUE(IsOpen && Run->CurrentState() == State::Running);
        const bool isSent = Sent.Status == 200 && Sent.At.Result == 0 && !Sent.At.IsSilent
            && (Sent.At.Byte < 0 || Sent.At.Byte == Sent.Body.size()) && Sent.Headers == Reply::Whole(Sent.Body).Headers;
        EXPECT_TRUE(isSent && Sandbox::ReadFile(TempFile(examID + u".exe"_s)) == Sent.Body);
        Installed.append(examID);
        ++InstalledInAll;
    }
    void PressSoon()
    {
        QTimer::singleShot(Below(4), Run.get(), [this] {
            if (IsOpen)
                Press();
        });
    }

    std::mt19937 Random;
    const QByteArrayList Packs = { Pack("pack"), Pack("pack", 300'000) };
    Reply Sent;
    QStringList Installed;
    int InstalledInAll = 0;
};

}

TEST_F(RandomRunsTest, NothingPartialIsRunAndEveryRunEnds)
{
    Random.seed(TestSeed());
    // The reasons of installations that fail, thousands of them.
    const bool isShown = qEnvironmentVariableIsSet("PRACTORIUM_TEST_SEED");
    ::Install(*NewExam({ u"old"_s }), u"Old"_s);
    Sandbox::WriteFile(Sandbox::Path(u"mark-pack"_s), "");
    if (!isShown)
        testing::internal::CaptureStderr();
    // Where a program starts slowly, fewer.
    const int runs = System::RunsByName ? 200 : 3000;
    int successes = 0;
    for (int run = 0; run < runs && !HasFailure(); ++run) {
        Log.clear();
        Installed.clear();
        Open();
        Run->SetTimeouts(Timeout, Timeout, Timeout);
        Press();
        // A reply that is ignored leaves the run as it is.
        QTimer often;
        QObject::connect(&often, &QTimer::timeout, Run.get(), [this, seen = qsizetype(0)]() mutable {
            if (std::exchange(seen, Log.size()) == Log.size() && Log.last() == "full"_L1)
                Press();
        });
        often.start(4 * Timeout);
        EXPECT_TRUE(WaitFor([this] { return Run->CurrentState() != State::Running; })) << "run " << run << " goes on:\n"
                                                                                       << Log.join(u'\n').toStdString();
        often.stop();
        successes += LastState == u"ended"_s && Log.contains(u"status Completed"_s);
        if (IsOpen)
            CloseWindow();
        const qsizetype lines = Log.size();
        QCoreApplication::processEvents();
        EXPECT_EQ(Log.size(), lines) << "run " << run << ' ' << Log.last().toStdString();
        EXPECT_EQ(Sandbox::ReadFile(Sandbox::Path(u"mark-pack"_s)).count('\n'), InstalledInAll) << "run " << run;
    }
    if (!isShown)
        testing::internal::GetCapturedStderr();
    EXPECT_GT(successes, runs / 30) << "of many runs";
    EXPECT_GT(InstalledInAll, runs / 30);
}
