// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QSslSocket>
#include <QUrl>

// A client that sends what a test says, right or wrong. Every wait ends after a
// minute, as a failure.
class HttpClient {
public:
    struct Reply {
        int Status = 0; // 0 when the connection ended without an answer
        QByteArray Head;
        QByteArray Body;
    };

    // Connects to a service's address; with https, whatever the certificate.
    explicit HttpClient(const QString &endpoint, const QByteArray &bytes = {})
    {
        const QUrl url(endpoint);
        const auto port = static_cast<quint16>(url.port());
        m_socket.setPeerVerifyMode(QSslSocket::VerifyNone);
        m_socket.setReadBufferSize(1024 * 1024);
        if (url.scheme() == QLatin1String("https")) {
            m_socket.connectToHostEncrypted(url.host(), port);
            m_socket.waitForEncrypted(Patience);
        } else {
            m_socket.connectToHost(url.host(), port);
            m_socket.waitForConnected(Patience);
        }
        Send(bytes);
    }
    ~HttpClient() { m_socket.abort(); }

    void Send(const QByteArray &bytes)
    {
        m_socket.write(bytes);
        while (m_socket.bytesToWrite() > 0 && m_socket.waitForBytesWritten(Patience)) { }
    }
    // The head of an answer alone.
    Reply ReceiveHead()
    {
        while (!m_received.contains("\r\n\r\n") && HasMore())
            m_received += m_socket.readAll();
        const qsizetype end = m_received.indexOf("\r\n\r\n");
        if (end < 0)
            return {};
        Reply reply{ m_received.mid(m_received.indexOf("HTTP/1.1 ") + 9, 3).toInt(), m_received.left(end + 2), {} };
        m_received.remove(0, end + 4);
        return reply;
    }
    // The whole of it, until the connection ends.
    Reply Receive()
    {
        Reply reply = ReceiveHead();
        while (HasMore())
            m_received += m_socket.readAll();
        reply.Body = std::exchange(m_received, {});
        return reply;
    }
    // Whether some of an answer, or its end, is there already.
    bool HasAnswer() { return HasMore(0) || !IsOpen(); }
    bool IsOpen() const { return m_socket.state() == QAbstractSocket::ConnectedState; }
    bool HasEnded()
    {
        Receive();
        return !IsOpen();
    }

    static QByteArray GetRequest(const QString &target, const QByteArray &more = {})
    {
        return "GET " + target.toLatin1() + " HTTP/1.1\r\nHost: here\r\nConnection: close\r\n" + more + "\r\n";
    }
    static QByteArray PostRequest(const QByteArray &body, const QByteArray &more = "Connection: close\r\n")
    {
        return "POST /PackCourier.asp HTTP/1.1\r\nHost: here\r\n" + more + "Content-Length: " + QByteArray::number(body.size())
            + "\r\n\r\n" + body;
    }

private:
    static constexpr int Patience = 60'000;
    bool HasMore(int patience = Patience) { return m_socket.bytesAvailable() > 0 || m_socket.waitForReadyRead(patience); }

    QSslSocket m_socket;
    QByteArray m_received;
};
