#include "tests/service/HttpClient.h"

#include <QSslSocket>
#include <QUrl>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int Patience = 60'000;
constexpr QByteArrayView EndOfHead = "\r\n\r\n";

}

HttpClient::HttpClient(const QString &endpoint)
{
    const QUrl url(endpoint);
    if (url.scheme() == "https"_L1) {
        auto socket = std::make_unique<QSslSocket>();
        socket->setPeerVerifyMode(QSslSocket::VerifyNone);
        socket->connectToHostEncrypted(url.host(), static_cast<quint16>(url.port()));
        socket->waitForEncrypted(Patience);
        m_socket = std::move(socket);
    } else {
        m_socket = std::make_unique<QTcpSocket>();
        m_socket->connectToHost(url.host(), static_cast<quint16>(url.port()));
        m_socket->waitForConnected(Patience);
    }
    m_socket->setReadBufferSize(1024 * 1024);
}

HttpClient::~HttpClient()
{
    m_socket->abort();
}

void HttpClient::Send(const QByteArray &bytes)
{
    m_socket->write(bytes);
    while (m_socket->bytesToWrite() > 0 && m_socket->waitForBytesWritten(Patience)) { }
}

HttpClient::Reply HttpClient::ReceiveHead()
{
    while (!m_received.contains(EndOfHead) && (m_socket->bytesAvailable() > 0 || m_socket->waitForReadyRead(Patience)))
        m_received += m_socket->readAll();
    const qsizetype end = m_received.indexOf(EndOfHead);
    if (end < 0)
        return {};
    Reply reply;
    reply.Head = m_received.left(end);
    reply.Status = reply.Head.mid(reply.Head.indexOf(' ') + 1, 3).toInt();
    m_received.remove(0, end + EndOfHead.size());
    return reply;
}

HttpClient::Reply HttpClient::Receive()
{
    Reply reply = ReceiveHead();
    while (m_socket->bytesAvailable() > 0 || m_socket->waitForReadyRead(Patience))
        m_received += m_socket->readAll();
    reply.Body = std::exchange(m_received, {});
    return reply;
}

bool HttpClient::HasEnded()
{
    while (m_socket->waitForReadyRead(Patience))
        m_socket->readAll();
    return !IsOpen();
}

bool HttpClient::IsOpen() const
{
    return m_socket->state() == QAbstractSocket::ConnectedState;
}

HttpClient::Reply HttpClient::Exchange(const QString &endpoint, const QByteArray &bytes)
{
    HttpClient client(endpoint);
    client.Send(bytes);
    return client.Receive();
}

QByteArray HttpClient::Post(const QString &endpoint, const QByteArray &message)
{
    return Exchange(endpoint, PostRequest(message)).Body;
}

QByteArray HttpClient::GetRequest(const QString &target, const QByteArray &more, const QByteArray &method)
{
    return method + ' ' + target.toLatin1() + " HTTP/1.1\r\nHost: here\r\nConnection: close\r\n" + more + "\r\n";
}

QByteArray HttpClient::PostRequest(const QByteArray &body, const QByteArray &more)
{
    return "POST /PackCourier.asp HTTP/1.1\r\nHost: here\r\nConnection: close\r\n"
           "Content-Type: application/x-www-form-urlencoded\r\nContent-Length: "
        + QByteArray::number(body.size()) + "\r\n" + more + "\r\n" + body;
}
