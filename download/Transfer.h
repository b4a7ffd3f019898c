// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QObject>
#include <QTimer>
#include <QUrl>

#include <memory>
#include <optional>

class CurlLoop;
class HttpExchange;

// One HTTP request at a time: executed, watched by numbered states, its body
// fetched in chunks as it arrives and never more than a bounded part of it held
// in memory. Only http and https; redirections are followed, ten at most and
// never from https to http.
class Transfer : public QObject {
    Q_OBJECT
public:
    // In milliseconds.
    static constexpr int ConnectTime = 30'000;
    static constexpr int SilenceTime = 60'000;
    static constexpr int HeaderTime = 15'000;

    enum State : int {
        Requesting = 5,
        Failed = 11, // ResponseCode and ResponseInfo say why
        Completed = 12, // the header is here and the body can be read
    };

    explicit Transfer(QObject *parent = nullptr);
    ~Transfer() override;

    // In milliseconds: how long the server may take until the request has been
    // sent; then until its answer begins, and for each next part of the body; and
    // for all the headers of an answer that has begun.
    void SetTimeouts(int connectTime, int silenceTime, int headerTime);
    // Starts a request. What stands behind the address's first "?" is sent as
    // it is, in ANSI bytes; only what has no place in an address is written as
    // its percent code. A request that goes over a connection left open by the
    // one before is sent again when that ends before any answer: a server may
    // close one that lay idle while a pack was being installed. Raises InvalidCall
    // for an address that is neither http nor https, and while another request is
    // executing. A header is a name, a colon and a value.
    void Execute(const QString &url, const QByteArray &operation, const QByteArray &body = {}, const QByteArray &header = {});
    // From Execute until GetChunk has told the body's end, the request has
    // failed or has been cancelled.
    bool StillExecuting() const { return m_isExecuting; }
    // Ends the request at once; no state is raised any more, and a waiting
    // GetChunk returns empty.
    void Cancel();
    // Cancelled or failed: what has been fetched is not the whole body.
    bool IsBrokenOff() const { return m_isBrokenOff; }

    // A response header by its name, in any letter case; empty without one, all
    // of them joined by commas when there are several.
    QByteArray GetHeader(const QByteArray &name) const;
    // The body comes in a content encoding, which nothing here undoes.
    bool IsEncoded() const;
    // Up to size bytes of the body: what has arrived, or else what arrives next,
    // with events running meanwhile. Empty at the end of the body, after Cancel,
    // and, with state 11 as well, when the server fell silent or its answer cannot
    // be read any further. Raises an Error when the connection breaks before the end.
    QByteArray GetChunk(qsizetype size);
    // The HTTP status, or libcurl's number of the error when there is none.
    qint32 ResponseCode() const { return m_responseCode; }
    QString ResponseInfo() const { return m_responseInfo; }

Q_SIGNALS:
    void StateChanged(int state);
    // Something has arrived or ended; for whoever waits in GetChunk.
    void Advanced(QPrivateSignal);

private:
    enum class Phase { Connecting, Waiting, Heading, Receiving };

    void Request(const QUrl &address);
    void Enter(Phase phase);
    void Raise(State state);
    void LoopHasRun(std::optional<int> result);
    bool HeadersArrived();
    bool Redirect(const QByteArray &location);
    void Ended(int result);
    void TimeIsUp();
    void Fail(qint32 code, const QString &text);

    std::unique_ptr<CurlLoop> m_loop;
    std::unique_ptr<HttpExchange> m_exchange;
    QTimer m_timer;
    Phase m_phase = Phase::Connecting;
    int m_connectTime = ConnectTime;
    int m_silenceTime = SilenceTime;
    int m_headerTime = HeaderTime;
    QUrl m_address;
    QByteArray m_operation;
    QByteArray m_requestBody;
    QByteArray m_header;
    int m_redirections = 0;
    quint32 m_round = 0; // another one with each Execute and Cancel
    bool m_isExecuting = false;
    bool m_isBrokenOff = false;
    bool m_hasEnded = false;
    QString m_breakText; // why the body ended early
    qint64 m_received = 0;
    qint32 m_responseCode = 0;
    QString m_responseInfo;
};
