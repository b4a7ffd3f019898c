// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QSslSocket>
#include <QUrl>

// Requests of the service's path.
inline QByteArray OpenPost(const QByteArray &lines) // the connection stays open
{
    return "POST /PackCourier.asp HTTP/1.1\r\nHost: here\r\n" + lines + "\r\n";
}
inline QByteArray PostOf(const QByteArray &body, const QByteArray &lines = "Connection: close\r\n")
{
    return OpenPost(lines + "Content-Length: " + QByteArray::number(body.size()) + "\r\n") + body;
}
inline QByteArray GetOf(const QByteArray &sid, const QByteArray &exam, const QByteArray &lines = {})
{
    return "GET /PackCourier.asp?sid=" + sid + "&eid=" + exam + " HTTP/1.1\r\nHost: here\r\nConnection: close\r\n" + lines
        + "\r\n";
}

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
        m_socket.connectToHost(url.host(), static_cast<quint16>(url.port()));
        m_socket.waitForConnected(Patience);
        m_socket.setPeerVerifyMode(QSslSocket::VerifyNone);
        if (url.scheme() == QLatin1String("https"))
            m_socket.startClientEncryption();
        Send(bytes);
    }
    ~HttpClient() { m_socket.abort(); }

    void Send(const QByteArray &bytes)
    {
        m_socket.write(bytes);
        while (m_socket.bytesToWrite() > 0 && m_socket.waitForBytesWritten(Patience)) { }
    }
    // The status of an answer and its head; what follows stays to be received.
    Reply ReceiveHead()
    {
        while (!m_received.contains("\r\n\r\n") && HasMore())
            m_received += m_socket.readAll();
        const qsizetype end = m_received.indexOf("\r\n\r\n");
        if (end < 0)
            return {};
        const Reply reply{ m_received.mid(m_received.indexOf("HTTP/1.1 ") + 9, 3).toInt(), m_received.left(end + 2), {} };
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
    // Whether some of an answer is there, or comes in so many milliseconds.
    bool HasMore(int patience = Patience)
    {
        // The end of the connection is no failure where the last bytes came with it.
        return m_socket.bytesAvailable() > 0 || m_socket.waitForReadyRead(patience) || m_socket.bytesAvailable() > 0;
    }
    bool HasEnded(int patience = Patience)
    {
        while (HasMore(patience))
            m_socket.readAll();
        return !IsOpen();
    }
    bool IsOpen() const { return m_socket.state() == QAbstractSocket::ConnectedState; }

private:
    static constexpr int Patience = 60'000;
    QSslSocket m_socket;
    QByteArray m_received;
};
