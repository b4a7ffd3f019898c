// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "download/Transport.h"

#include <QMap>
#include <QStringList>

#include <functional>

// An answer as it arrives, event by event: the request is sent, the first byte
// and all headers are there, and one part of the body after the other.
struct Reply {
    QByteArray Body = {};
    int Status = 200;
    QMap<QByteArray, QByteArray> Headers = {}; // names in small letters
    // Where it stops: after so many of the three events before the body, or so
    // many bytes of that.
    int LastEvent = 3;
    qsizetype LastByte = -1; // all
    // A CURLcode, or nothing more is heard from the server.
    int Result = 0;
    bool IsSilent = false;
    bool IsRefused = false;
    bool IsInChunks = false;
    qsizetype PartBytes = 100'000;

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
    // It stops, before the body and within it.
    Reply BrokenAt(int event, int result) const
    {
        Reply reply = *this;
        reply.LastEvent = event;
        reply.Result = result;
        return reply;
    }
    Reply CutAt(qsizetype byte, int result) const
    {
        Reply reply = *this;
        reply.LastByte = byte;
        reply.Result = result;
        return reply;
    }
    Reply Silent() const
    {
        Reply reply = *this;
        reply.IsSilent = true;
        return reply;
    }
};

class ScriptedTransport : public Transport {
public:
    // The request as "POST body" or "GET address".
    using Server = std::function<Reply(const QString &request)>;
    explicit ScriptedTransport(Server server)
        : m_server(std::move(server))
    {
    }

    std::unique_ptr<Exchange> Start(const HttpRequest &request) override
    {
        const QByteArray rest = request.Operation == "GET" ? request.Url : request.Body;
        m_current = new Scripted(*this, m_server(QString::fromLatin1(request.Operation + ' ' + rest)));
        GoOn(++m_serial);
        return std::unique_ptr<Exchange>(m_current);
    }

private:
    class Scripted : public Exchange {
    public:
        Scripted(ScriptedTransport &transport, Reply reply)
            : m_transport(transport)
            , m_reply(std::move(reply))
            , m_end(m_reply.LastByte < 0 ? m_reply.Body.size() : m_reply.LastByte)
        {
        }
        ~Scripted() override { m_transport.m_current = nullptr; }

        bool IsSent() const override { return m_events > 0; }
        bool HasBegun() const override { return m_events > 1; }
        bool HasHeaders() const override { return m_events > 2; }
        int Status() const override { return m_reply.Status; }
        QString Reason() const override { return QStringLiteral("reason"); }
        QByteArray Header(const QByteArray &name) const override { return m_reply.Headers.value(name.toLower()); }
        bool IsInChunks() const override { return m_reply.IsInChunks; }
        qint64 Received() const override { return m_received; }
        qsizetype Available() const override { return m_received - m_taken; }
        QByteArray Take(qsizetype size) override
        {
            const QByteArray part = m_reply.Body.mid(m_taken, std::min(size, Available()));
            m_taken += part.size();
            return part;
        }
        bool IsPaused() const override { return false; }
        bool IsRefused() const override { return m_hasEnded && m_reply.IsRefused; }
        QString TextOf(int result) const override { return QStringLiteral("result %1").arg(result); }

        // True while there is more to come.
        bool GoOn()
        {
            if (m_events < m_reply.LastEvent) {
                ++m_events;
            } else if (m_events == 3 && m_received < m_end) {
                m_received = std::min(m_received + m_reply.PartBytes, m_end);
            } else {
                m_hasEnded = true;
                if (!m_reply.IsSilent)
                    Q_EMIT m_transport.HasRun(m_reply.Result);
                return false;
            }
            Q_EMIT m_transport.HasRun({});
            return true;
        }

    private:
        ScriptedTransport &m_transport;
        const Reply m_reply;
        const qsizetype m_end;
        int m_events = 0;
        qsizetype m_received = 0;
        qsizetype m_taken = 0;
        bool m_hasEnded = false;
    };

    void GoOn(int serial)
    {
        QMetaObject::invokeMethod(
            this,
            [this, serial] {
                if (m_current && serial == m_serial && m_current->GoOn() && m_current && serial == m_serial)
                    GoOn(serial);
            },
            Qt::QueuedConnection);
    }

    Server m_server;
    Scripted *m_current = nullptr;
    int m_serial = 0;
};
