// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Common.h"
#include "common/Registry.h"
#include "common/ServiceKey.h"
#include "download/DownloadRun.h"
#include "tests/download/FakePack.h"
#include "tests/download/ScriptedTransport.h"
#include "tests/support/Test.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>

// A clock that stands, and whose measured time moves on whenever it is read.
struct SteppingClock : Clock {
    QDateTime Now() const override { return { { 2026, 3, 21 }, Time }; }
    std::chrono::milliseconds Elapsed() const override { return Passed += Step; }
    QTime Time{ 20, 5, 9 };
    std::chrono::milliseconds Step{ 1 };
    mutable std::chrono::milliseconds Passed{ 0 };
};

// A run without a window, against a scripted server. What the run asks of either
// is written down line by line.
class RunTest : public testing::Test, protected DownloadPort {
protected:
    RunTest()
    {
        QDir(TempFile(u""_s)).removeRecursively();
        QDir().mkpath(TempFile(u""_s));
        QDir(Sandbox::ExamsFolder()).removeRecursively();
        FakePack::Runs();
        Registry::WriteValue(ServiceKey, Credentials::EndpointName, u" http://server/x.asp "_s, Registry::Text,
                             Registry::CurrentUser);
        AnswerRightly();
    }
    void AnswerRightly()
    {
        Answers.clear();
        On("LOGIN?", Reply::Whole("LOGIN?status=OK&sid=7;"));
        On("LIST?", Reply::Whole("LIST?status=OK&data=101;"));
        On("eid=", Reply::Whole(FakePack::Bytes()));
        On("REPORT?", Reply::Whole("REPORT;"));
    }
    // The answer to requests in which the key stands; the latest comes first. A
    // request without a key gets none.
    void On(const char *key, const Reply &reply)
    {
        Answers.prepend({ QLatin1StringView(key), reply });
        // A machine that does something else is not silent.
        Timeout = reply.At.IsSilent ? 20 : 5000;
    }

    static QString TempFile(const QString &name)
    {
        return QDir::toNativeSeparators(QString::fromLocal8Bit(qgetenv("TMPDIR")) + u'/' + name);
    }
    void Open()
    {
        const auto server = [this](const QString &request) { return Serve(request); };
        Run.reset();
        IsOpen = true;
        Run = std::make_unique<DownloadRun>(static_cast<DownloadPort &>(*this), std::make_unique<ScriptedTransport>(server),
                                            std::make_unique<ScriptedTransport>(server), Now);
        Run->SetTimes({ Timeout, Timeout, Timeout, 1 });
    }
    void Press() { Run->Press({ u" me "_s, u"pw"_s }, false); }
    static bool WaitFor(const std::function<bool()> &condition)
    {
        // Some systems go on waiting once they have done all that was posted.
        QTimer often;
        often.start(5);
        const QDeadlineTimer late(HasFailure() ? 100 : 60'000);
        while (!condition() && !late.hasExpired())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        return condition();
    }
    // The log from the press of Start until the run is over, less how often the bar was filled.
    QString WholeRun()
    {
        Log.clear();
        Counts.clear();
        Open();
        Press();
        EXPECT_TRUE(WaitFor([this] { return Run->CurrentState() != State::Running; })) << Log.join(u'\n').toStdString();
        QStringList log = Log;
        log.removeAll(u"full"_s);
        return log.join(u'|');
    }

    // What becomes of the one pack of a run: "installed", "run" and "stays" as far
    // as that is true, and why it is not installed: what is logged, or the last box.
    QString Outcome()
    {
        testing::internal::CaptureStderr();
        const QString log = WholeRun();
        const QFileInfo file(TempFile(u"101.exe"_s));
        const auto when = [](bool condition, const QString &text) { return condition ? text + u", "_s : QString(); };
        QString logged = QString::fromStdString(testing::internal::GetCapturedStderr());
        logged.remove(u"Practorium: Installation of 101 (%1) failed: "_s.arg(TempFile(u"101.exe"_s)));
        EXPECT_EQ(log.contains(u" failed. Click OK to continue.|"_s), !logged.isEmpty());
        return when(FakePack::Runs() == 1, u"run"_s) + when(file.exists() || file.isSymLink(), u"stays"_s)
            + when(log.contains(u"list=101&"_s), u"installed"_s) + logged.trimmed()
            + when(log.contains(u"|box 16 Error"_s), log.section(u'|', -2));
    }

    void ShowState(State state) override
    {
        const QString line = state == State::Idle ? u"idle"_s : state == State::Running ? u"running"_s : u"ended"_s;
        if (std::exchange(LastState, line) != line)
            Log.append(line);
    }
    void UpdateStatus(const QString &text, double total, double downloaded, double rate) override
    {
        if (total < 1)
            return Log.append(u"status "_s + text);
        Counts.append({ total, downloaded });
        Rate = rate;
        if (AtUpdate)
            AtUpdate();
    }
    void SetProgress(double fraction) override
    {
        if (fraction == 1.0)
            Log.append(u"full"_s);
    }
    MessageAnswer Ask(const QString &text, MessageStyle style, const QVariantList &values) override
    {
        Log.append(u"box %1 "_s.arg(style) + Common::FormatText(text, values, Common::LineBreakMarker::Exact));
        return Choice;
    }
    void Warn(const QString &text) override { Log.append(u"warning "_s + text); }
    void FocusEntry(Entry entry) override { Log.append(entry == Entry::UserID ? u"to user ID"_s : u"to password"_s); }
    void InstallationStarts(const QString &examID) override { Log.append(u"install "_s + examID); }
    void CloseWindow() override
    {
        IsOpen = false;
        Log.append(u"close"_s);
        Run->Close(false);
    }
    void Raised(const Error &error) override { Log.append(u"raised "_s + error.Description()); }
    virtual Reply Serve(const QString &request)
    {
        Log.append(request);
        for (const auto &[key, reply] : Answers) {
            if (request.contains(key))
                return reply;
        }
        return Reply{}.Until({ .Event = 1, .IsSilent = true });
    }

    SteppingClock Now;
    int Timeout = 5000; // milliseconds
    QStringList Log;
    QList<std::pair<double, double>> Counts; // size and bytes received of each update
    double Rate = 0;
    std::function<void()> AtUpdate;
    QString LastState;
    QList<std::pair<QLatin1StringView, Reply>> Answers;
    MessageAnswer Choice = AnswerOK;
    bool IsOpen = true;
    std::unique_ptr<DownloadRun> Run;
};
