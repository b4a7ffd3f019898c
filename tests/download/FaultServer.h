// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArrayList>
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
    static Answer Whole(const QByteArray &body, const QByteArray &status = "200 OK", const QByteArray &headers = {});
};

// A service with the answers that a test gives it, wrong ones for the most part.
class FaultServer : public QObject {
public:
    explicit FaultServer(std::unique_ptr<QTcpServer> server = std::make_unique<QTcpServer>());

    QString Url(const QString &scheme = QStringLiteral("http")) const;
    // The answer to requests in which the key stands; the latest comes first. A request without a key is kept waiting.
    void On(const QByteArray &key, const Answer &answer) { m_answers.prepend({ key, answer }); }
    int Count(const QByteArray &key) const;

    QByteArrayList Requests; // with headers and body
    std::function<void(const QByteArray &request)> Seen; // called before the answer

private:
    void Serve(QTcpSocket *socket);
    static void Send(QTcpSocket *socket, const Answer &answer);

    std::unique_ptr<QTcpServer> m_server;
    QList<std::pair<QByteArray, Answer>> m_answers;
};
