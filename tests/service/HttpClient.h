#pragma once

#include <QByteArray>
#include <QString>

#include <memory>

class QTcpSocket;

// A client that sends what a test says, right or wrong. Every wait ends after a
// minute, as a failure.
class HttpClient {
public:
    struct Reply {
        int Status = 0; // 0 when the connection ended without an answer
        QByteArray Head;
        QByteArray Body;
    };

    // To the address that a service named as its own; with https, whatever the
    // certificate.
    explicit HttpClient(const QString &endpoint);
    ~HttpClient();

    void Send(const QByteArray &bytes);
    // The head of an answer alone, or the whole of it; both until the
    // connection ends.
    Reply ReceiveHead();
    Reply Receive();
    // Waits until the connection ends.
    bool HasEnded();
    bool IsOpen() const;

    // One request on a connection of its own.
    static Reply Exchange(const QString &endpoint, const QByteArray &bytes);
    static QByteArray Post(const QString &endpoint, const QByteArray &message);
    static QByteArray GetRequest(const QString &target, const QByteArray &more = {}, const QByteArray &method = "GET");
    static QByteArray PostRequest(const QByteArray &body, const QByteArray &more = {});

private:
    std::unique_ptr<QTcpSocket> m_socket;
    QByteArray m_received;
};
