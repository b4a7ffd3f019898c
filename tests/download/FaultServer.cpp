// SPDX-License-Identifier: Apache-2.0
#include "tests/download/FaultServer.h"

#include <QRegularExpression>

using namespace Qt::Literals::StringLiterals;

Answer Answer::Whole(const QByteArray &body, const QByteArray &status, const QByteArray &headers)
{
    const QByteArray length = "Content-Length: " + QByteArray::number(body.size());
    return { "HTTP/1.1 " + status + "\r\n" + headers + length + "\r\n\r\n" + body, true };
}

FaultServer::FaultServer(std::unique_ptr<QTcpServer> server)
    : m_server(std::move(server))
{
    if (!m_server->listen(QHostAddress::LocalHost))
        qFatal("no port to listen on");
    connect(m_server.get(), &QTcpServer::pendingConnectionAvailable, this,
            [this] { Serve(m_server->nextPendingConnection()); });
}

QString FaultServer::Url(const QString &scheme) const
{
    return scheme + u"://127.0.0.1:%1/PackCourier.asp"_s.arg(m_server->serverPort());
}

int FaultServer::Count(const QByteArray &key) const
{
    const auto holdsKey = [&](const QByteArray &request) { return request.contains(key); };
    return static_cast<int>(std::count_if(Requests.begin(), Requests.end(), holdsKey));
}

void FaultServer::Serve(QTcpSocket *socket)
{
    connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    auto pending = std::make_shared<QByteArray>();
    connect(socket, &QTcpSocket::readyRead, socket, [this, socket, pending] {
        *pending += socket->readAll();
        static const QRegularExpression length(u"\r\nContent-Length: (\\d+)"_s);
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

void FaultServer::Send(QTcpSocket *socket, const Answer &answer)
{
    socket->write(answer.Bytes);
    if (!answer.Forever.isEmpty()) {
        const QByteArray much = answer.Forever.repeated(qsizetype(256 * 1024) / answer.Forever.size() + 1);
        connect(socket, &QTcpSocket::bytesWritten, socket, [socket, much] {
            if (socket->bytesToWrite() == 0)
                socket->write(much);
        });
        socket->write(much);
    }
    if (!answer.KeepsOpen && answer.Forever.isEmpty())
        socket->disconnectFromHost();
}
