// SPDX-License-Identifier: Apache-2.0
#pragma once

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
// never from https to http.
class Transfer : public QObject {
    Q_OBJECT
public:
    // In milliseconds.
    static constexpr int ConnectTimeout = 30'000;
    static constexpr int IdleTimeout = 60'000;
    static constexpr int HeaderTimeout = 15'000;

    enum State : int {
        Requesting = 5,
        Failed = 11, // ResponseCode and ResponseInfo say why
        Completed = 12, // the header is here and the body can be read
    };

    explicit Transfer(std::unique_ptr<Transport> transport, QObject *parent = nullptr);
    ~Transfer() override;

    // In milliseconds: how long it may take until the request has been sent; then
    // until its answer begins, and for each next part of the body; and for all the
    // headers of an answer that has begun.
    void SetTimeouts(int connectTimeout, int idleTimeout, int headerTimeout);
    // Starts a request. What stands behind the address's first "?" is sent as
    // it is, in ANSI bytes; only what has no place in an address is written as
    // its percent code. A request that goes over a connection left open by the
    // one before is sent again when that ends before any answer: a server may
    // close one that lay idle while a pack was being installed. Raises InvalidCall
    // for an address that is neither http nor https, and while another request is
    // executing. A header is a name, a colon and a value.
    void Execute(const QString &url, const QByteArray &operation, const QByteArray &body = {}, const QByteArray &header = {});
    // From Execute until GetChunk has reported the body's end, the request has
    // failed or has been cancelled.
    bool StillExecuting() const { return m_stage >= Stage::Connecting && m_stage <= Stage::CutShort; }
    // Ends the request at once; no state is raised any more, and a waiting
    // GetChunk returns empty.
    void Cancel();
    // Cancelled or failed: what has been fetched is not the whole body.
    bool IsBrokenOff() const { return m_stage == Stage::BrokenOff; }

    // A response header by its name, in any letter case; empty without one, all
    // of them joined by commas when there are several.
    QByteArray GetHeader(const QByteArray &name) const;
    // The body comes in a content encoding, which nothing here undoes.
    bool IsEncoded() const;
    // Up to size bytes of the body: what has arrived, or else what arrives next,
    // with events running meanwhile. Empty at the end of the body, after Cancel,
    // and, with state 11 as well, after the idle timeout and when the answer cannot
    // be read any further. Raises an Error, once, when the connection broke before
    // the end.
    QByteArray GetChunk(qsizetype size);
    // The HTTP status, or libcurl's number of the error when there is none.
    qint32 ResponseCode() const { return m_responseCode; }
    QString ResponseInfo() const { return m_responseInfo; }

Q_SIGNALS:
    void StateChanged(int state);
    // Something has arrived or ended; for whoever waits in GetChunk.
    void Advanced(QPrivateSignal);

private:
    enum class Stage {
        Idle, // nothing has been executed
        Connecting, // until the request has been sent
        Waiting, // for the first byte of the answer
        InHeaders,
        Receiving, // the body
        Arrived, // the body is here to its end and not yet fetched
        CutShort, // the same, but its end is missing
        Fetched, // GetChunk has reported the body's end
        BrokenOff, // cancelled or failed
    };

    bool IsUnderWay() const { return m_stage >= Stage::Connecting && m_stage <= Stage::Receiving; }
    void Request(const QUrl &address);
    void Enter(Stage stage);
    void BreakOff();
    void Raise(State state);
    void TransportHasRun(std::optional<int> result);
    bool HeadersArrived();
    bool Redirect(const QByteArray &location);
    void Ended(int result);
    void TimeIsUp();
    void Fail(qint32 code, const QString &text);

    std::unique_ptr<Transport> m_transport;
    std::unique_ptr<Exchange> m_exchange;
    QTimer m_timer;
    Stage m_stage = Stage::Idle;
    int m_connectTimeout = ConnectTimeout;
    int m_idleTimeout = IdleTimeout;
    int m_headerTimeout = HeaderTimeout;
    QUrl m_address;
    HttpRequest m_request;
    int m_redirections = 0;
    quint32 m_serial = 0; // another one with each Execute and Cancel
    QString m_breakText; // why the body was cut short
    qint64 m_received = 0;
    qint32 m_responseCode = 0;
    QString m_responseInfo;
};
