// SPDX-License-Identifier: Apache-2.0
#include "tests/download/RunFixture.h"
#include "tests/support/Seed.h"

#include <random>

namespace {

// A service that makes every kind of mistake, a candidate who presses at any
// moment, and the few rules that hold whatever they do.
class RandomRunsTest : public RunTest {
protected:
    int Below(int limit) { return std::uniform_int_distribution(0, limit - 1)(Random); }
    bool OneIn(int count) { return Below(count) == 0; }
    QByteArray Any(const QByteArrayList &choices) { return choices.at(Below(int(choices.size()))); }

    QByteArray Message(const QString &request)
    {
        if (OneIn(8))
            return Any({ "LOGIN?status=NO;", "LIST?status=OK;", "ERROR?description=no;", "REPORT;", "<html>" });
        if (request.contains(u"LOGIN"_s))
            return "LOGIN?status=OK&sid=7;";
        const QByteArray exams = Any({ "101", "101,102", "old,101", "101,101", " 102,old ", "101,../x,,102", "" });
        return request.contains(u"LIST"_s) ? "LIST?status=OK&data=" + exams + ';' : QByteArray("REPORT;");
    }
    Reply Spoil(const Reply &reply)
    {
        const int event = Below(4);
        const int byte = Below(int(reply.Body.size()));
        switch (Below(8)) {
        case 0: return reply.Until({ .Event = event, .Result = 56 });
        case 1: return reply.Until({ .Event = event, .IsSilent = true });
        case 2: return reply.Until({ .Byte = byte, .Result = Below(2) * 18 });
        case 3: return reply.Until({ .Byte = byte, .IsSilent = true });
        case 4: return reply.With(Any({ "content-encoding", "transfer-encoding" }), "chunked");
        case 5: return reply.With("content-length", Any({ "-1", "x", "2147483647", "" }));
        case 6: return Reply::Whole(reply.Body, 100 * (2 + Below(4)) + 4);
        default: return Reply::Whole("", 302).With("location", Any({ "/x.asp?again&eid=1", "ftp://x/", "" }));
        }
    }
    Reply Serve(const QString &request) override
    {
        EXPECT_TRUE(IsOpen) << "asked after the window was closed";
        const Reply right = request.startsWith(u"GET"_s) ? Pack(request) : Reply::Whole(Message(request));
        IsIntact = !OneIn(4);
        Sent = IsIntact ? right : Spoil(right);
        Sent.PartBytes = 1 + Below(int(Sent.Body.size()) / (OneIn(2) ? 20 : 1) + 1);
        if (OneIn(12))
            QTimer::singleShot(Below(4), Run.get(), [this] { PressIfOpen(); });
        if (request.contains(u"REPORT"_s)) {
            EXPECT_EQ(request.section(u"&list="_s, 1).section(u"&time="_s, 0, 0), Installed.join(u','));
        }
        return Sent;
    }
    void PressIfOpen()
    {
        if (IsOpen)
            Press();
    }
    MessageAnswer Ask(const QString &text, MessageStyle style, const QVariantList &values) override
    {
        EXPECT_TRUE(IsOpen) << "asked after the window was closed";
        RunTest::Ask(text, style, values);
        if (OneIn(10))
            PressIfOpen();
        return OneIn(2) ? AnswerYes : AnswerNo;
    }
    // One of two versions, or what is missing of the one that is asked for.
    Reply Pack(const QString &request)
    {
        const bool isOneAsked = request.contains(u"If-Range: \"1\""_s);
        const int version = OneIn(4) ? Below(2) : int(isOneAsked);
        const QByteArray tag = Any({ "\"%\"", "\"%\"", "\"%\"", "W/\"%\"" }).replace('%', QByteArray::number(version));
        const QByteArray &pack = Packs.at(version);
        const qsizetype from = request.section(u"bytes="_s, 1).section(u'-', 0, 0).toLongLong();
        if (!request.endsWith(u"If-Range: "_s + QLatin1StringView(tag)))
            return Reply::Whole(pack).With("etag", tag);
        const QByteArray size = QByteArray::number(pack.size());
        ++Resumptions;
        return Reply::Whole(pack.mid(from), 206)
            .With("etag", tag)
            .With("content-range",
                  "bytes " + QByteArray::number(from) + '-' + QByteArray::number(pack.size() - 1) + '/' + size);
    }
    // What is about to be run is one of the packs, to its last byte, of which the last were sent last.
    void InstallationStarts(const QString &examID) override
    {
        EXPECT_TRUE(IsOpen && Run->CurrentState() == State::Running);
        const QByteArray file = Sandbox::ReadFile(TempFile(examID + u".exe"_s));
        EXPECT_TRUE(IsIntact && Packs.contains(file) && file.endsWith(Sent.Body));
        Installed.append(examID);
    }

    std::mt19937 Random;
    const QByteArrayList Packs = { FakePack::Bytes(), FakePack::Bytes(300'000) };
    Reply Sent;
    bool IsIntact = true;
    int Resumptions = 0;
    QStringList Installed;
};

}

TEST_F(RandomRunsTest, NothingPartialIsRunAndEveryRunEnds)
{
    Random.seed(TestSeed());
    ::Install(*NewExam({ u"old"_s }), u"Old"_s);
    // In milliseconds; where a program starts slowly, everything else is slow as well.
    Timeout = System::RunsByName ? 50 : 3;
    const int runs = System::RunsByName ? 200 : 2000;
    qsizetype installations = 0;
    for (int run = 0; run < runs && !HasFailure(); ++run) {
        SCOPED_TRACE(run);
        Log.clear();
        Installed.clear();
        Open();
        testing::internal::CaptureStderr(); // the reasons of installations that fail
        Press();
        // A reply that is ignored leaves the run as it is.
        QTimer often;
        QObject::connect(&often, &QTimer::timeout, Run.get(), [this, seen = qsizetype(0)]() mutable {
            if (std::exchange(seen, Log.size()) == Log.size() && Log.value(seen - 1) == "full"_L1)
                PressIfOpen();
        });
        often.start(4 * Timeout);
        EXPECT_TRUE(WaitFor([this] { return Run->CurrentState() != State::Running; })) << Log.join(u'\n').toStdString();
        if (IsOpen)
            CloseWindow();
        Log.clear();
        QCoreApplication::processEvents();
        testing::internal::GetCapturedStderr();
        EXPECT_EQ(Log.join(u'|'), u""_s) << "nothing follows";
        EXPECT_EQ(FakePack::Runs(), Installed.size());
        installations += Installed.size();
    }
    EXPECT_GT(installations, runs / 30);
    EXPECT_GT(Resumptions, 0);
}
