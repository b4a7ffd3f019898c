// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Clock.h"
#include "common/MessageStyle.h"
#include "protocol/Message.h"

#include <QString>
#include <QStringList>
#include <QVariantList>

// What the conversation asks of its surroundings. While Ask or Post waits, events
// run, and one of them may stop the conversation.
class ConversationPort {
public:
    virtual ~ConversationPort() = default;
    // Shows a box with the expanded template; the button pressed.
    virtual MessageAnswer Ask(const QString &text, MessageStyle style, const QVariantList &values = {}) = 0;
    virtual void UpdateStatus(const QString &text) = 0;
    // Posts a packed message to the service once the one before has been
    // answered, and waits for that; posts nothing when the conversation has been
    // stopped meanwhile. Receive, TransportFailed or HandlingFailed follows. Raises
    // an Error when the request cannot be started.
    virtual void Post(const QString &message) = 0;
    // Fetches an exam's pack into the file of that name; returns at once, and
    // DownloadComplete or TransportFailed follows. Raises an Error when that cannot
    // be started.
    virtual void Fetch(const QString &sessionID, const QString &examID) = 0;
    // Runs the pack that has been fetched, waits for it and deletes it. Raises
    // an Error when it is not complete or cannot be run.
    virtual void Install(const QString &examID) = 0;
    virtual bool IsInstalled(const QString &examID) = 0;
    // The conversation has ended by itself. It is not running any more.
    virtual void EndRun(bool success) = 0;
    // Lets the candidate correct the credentials and start again.
    virtual void OfferStart() = 0;
    virtual void CloseWindow() = 0;
};

// One run of the conversation with the download service: log on, ask for the
// bought exams, fetch and install each, report. It is driven by replies, has no
// timer, thread or network of its own, and reports errors of the port to the
// candidate by Ask. An exam whose installation fails is left out of the report;
// the run goes on with the next one.
class Conversation {
public:
    // Neither is owned; both must outlive the conversation. The clock gives the
    // time of the report, which is sent as local time.
    Conversation(ConversationPort &port, const Clock &clock);

    // Logs on, with both texts as they are. What is left of an earlier run is
    // forgotten. When the request cannot be started the run has ended by the time
    // this returns.
    void Start(const QString &userID, const QString &password);
    // The run is over; what arrives from now on is ignored. Calls nothing of the
    // port.
    void Stop() { m_isRunning = false; }
    bool IsRunning() const { return m_isRunning; }

    // The body of a reply; an empty one is not dispatched. Commands that are not
    // known, and a LIST whose status is not OK, are ignored; a parameter that is
    // not there reads as empty. Raises what MESSAGE::UnPack raises; the caller
    // then calls HandlingFailed.
    void Receive(const QString &body);
    // A request failed: the transfer object's code, shown in hexadecimal, and
    // text. Ends the run.
    void TransportFailed(qint32 code, const QString &text);
    // An error was raised while a reply was handled. Ends the run.
    void HandlingFailed();
    // The exam at the front of the queue: asks about overwriting, fetches. Exams
    // that are not to be overwritten leave the queue; if none is left then, the
    // run ends as a success and nothing is reported to the service.
    void DownloadNext();
    // The pack at the front of the queue has arrived, or ended early: installs it
    // and goes on with the next one or with the report. Ignored without a run or a
    // queue.
    void DownloadComplete();

private:
    void Send(const QString &command, const QList<std::pair<QString, QString>> &parameters);
    void Dispatch(const MESSAGE &reply);
    void HandleLogin(const MESSAGE &reply);
    void HandleList(const MESSAGE &reply);
    void FatalError(const QString &text, const QVariantList &values = {});
    void InstallFront();
    void Report();

    ConversationPort &m_port;
    const Clock &m_clock;
    bool m_isRunning = false;
    QStringList m_queue;
    QString m_sessionID;
    QStringList m_installed; // exam IDs
};
