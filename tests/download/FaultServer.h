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
    explicit FaultServer(QTcpServer *server = new QTcpServer)
        : m_server(server)
    {
        m_server->setParent(this);
        if (!m_server->listen(QHostAddress::LocalHost))
            qFatal("no port to listen on");
        connect(m_server, &QTcpServer::pendingConnectionAvailable, this, [this] { Serve(m_server->nextPendingConnection()); });
    }
    QString Url(const QString &scheme = QStringLiteral("http")) const
    {
        return QStringLiteral("%1://127.0.0.1:%2/PackCourier.asp").arg(scheme).arg(m_server->serverPort());
    }
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
            const auto answer = std::find_if(m_answers.begin(), m_answers.end(),
                                             [&](const auto &row) { return request.contains(row.first); });
            if (answer != m_answers.end())
                Send(socket, answer->second);
        });
    }
    void Send(QTcpSocket *socket, const Answer &answer)
    {
        connect(socket, &QTcpSocket::bytesWritten, this, [this](qint64 bytes) { Sent += bytes; });
        socket->write(answer.Bytes);
        if (!answer.Forever.isEmpty()) {
            const QByteArray much = answer.Forever.repeated(qsizetype(256 * 1024) / answer.Forever.size() + 1);
            connect(socket, &QTcpSocket::bytesWritten, socket, [socket, much] {
                if (socket->bytesToWrite() == 0)
                    socket->write(much);
            });
        } else if (!answer.KeepsOpen) {
            socket->disconnectFromHost();
        }
    }

    QTcpServer *m_server;
    QList<std::pair<QByteArray, Answer>> m_answers;
};
