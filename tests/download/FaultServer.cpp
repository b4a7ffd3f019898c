// SPDX-License-Identifier: Apache-2.0
#include "tests/download/FaultServer.h"

#include "tests/download/TestSystem.h"

#include <QHostAddress>
#include <QSslCertificate>
#include <QSslKey>
#include <QSslSocket>
#include <QTimer>

#include <memory>

using namespace Qt::Literals::StringLiterals;

Answer Answer::Whole(const QByteArray &body, const QByteArray &status, const QByteArray &headers)
{
    return Raw("HTTP/1.1 " + status + "\r\n" + headers + "Content-Length: " + QByteArray::number(body.size()) + "\r\n", body,
               KeepsOpen);
}

Answer Answer::Raw(const QByteArray &headers, const QByteArray &body, Ending end)
{
    return { headers + "\r\n" + body, end };
}

FaultServer::FaultServer()
{
    if (!listen(QHostAddress::LocalHost))
        qFatal("no port to listen on");
}

void FaultServer::incomingConnection(qintptr descriptor)
{
    if (m_key.isEmpty()) {
        // An encrypted one loads a library, which takes Wine seconds in a thread.
        auto *socket = new QTcpSocket(this);
        socket->setSocketDescriptor(descriptor);
        return Serve(socket);
    }
    auto *socket = new QSslSocket(this);
    socket->setSocketDescriptor(descriptor);
    Serve(socket);
    socket->setPrivateKey(QSslKey(m_key, QSsl::Rsa));
    socket->setLocalCertificate(QSslCertificate(m_certificate));
    socket->startServerEncryption();
}

QString FaultServer::Url(const QString &scheme) const
{
    return scheme + u"://127.0.0.1:%1/PackCourier.asp"_s.arg(serverPort());
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
        const qsizetype body = pending->indexOf("\r\n\r\n") + 4;
        if (body < 4)
            return;
        LastHead = pending->left(body).toLower();
        const qsizetype length = LastHead.indexOf("content-length: ");
        const qsizetype size = length < 0 ? 0 : LastHead.mid(length + 16).split('\r').first().toLongLong();
        if (pending->size() < body + size)
            return;
        const QByteArray request = pending->left(pending->indexOf("\r\n")) + '\n' + pending->mid(body, size);
        *pending = pending->mid(body + size);
        Requests.append(request);
        for (auto action = m_actions.begin(); action != m_actions.end(); ++action) {
            if (request.contains(action.key()) && action.value())
                std::exchange(action.value(), {})();
        }
        for (const auto &[key, answer] : m_answers) {
            if (request.contains(key))
                return Send(socket, answer);
        }
    });
}

void FaultServer::Send(QTcpSocket *socket, const Answer &answer)
{
    if (answer.Pause > 0) {
        auto *timer = new QTimer(socket);
        connect(timer, &QTimer::timeout, socket, [socket, answer, timer, sent = qsizetype(0)]() mutable {
            if (sent == answer.Bytes.size()) {
                timer->stop();
                return End(socket, answer.End);
            }
            socket->write(answer.Bytes.mid(sent++, 1));
            socket->flush();
        });
        timer->start(answer.Pause);
        return;
    }
    socket->write(answer.Bytes);
    socket->flush();
    if (!answer.Forever.isEmpty()) {
        const QByteArray much = answer.Forever.repeated(qsizetype(256 * 1024) / answer.Forever.size() + 1);
        connect(socket, &QTcpSocket::bytesWritten, socket, [socket, much] {
            if (socket->bytesToWrite() == 0)
                socket->write(much);
        });
        socket->write(much);
        return;
    }
    End(socket, answer.End);
}

void FaultServer::End(QTcpSocket *socket, Answer::Ending ending)
{
    if (ending == Answer::KeepsOpen)
        return;
    if (ending == Answer::Resets) {
        ResetOnClose(socket->socketDescriptor());
        socket->abort();
        return;
    }
    socket->disconnectFromHost();
}
