// SPDX-License-Identifier: Apache-2.0
#include "download/DownloadRun.h"

#include "common/Ansi.h"
#include "common/Common.h"
#include "common/TrapErrors.h"
#include "download/DownloadText.h"
#include "model/Globals.h"
#include "model/IO.h"
#include "signature/PackTrust.h"

#include <QCoreApplication>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype ReplyChunk = 1024; // bytes
constexpr qsizetype LongestReply = 1024 * 1024;
constexpr int SimulatorPeriod = 100; // milliseconds
constexpr int AutoClosePeriod = 1000;
constexpr qint64 UpdateEvery = 40;
// Characters of what the server names, so that the reason behind it is not cut off.
constexpr qsizetype LongestLoggedName = 500;

}

DownloadRun::DownloadRun(DownloadPort &port, std::unique_ptr<Transport> messages, std::unique_ptr<Transport> packs,
                         const Clock &clock)
    : m_port(port)
    , m_clock(clock)
    , m_endpoint(Credentials::Endpoint())
    , m_conversation(*this, clock)
    , icRequestDispatcher(std::move(messages))
    , icDownloader(std::move(packs))
    , m_oDownloader(clock)
{
    // The downloader handles the states of its transfer before this run does.
    m_oDownloader.Initialize(&icDownloader);
    tmrProgressSimulator.setInterval(SimulatorPeriod);
    tmrAutoClose.setInterval(AutoClosePeriod);
    On(&icRequestDispatcher, &Transfer::StateChanged, &DownloadRun::icRequestDispatcher_StateChanged);
    On(&icDownloader, &Transfer::StateChanged, &DownloadRun::icDownloader_StateChanged);
    On(&m_oDownloader, &Downloader::DownloadStarted, &DownloadRun::m_oDownloader_DownloadStarted);
    On(&m_oDownloader, &Downloader::ChunkDownloaded, &DownloadRun::m_oDownloader_ChunkDownloaded);
    On(&m_oDownloader, &Downloader::DownloadComplete, &DownloadRun::m_oDownloader_DownloadComplete);
    On(&m_oDownloader, &Downloader::DownloadFailed, &DownloadRun::m_oDownloader_DownloadFailed);
    connect(&m_oDownloader, &Downloader::Raised, this, [this](const Error &error) { m_port.Raised(error); });
    connect(&tmrProgressSimulator, &QTimer::timeout, this, &DownloadRun::tmrProgressSimulator_Timer);
    connect(&tmrAutoClose, &QTimer::timeout, this, &DownloadRun::CloseWindow);
}

DownloadRun::~DownloadRun() = default;

// Has a signal handled; what the handler raises goes to the port.
template <class Sender, class Signal, class Handler> void DownloadRun::On(Sender *sender, Signal signal, Handler handler)
{
    connect(sender, signal, this, [this, handler](auto... arguments) {
        TrapErrors([&] { (this->*handler)(arguments...); }, [this](const Error &error) { m_port.Raised(error); });
    });
}

void DownloadRun::SetTimes(const Transfer::Times &times)
{
    icRequestDispatcher.SetTimes(times);
    icDownloader.SetTimes(times);
}

void DownloadRun::Enter(State state)
{
    m_state = state;
    m_port.ShowState(state);
}

void DownloadRun::Press(const Credentials::Pair &entries, bool isRemembered)
{
    if (m_state == State::Idle) {
        Start(entries, isRemembered);
        return;
    }
    EndRun(false);
    m_port.CloseWindow();
}

void DownloadRun::Start(const Credentials::Pair &entries, bool isRemembered)
{
    const QString userID = Common::TrimBlanks(entries.UserID);
    if (userID.isEmpty()) {
        m_port.Warn(u"Please enter your User ID."_s);
        m_port.FocusEntry(DownloadPort::Entry::UserID);
        return;
    }
    const QString password = Common::TrimBlanks(entries.Password);
    if (password.isEmpty()) {
        m_port.Warn(u"Please enter your password."_s);
        m_port.FocusEntry(DownloadPort::Entry::Password);
        return;
    }
    if (isRemembered) {
        try {
            Credentials::Store(entries);
        } catch (const Error &error) {
            // What cannot be remembered can be typed again; the exams matter more.
            m_port.Warn(error.Description());
        }
    }
    // Before the conversation starts: what fails at once changes it again.
    Enter(State::Running);
    m_conversation.Start(userID, password);
}

void DownloadRun::Close(bool isRemembered)
{
    EndRun(false);
    if (!isRemembered)
        Credentials::Forget();
}

void DownloadRun::EndRun(bool success)
{
    m_conversation.Stop();
    tmrProgressSimulator.stop();
    if (icRequestDispatcher.StillExecuting())
        icRequestDispatcher.Cancel();
    if (icDownloader.StillExecuting())
        icDownloader.Cancel();
    m_oDownloader.Cancel();
    Enter(State::Ended);
    if (success)
        tmrAutoClose.start();
    else
        tmrAutoClose.stop();
}

void DownloadRun::OfferStart()
{
    Enter(State::Idle);
    m_port.FocusEntry(DownloadPort::Entry::UserID);
}

void DownloadRun::CloseWindow()
{
    m_port.CloseWindow();
}

MessageAnswer DownloadRun::Ask(const QString &text, MessageStyle style, const QVariantList &values)
{
    return m_port.Ask(text, style, values);
}

void DownloadRun::UpdateStatus(const QString &text)
{
    m_status = text;
    m_port.UpdateStatus(text, 0, 0, 0);
}

void DownloadRun::tmrProgressSimulator_Timer()
{
    m_simulated = DownloadText::NextSimulated(m_simulated);
    m_port.SetProgress(m_simulated);
}

void DownloadRun::Post(const QString &message)
{
    while (m_conversation.IsRunning() && icRequestDispatcher.StillExecuting())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    if (!m_conversation.IsRunning())
        return;
    icRequestDispatcher.Execute(m_endpoint, "POST", Ansi::FromText(message), "Content-Type: application/x-www-form-urlencoded");
}

void DownloadRun::icRequestDispatcher_StateChanged(int state)
{
    if (state == Transfer::Requesting)
        tmrProgressSimulator.start();
    else if (state == Transfer::Failed)
        m_conversation.TransportFailed(icRequestDispatcher.ResponseCode(), icRequestDispatcher.ResponseInfo());
    else if (state == Transfer::Completed)
        ReadReply();
}

void DownloadRun::ReadReply()
{
    if (icRequestDispatcher.IsEncoded()) {
        const qint32 code = icRequestDispatcher.ResponseCode();
        icRequestDispatcher.Cancel();
        m_conversation.TransportFailed(code, u"The server sends its answer encoded"_s);
        return;
    }
    try {
        QByteArray body;
        for (;;) {
            const QByteArray chunk = icRequestDispatcher.GetChunk(ReplyChunk);
            if (chunk.isEmpty())
                break;
            body += chunk;
            if (body.size() > LongestReply)
                throw Error::RunTime(Overflow);
        }
        if (icRequestDispatcher.IsBrokenOff())
            return;
        m_conversation.Receive(Ansi::ToText(body));
        m_port.SetProgress(1.0);
        tmrProgressSimulator.stop();
    } catch (const Error &) {
        icRequestDispatcher.Cancel();
        m_conversation.HandlingFailed();
    }
}

bool DownloadRun::IsInstalled(const QString &examID)
{
    return Globals::IsExamInstalled(examID);
}

void DownloadRun::Fetch(const QString &sessionID, const QString &examID)
{
    const QString address = Common::FormatText(u"{1}?sid={2}&eid={3}"_s, { m_endpoint, sessionID, examID });
    const QString fileName = examID + u".exe"_s;
    const QString folder = IO::GetTempFolder();
    // A file of this user's from an earlier run is in the way; anybody else's
    // stays, and then the pack cannot be written.
    if (!folder.isEmpty() && IsPlainFileName(fileName))
        RemoveOwnFile(IO::CombinePath(folder, fileName));
    m_downloadFailure = u"The pack did not come whole"_s;
    m_oDownloader.GetFile(address, folder, fileName);
}

void DownloadRun::icDownloader_StateChanged(int state)
{
    if (state == Transfer::Failed)
        m_conversation.TransportFailed(icDownloader.ResponseCode(), icDownloader.ResponseInfo());
}

void DownloadRun::m_oDownloader_DownloadStarted()
{
    UpdateStatus(u"Downloading: "_s + m_oDownloader.FileName());
}

void DownloadRun::m_oDownloader_ChunkDownloaded()
{
    // Faster than anybody reads, labels would only slow the transfer down.
    const qint64 now = m_clock.Elapsed().count();
    const bool isLast = m_oDownloader.Downloaded() >= m_oDownloader.FileSize();
    if (m_updatedAt && now - *m_updatedAt < UpdateEvery && !isLast)
        return;
    m_updatedAt = now;
    m_port.UpdateStatus(m_status, m_oDownloader.FileSize(), m_oDownloader.Downloaded(), m_oDownloader.TransferRate());
}

// Nothing follows a cancel, whoever it came from; a failure is reported as the
// transfer's state.
void DownloadRun::m_oDownloader_DownloadComplete()
{
    if (!icDownloader.IsBrokenOff())
        m_conversation.DownloadComplete();
}

// A pack that did not arrive is one that cannot be installed; the run goes on.
void DownloadRun::m_oDownloader_DownloadFailed(const QString &text)
{
    m_downloadFailure = text;
    m_conversation.DownloadComplete();
}

void DownloadRun::Install(const QString &examID)
{
    try {
        if (!m_oDownloader.IsComplete())
            throw Error(InvalidCall, m_downloadFailure);
        m_port.InstallationStarts(examID);
        PackFile &pack = m_oDownloader.File();
        const auto statement = PackTrust::Check(pack.OpenForCheck(), examID);
        pack.MakeRunnable();
        const qint32 exitCode = pack.Run();
        // Older packs are refused from then on, so only what has been installed counts.
        if (statement && exitCode == 0)
            PackTrust::Remember(*statement);
        pack.Remove();
    } catch (const Error &error) {
        // The box that follows says no more than that it failed.
        Common::Log(u"Installation of %1 (%2) failed: %3"_s.arg(examID.left(LongestLoggedName),
                                                                m_oDownloader.TargetFile().left(LongestLoggedName),
                                                                Common::OneLine(error)));
        throw;
    }
}
