// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QSslSocket>
#include <QUrl>

#include <memory>

// Clients that send what a test says, right or wrong. Every wait ends after a
// minute, as a failure.
constexpr int Patience = 60'000; // milliseconds

inline void Send(QSslSocket &client, const QByteArray &bytes)
{
    client.write(bytes);
    while (client.bytesToWrite() > 0 && client.waitForBytesWritten(Patience)) { }
}
// Connects to a service's address, with https whatever the certificate, and sends.
inline std::unique_ptr<QSslSocket> Connect(const QString &endpoint, const QByteArray &bytes = {})
{
    const QUrl url(endpoint);
    auto client = std::make_unique<QSslSocket>();
    client->connectToHost(url.host(), static_cast<quint16>(url.port()));
    client->waitForConnected(Patience);
    client->setPeerVerifyMode(QSslSocket::VerifyNone);
    if (url.scheme() == QLatin1String("https"))
        client->startClientEncryption();
    Send(*client, bytes);
    return client;
}
// What comes until the connection ends, or until there is that text in it.
inline QByteArray Receive(QSslSocket &client, const char *until = nullptr)
{
    QByteArray received = client.readAll();
    while (!(until && received.contains(until)) && client.waitForReadyRead(Patience))
        received += client.readAll();
    return received + client.readAll();
}
inline bool HasEnded(QSslSocket &client, int patience = Patience)
{
    while (client.waitForReadyRead(patience))
        client.readAll();
    return client.state() != QAbstractSocket::ConnectedState;
}

inline int StatusOf(const QByteArray &reply) // 0 when the connection ended without an answer
{
    return reply.mid(reply.indexOf("HTTP/1.1 ") + 9, 3).toInt();
}
inline QByteArray BodyOf(const QByteArray &reply)
{
    return reply.mid(reply.indexOf("\r\n\r\n") + 4);
}

// Requests of the service's path. Behind the first the connection stays open.
inline QByteArray OpenPost(const QByteArray &lines)
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
inline QByteArray SessionAt(const QString &endpoint, const QByteArray &account = "email=ann&pwd=pass;")
{
    return BodyOf(Receive(*Connect(endpoint, PostOf("LOGIN?" + account)))).mid(20).chopped(1);
}
