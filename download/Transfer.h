#pragma once

#include <QByteArray>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <memory>

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

    enum State : int {
        Requesting = 5,
        Failed = 11,    // ResponseCode and ResponseInfo say why
        Completed = 12, // the header is here and the body can be read
    };

    explicit Transfer(QObject *parent = nullptr);
    ~Transfer() override;

    // How long the server may take until the request has been sent, and then
    // for each next part of its answer, in milliseconds.
    void SetTimeouts(int connectTime, int silenceTime);
    // Starts a request. What stands behind the address's first "?" is sent as
    // it is, in ANSI bytes; only what has no place in an address is written as
    // its percent code. A request whose connection ends before any answer is
    // sent again: a server may close one that lay idle while a
    // pack was being installed. Raises InvalidCall for an address that is neither http
    // nor https, and while another request is executing. A header is a name, a
    // colon and a value.
    void Execute(const QString &url, const QByteArray &operation, const QByteArray &body = {}, const QByteArray &header = {});
    // From Execute until GetChunk has told the body's end, the request has
    // failed or has been cancelled.
    bool StillExecuting() const { return m_isExecuting; }
    // Ends the request; no state is raised any more, and a waiting GetChunk
    // returns empty.
    void Cancel();
    // Cancelled or failed: what has been fetched is not the whole body.
    bool IsBrokenOff() const { return m_isBrokenOff; }

    // A response header by its name, in any letter case; empty without one.
    QByteArray GetHeader(const QByteArray &name) const;
    // Up to size bytes of the body: what has arrived, or else what arrives next,
    // with events running meanwhile. Empty at the end of the body, after Cancel,
    // and when the server fell silent, which is state 11 as well. Raises an Error when the connection breaks before the end.
    QByteArray GetChunk(qsizetype size);
    // The HTTP status, or the number of the network's error when there is none.
    qint32 ResponseCode() const { return m_responseCode; }
    QString ResponseInfo() const { return m_responseInfo; }

Q_SIGNALS:
    void StateChanged(int state);

private:
    QNetworkRequest Request(const QString &url) const;
    void Raise(State state);
    void HeaderArrived();
    void Ended();
    void Silent();
    void Fail(qint32 code, const QString &text);
    void Release();

    QNetworkAccessManager m_manager;
    QPointer<QNetworkReply> m_reply;
    QTimer m_silence;
    int m_connectTime = ConnectTime;
    int m_silenceTime = SilenceTime;
    quint32 m_round = 0; // another one with each Execute and Cancel
    bool m_isExecuting = false;
    bool m_isBrokenOff = false;
    bool m_hasHeader = false;
    bool m_hasEnded = false;
    qint64 m_announced = -1;
    qint64 m_received = 0;
    qint32 m_responseCode = 0;
    QString m_responseInfo;
};
