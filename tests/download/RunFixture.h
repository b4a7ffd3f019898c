// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Common.h"
#include "common/Registry.h"
#include "download/DownloadRun.h"
#include "tests/download/FakePack.h"
#include "tests/download/ScriptedTransport.h"
#include "tests/support/Test.h"

#include <QCoreApplication>
#include <QTimer>

// A clock that stands, and moves on by a millisecond whenever it is read.
class SteppingClock : public Clock {
public:
    QDateTime Now() const override { return { { 2026, 3, 21 }, { 20, 5, 9 } }; }
    std::chrono::milliseconds Elapsed() const override { return m_time += std::chrono::milliseconds(1); }

private:
    mutable std::chrono::milliseconds m_time{ 0 };
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
        Registry::WriteValue(Credentials::RegistryKey, Credentials::EndpointName, u" http://server/x.asp "_s, Registry::Text,
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
    void On(const char *key, const Reply &reply) { Answers.prepend({ QLatin1StringView(key), reply }); }

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
        // In milliseconds; a machine that does something else is not silent.
        const bool isSilent
            = std::any_of(Answers.begin(), Answers.end(), [](const auto &row) { return row.second.At.IsSilent; });
        const int timeout = isSilent ? 20 : 5000;
        Run->SetTimeouts(timeout, timeout, timeout);
    }
    void Press() { Run->Press({ u" me "_s, u"pw"_s }, false); }
    static bool WaitFor(const std::function<bool()> &condition)
    {
        QTimer late;
        late.setSingleShot(true);
        late.start(20'000);
        // Some systems go on waiting once they have done all that was posted.
        QTimer often;
        often.start(5);
        while (!condition() && late.isActive())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        return late.isActive();
    }
    // From the press of Start until the run is over; the log of it, less how often
    // the bar was filled.
    QString WholeRun()
    {
        Log.clear();
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
        const QString place = TempFile(u"101.exe"_s);
        QString logged = QString::fromStdString(testing::internal::GetCapturedStderr());
        logged.remove(u"Practorium: Installation of 101 (%1) failed: "_s.arg(place));
        const QFileInfo file(place);
        const QString last = log.section(u'|', -2, -2);
        QStringList outcome
            = { FakePack::Runs() == 1 ? u"run"_s : u""_s, file.exists() || file.isSymLink() ? u"stays"_s : u""_s,
                log.contains(u"list=101&"_s) ? u"installed"_s : u""_s, logged.trimmed(),
                last.startsWith(u"box"_s) ? last : u""_s };
        EXPECT_EQ(log.contains(u"|box 16 Installation of 101 failed. Click OK to continue.|"_s), !logged.isEmpty());
        outcome.removeAll(u""_s);
        return outcome.join(u", "_s);
    }

    void ShowState(State state) override
    {
        const QString line = state == State::Idle ? u"idle"_s : state == State::Running ? u"running"_s : u"ended"_s;
        if (std::exchange(LastState, line) != line)
            Write(line);
    }
    void UpdateStatus(const QString &text, double total, double downloaded, double) override
    {
        if (total > 0)
            Counts.append({ total, downloaded });
        else
            Write(u"status "_s + text);
    }
    void SetProgress(double fraction) override
    {
        if (fraction == 1.0)
            Write(u"full"_s);
    }
    MessageAnswer Ask(const QString &text, MessageStyle style, const QVariantList &values) override
    {
        Write(u"box %1 "_s.arg(style) + Common::FormatText(text, values, Common::LineBreakMarker::Exact));
        if (InBox)
            InBox();
        return Choice;
    }
    void Warn(const QString &text) override { Write(u"warning "_s + text); }
    void FocusEntry(Entry entry) override { Write(entry == Entry::UserID ? u"to user ID"_s : u"to password"_s); }
    void InstallationStarts(const QString &examID) override { Write(u"install "_s + examID); }
    void CloseWindow() override
    {
        IsOpen = false;
        Write(u"close"_s);
        Run->Close(false);
    }
    void Raised(const Error &error) override { Write(u"raised "_s + error.Description()); }
    virtual Reply Serve(const QString &request)
    {
        Write(request);
        for (const auto &[key, reply] : Answers) {
            if (request.contains(key))
                return reply;
        }
        return Reply{}.Until({ .Event = 1, .IsSilent = true });
    }
    void Write(const QString &line) { Log.append(line); }

    SteppingClock Now;
    QStringList Log;
    QList<std::pair<double, double>> Counts; // size and bytes received of each update
    QString LastState;
    QList<std::pair<QLatin1StringView, Reply>> Answers;
    MessageAnswer Choice = AnswerOK;
    std::function<void()> InBox;
    bool IsOpen = true;
    std::unique_ptr<DownloadRun> Run;
};
