// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Clock.h"
#include "common/Error.h"
#include "common/MessageStyle.h"
#include "download/Conversation.h"
#include "download/Credentials.h"
#include "download/Downloader.h"
#include "download/Transfer.h"

#include <QObject>
#include <QTimer>

#include <memory>
#include <optional>

// What a run asks of its surroundings: the download window, or a test. While Ask
// or Warn waits, events run, and one of them may end the run.
class DownloadPort {
public:
    enum class State {
        Idle, // a run can be started
        Running, // it can be cancelled, which closes the window
        Ended, // the window can be closed
    };
    enum class Entry { UserID, Password };

    virtual ~DownloadPort() = default;
    virtual void ShowState(State state) = 0;
    // The text of the status line; sizes in bytes, the rate in bytes a second; a
    // value below 1 is not known. Comes often enough for a reader, not with every
    // chunk.
    virtual void UpdateStatus(const QString &text, double total, double downloaded, double rate) = 0;
    // From 0 to 1: while a message is under way a simulated one, 1 with its reply.
    // For a pack only UpdateStatus comes, with the sizes.
    virtual void SetProgress(double fraction) = 0;
    // Shows a box with the expanded template that comes when the network
    // answers, not when the candidate expects it; the button pressed.
    virtual MessageAnswer Ask(const QString &text, MessageStyle style, const QVariantList &values) = 0;
    // The same at once after a press, with the exclamation icon.
    virtual void Warn(const QString &text) = 0;
    virtual void FocusEntry(Entry entry) = 0; // the one to be corrected
    // A complete pack is about to be checked and, if it may be, run. No events run from
    // then on until that has ended, which takes seconds.
    virtual void InstallationStarts(const QString &examID) = 0;
    // The window is to be closed, and calls Close of the run then. Comes again
    // every second after a successful run until it does.
    virtual void CloseWindow() = 0;
    // An error that nothing here expects, from a callback of the event loop.
    virtual void Raised(const Error &error) = 0;
};

// The download window without the window: its state, the requests of the
// conversation and their replies, the packs and their installation, the
// remembered credentials and the two timers. It belongs to the thread that created
// it, and must not be destroyed while a call of the port waits or a reply or a
// pack is being read. Only packs that arrived whole are run; why one could not be
// installed goes to the log.
class DownloadRun : public QObject, private ConversationPort {
    Q_OBJECT
public:
    using State = DownloadPort::State;

    // Port and clock are not owned. The one transport carries the messages, the
    // other the packs. The address of the service is looked up here, once.
    DownloadRun(DownloadPort &port, std::unique_ptr<Transport> messages, std::unique_ptr<Transport> packs,
                const Clock &clock = Clock::System());
    ~DownloadRun() override;

    State CurrentState() const { return m_state; }
    // Of both transfers; see there.
    void SetTimes(const Transfer::Times &times);
    // The action button, with what stands in the entries: starts a run with both
    // trimmed, or ends the run and closes the window. Credentials are stored as
    // they stand, if they are to be remembered; that they cannot be stored is
    // reported and does not stop the run. An entry that is empty or blank is
    // reported, and nothing starts.
    void Press(const Credentials::Pair &entries, bool isRemembered);
    // The window closes, whatever state the run is in. Credentials that are not
    // remembered are deleted.
    void Close(bool isRemembered);
    // Ends the current run, from any state: both transfers are cancelled, and a
    // pack that is under way is not installed. A successful one closes the window
    // after a second.
    void EndRun(bool success) override;
    // The exam at the front of the queue; see Conversation.
    void DownloadNext() { m_conversation.DownloadNext(); }

private:
    // Of the conversation.
    MessageAnswer Ask(const QString &text, MessageStyle style, const QVariantList &values) override;
    void UpdateStatus(const QString &text) override;
    void Post(const QString &message) override;
    void Fetch(const QString &sessionID, const QString &examID) override;
    void Install(const QString &examID) override;
    bool IsInstalled(const QString &examID) override;
    void OfferStart() override;
    void CloseWindow() override;

    template <class Sender, class Signal, class Handler> void On(Sender *sender, Signal signal, Handler handler);
    void Start(const Credentials::Pair &entries, bool isRemembered);
    void Enter(State state);
    void icRequestDispatcher_StateChanged(int state);
    void icDownloader_StateChanged(int state);
    void ReadReply();
    void m_oDownloader_DownloadStarted();
    void m_oDownloader_ChunkDownloaded();
    void m_oDownloader_DownloadComplete();
    void m_oDownloader_DownloadFailed(const QString &text);
    void tmrProgressSimulator_Timer();

    DownloadPort &m_port;
    const Clock &m_clock;
    const QString m_endpoint;
    State m_state = State::Idle;
    Conversation m_conversation;
    Transfer icRequestDispatcher;
    Transfer icDownloader;
    Downloader m_oDownloader;
    QTimer tmrProgressSimulator;
    QTimer tmrAutoClose;
    float m_simulated = 0; // a fraction
    std::optional<qint64> m_updatedAt; // by the monotonic clock
    QString m_status;
    QString m_downloadFailure; // why the pack that was fetched last is not complete
};
