// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>

#include <functional>
#include <memory>

// What the server does with one request.
struct Answer {
    QByteArray Bytes;
    bool KeepsOpen = false;
    QByteArray Forever = {}; // sent behind the bytes again and again, as it is taken

    // A whole answer with that body.
    static Answer Whole(const QByteArray &body, const QByteArray &status = "200 OK", const QByteArray &headers = {})
    {
        const QByteArray length = "Content-Length: " + QByteArray::number(body.size());
        return { "HTTP/1.1 " + status + "\r\n" + headers + length + "\r\n\r\n" + body, true };
    }
};

// A service with the answers that a test gives it, wrong ones for the most part.
class FaultServer : public QObject {
public:
    FaultServer()
    {
        if (!m_server.listen(QHostAddress::LocalHost))
            qFatal("no port to listen on");
        connect(&m_server, &QTcpServer::newConnection, this, [this] { Serve(m_server.nextPendingConnection()); });
    }
    QString Url() const { return QStringLiteral("http://127.0.0.1:%1/PackCourier.asp").arg(m_server.serverPort()); }
    // The answer to requests in which the key stands; the latest comes first. A request without a key is kept waiting.
    void On(const QByteArray &key, const Answer &answer) { m_answers.prepend({ key, answer }); }

    QByteArrayList Requests; // with headers and body
    std::function<void(const QByteArray &request)> Seen; // called before the answer
    qint64 Sent = 0; // bytes

private:
    void Serve(QTcpSocket *socket)
    {
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        auto pending = std::make_shared<QByteArray>();
        connect(socket, &QTcpSocket::readyRead, socket, [this, socket, pending] {
            *pending += socket->readAll();
            static const QRegularExpression length(QStringLiteral("\r\nContent-Length: (\\d+)"));
            const qsizetype body = pending->indexOf("\r\n\r\n") + 4;
            if (body < 4 || pending->size() < body + length.match(QString::fromLatin1(*pending)).captured(1).toInt())
                return;
            const QByteArray request = std::exchange(*pending, {});
            Requests.append(request);
            if (Seen)
                Seen(request);
            for (const auto &[key, answer] : m_answers) {
                if (request.contains(key))
                    return Send(socket, answer);
            }
        });
    }
    void Send(QTcpSocket *socket, const Answer &answer)
    {
        const QByteArray more = answer.Forever.repeated(answer.Forever.isEmpty() ? 0 : (256 << 10) / answer.Forever.size());
        connect(socket, &QTcpSocket::bytesWritten, this, [this, socket, more](qint64 bytes) {
            Sent += bytes;
            if (socket->bytesToWrite() == 0)
                socket->write(more);
        });
        socket->write(answer.Bytes + more);
        if (!answer.KeepsOpen)
            socket->disconnectFromHost();
    }

    QTcpServer m_server;
    QList<std::pair<QByteArray, Answer>> m_answers;
};
