// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "download/Transport.h"

#include <QMap>
#include <QTimer>

#include <functional>

// Where an answer stops, of the events in which it arrives: the request is sent,
// the first byte and all headers are there, and one part of the body after the other.
struct Stop {
    int Event = 3; // of the three before the body
    qsizetype Byte = -1; // of the body; all of it
    int Result = 0; // a CURLcode
    bool IsSilent = false; // nothing more is heard, not even that
};

struct Reply {
    QByteArray Body = {};
    int Status = 200;
    QMap<QByteArray, QByteArray> Headers = {}; // names in small letters
    Stop At = {};
    qsizetype PartBytes = 100'000;
    int Pause = 0; // milliseconds before each event

    // A body of the length that the headers announce.
    static Reply Whole(const QByteArray &body, int status = 200)
    {
        return { body, status, { { "content-length", QByteArray::number(body.size()) } } };
    }
    Reply With(const QByteArray &name, const QByteArray &value) const
    {
        Reply reply = *this;
        reply.Headers[name] = value;
        return reply;
    }
    Reply Until(const Stop &stop) const { return { Body, Status, Headers, stop, PartBytes, Pause }; }
};

inline Reply To(const QByteArray &location, int status = 302)
{
    return Reply{ {}, status }.With("location", location);
}

class ScriptedTransport : public Transport {
public:
    // The answer to "POST body" or "GET address", with the headers that ask for a
    // part of a file behind it.
    using Server = std::function<Reply(const QString &request)>;
    explicit ScriptedTransport(Server server)
        : m_server(std::move(server))
    {
    }
    std::unique_ptr<Exchange> Start(const HttpRequest &request) override
    {
        QByteArray line = request.Operation + ' ' + (request.Operation == "GET" ? request.Url : request.Body);
        for (const QByteArray &header : request.Headers)
            line += header.contains("Range: ") ? ' ' + header : QByteArray();
        auto exchange = std::make_unique<Scripted>(m_server(QString::fromLatin1(line)));
        QObject::connect(&exchange->Next, &QTimer::timeout, this, [this, scripted = exchange.get()] { Step(*scripted); });
        return exchange;
    }

private:
    struct Scripted : Exchange {
        explicit Scripted(Reply reply)
            : Given(std::move(reply))
            , End(Given.At.Byte < 0 ? Given.Body.size() : Given.At.Byte)
        {
            Next.start(Given.Pause);
        }
        bool IsSent() const override { return Events > 0; }
        bool HasBegun() const override { return Events > 1; }
        bool HasHeaders() const override { return Events > 2; }
        int Status() const override { return Given.Status; }
        QString Reason() const override { return QStringLiteral("reason"); }
        QByteArray Header(const QByteArray &name) const override { return Given.Headers.value(name.toLower()); }
        bool IsInChunks() const override { return false; }
        qint64 Received() const override { return Arrived; }
        qsizetype Available() const override { return Arrived - Taken; }
        QByteArray Take(qsizetype size) override
        {
            const QByteArray part = Given.Body.mid(Taken, std::min(size, Available()));
            Taken += part.size();
            return part;
        }
        bool IsPaused() const override { return false; }
        bool IsRefused() const override { return false; }
        QString TextOf(int result) const override { return QStringLiteral("result %1").arg(result); }

        const Reply Given;
        const qsizetype End;
        int Events = 0;
        qsizetype Arrived = 0;
        qsizetype Taken = 0;
        bool HasEnded = false;
        QTimer Next;
    };

    void Step(Scripted &exchange)
    {
        const Stop &stop = exchange.Given.At;
        if (exchange.Events < stop.Event)
            ++exchange.Events;
        else if (exchange.Events == 3 && exchange.Arrived < exchange.End)
            exchange.Arrived = std::min(exchange.Arrived + exchange.Given.PartBytes, exchange.End);
        else
            exchange.HasEnded = true;
        if (exchange.HasEnded)
            exchange.Next.stop();
        if (!exchange.HasEnded || !stop.IsSilent)
            Q_EMIT HasRun(exchange.HasEnded ? std::optional(stop.Result) : std::nullopt);
    }

    Server m_server;
};
