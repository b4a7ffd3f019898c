// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "download/Resumption.h"
#include "download/Transport.h"

#include <QByteArray>
#include <QObject>
#include <QTimer>
#include <QUrl>

#include <memory>
#include <optional>

// One HTTP request at a time: executed, watched by numbered states, its body
// fetched in chunks as it arrives and never more than a bounded part of it held
// in memory. Only http and https; redirections are followed, ten at most and
// never from https to http. A redirected request is repeated as it is, after a 303
// as a GET without body and header. A status of 400 or above is a failure, any
// other an answer. A file whose body breaks off is asked for once more from there
// on, if that is possible (see Resumption); whoever reads it sees no more than a
// pause. It belongs to the thread that created it.
class Transfer : public QObject {
    Q_OBJECT
public:
    // In milliseconds. The first three are limits that count from the next stage
    // on; one that is exceeded fails the request with CURLE_OPERATION_TIMEDOUT.
    struct Times {
        int Connect = 30'000; // until the request has been sent
        // Until its answer begins, and for each next part of the body. That the
        // body is not fetched in time does not count.
        int Idle = 60'000;
        int Headers = 15'000; // for all the headers of an answer that has begun
        // Before the rest of a file is asked for; see Resumption::NextPause.
        int Pause = 1'000;
    };

    enum State : int {
        Requesting = 5,
        Failed = 11, // ResponseCode and ResponseInfo say why
        Completed = 12, // the headers are here and the body can be read
    };

    explicit Transfer(std::unique_ptr<Transport> transport, QObject *parent = nullptr);
    ~Transfer() override;

    void SetTimes(const Times &times) { m_times = times; }
    // Starts a request and returns at once. What stands behind the address's first
    // "?" is sent as it is, in ANSI bytes; only what has no place in an address is
    // written as its percent code. A user name in the address is left out. The
    // operation is the method; with GET no body is sent. A header is a name, a
    // colon and a value. A request that goes over a connection left open by the one
    // before is sent again when that ends before any answer: a server may close one
    // that lay idle while a pack was being installed. Raises InvalidCall under
    // "Transfer::Execute()" for an address that is neither http nor https, and
    // while another request is executing, and what Transport::Start raises.
    void Execute(const QString &url, const QByteArray &operation, const QByteArray &body = {}, const QByteArray &header = {});
    // From Execute until GetChunk has reported the body's end, the request has
    // failed or has been cancelled.
    bool StillExecuting() const { return m_stage >= Stage::Pausing && m_stage <= Stage::Lost; }
    // Ends the request at once; no state is raised any more, and a waiting
    // GetChunk returns empty.
    void Cancel();
    // Cancelled or failed: what has been fetched is not the whole body. True after
    // any Cancel, even of nothing.
    bool IsBrokenOff() const { return m_stage == Stage::BrokenOff; }

    // A response header by its name, in any letter case; empty without one, all
    // of them joined by commas when there are several. Empty, too, once the request
    // has failed or has been cancelled. Behind a break, the header of the answer
    // that brings the rest.
    QByteArray GetHeader(const QByteArray &name) const;
    // The body comes in a content encoding other than "identity" (RFC 9110), which
    // nothing here undoes.
    bool IsEncoded() const;
    // Up to size bytes of the body, at least 1: what has arrived, or else what
    // arrives next, with events running meanwhile. Empty at the end of the body,
    // after Cancel, and, with state 11 as well, after the idle timeout and when the
    // answer cannot be read any further. Raises InvalidCall under
    // "Transfer::GetChunk()", once, when the connection broke before the end and
    // the rest could not be had. When the program's event loop ends meanwhile, the
    // request is cancelled.
    QByteArray GetChunk(qsizetype size);
    // How often the body has begun again with its first byte, because the server
    // does not send the rest, or has another version of the file by now. After a
    // GetChunk that raises it, all bytes before are to be thrown away, and the
    // headers are those of the new answer.
    int Restarts() const { return m_restarts; }
    // The HTTP status, or libcurl's number of the error when there is none; 0 from
    // Execute until either is known. Cancel leaves it as it is.
    qint32 ResponseCode() const { return m_responseCode; }
    // The words behind the status, which may be empty, or the reason of the error.
    QString ResponseInfo() const { return m_responseInfo; }

Q_SIGNALS:
    // A State, from the event loop, which GetChunk runs, too, and never from inside
    // Execute: Requesting once for each Execute, then Completed or Failed. Failed
    // can follow Completed while the body is being fetched. None comes after Cancel
    // until the next Execute.
    void StateChanged(int state);
    // Something has arrived or ended; for whoever waits in GetChunk.
    void Advanced(QPrivateSignal);

private:
    enum class Stage {
        Idle, // nothing has been executed
        Pausing, // before the rest is asked for
        Connecting, // until the request has been sent
        Waiting, // for the first byte of the answer
        InHeaders,
        Receiving, // the body
        Arrived, // the body is here to its end and not yet fetched
        CutShort, // the same, but its end is missing
        Lost, // and cannot be had, with everything fetched
        Fetched, // GetChunk has reported the body's end
        BrokenOff, // cancelled or failed
    };
    // Why the body was cut short, and whether that fails the request.
    struct Break {
        bool IsFailure;
        qint32 Code;
        QString Text;
    };

    bool IsUnderWay() const { return m_stage >= Stage::Pausing && m_stage <= Stage::Receiving; }
    bool HasMore() const { return m_exchange && m_exchange->Available() > 0; }
    void Request(const QUrl &address);
    void RequestAgain();
    void Start(const QUrl &address);
    void Enter(Stage stage);
    void BreakOff();
    void Raise(State state);
    void TransportHasRun(std::optional<int> result);
    bool HeadersArrived();
    bool Redirect(const QByteArray &location);
    bool RestArrived();
    void CutShort(const Break &reason);
    void Retry();
    void Ended(int result);
    void TimeIsUp();
    void Fail(qint32 code, const QString &text);

    std::unique_ptr<Transport> m_transport;
    std::unique_ptr<Exchange> m_exchange;
    QTimer m_timer;
    Stage m_stage = Stage::Idle;
    Times m_times;
    QUrl m_address;
    HttpRequest m_request;
    QUrl m_firstAddress; // these two as they were before any redirection
    HttpRequest m_firstRequest;
    int m_redirections = 0;
    quint32 m_serial = 0; // another one with each Execute and Cancel
    Resumption m_resumption;
    std::optional<Break> m_break; // from a break until the rest arrives
    QString m_lossText; // why the rest cannot be had
    int m_restarts = 0;
    qint64 m_received = 0;
    qint32 m_responseCode = 0;
    QString m_responseInfo;
};
