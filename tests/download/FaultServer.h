// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QTcpServer>
#include <QTcpSocket>

#include <functional>

// What the server does with one request.
struct Answer {
    enum Ending { KeepsOpen, Closes, Resets };
    QByteArray Bytes;
    Ending End = Closes;
    int Pause = 0; // milliseconds before each byte; 0 sends all at once
    QByteArray Forever = {}; // sent behind the bytes again and again, as it is taken

    // A whole answer with that body.
    static Answer Whole(const QByteArray &body, const QByteArray &status = "200 OK", const QByteArray &headers = {});
    // The headers, written as they stand, and a body.
    static Answer Raw(const QByteArray &headers, const QByteArray &body = {}, Ending end = Closes);
};

// A service with the answers that a test gives it, wrong ones for the most part.
class FaultServer : public QTcpServer {
public:
    FaultServer();

    // From now on connections are encrypted with that key and certificate.
    void SetTls(const QByteArray &key, const QByteArray &certificate)
    {
        m_key = key;
        m_certificate = certificate;
    }

    QString Url(const QString &scheme = QStringLiteral("http")) const;
    // The answer to requests in which the key stands; the latest comes first. A request without a key is kept waiting.
    void On(const QByteArray &key, const Answer &answer) { m_answers.prepend({ key, answer }); }
    // Done as soon as such a request is here, before its answer.
    void Meanwhile(const QByteArray &key, const std::function<void()> &action) { m_actions.insert(key, action); }

    // First line and body of each request.
    QList<QByteArray> Requests;
    QByteArray LastHead; // in small letters
    int Count(const QByteArray &key) const;

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    void Serve(QTcpSocket *socket);
    void Send(QTcpSocket *socket, const Answer &answer);
    static void End(QTcpSocket *socket, Answer::Ending ending);

    QList<std::pair<QByteArray, Answer>> m_answers;
    QMap<QByteArray, std::function<void()>> m_actions;
    QByteArray m_key;
    QByteArray m_certificate;
};
