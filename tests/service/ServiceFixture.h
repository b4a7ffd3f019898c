// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "service/HttpServer.h"
#include "service/Password.h"
#include "tests/service/HttpClient.h"
#include "tests/support/Test.h"

#include <atomic>

// A clock that a test moves.
class ManualClock : public Clock {
public:
    void Advance(std::chrono::milliseconds time) { m_elapsed += time.count(); }
    std::chrono::milliseconds Elapsed() const override { return std::chrono::milliseconds(m_elapsed); }
    QDateTime Now() const override { return QDateTime::fromMSecsSinceEpoch(1'800'000'000'000 + m_elapsed, Qt::UTC); }

private:
    std::atomic<qint64> m_elapsed = 5'000;
};

const QByteArray OddAccount = "email=NEW&pwd=a%26b%3Dc%3B 100%253B\xE9;";

// A service with two users, on a store of its own and the loopback interface.
class ServiceFixture : public testing::Test {
protected:
    ServiceFixture()
    {
        m_options.Packs = Sandbox::Path(u"packs"_s);
        m_store.AddUser(u"ann"_s, Password::Hash(u"pass"_s, Password::LeastCost));
        m_store.AddUser(u"new"_s, Password::Hash(u"a&b=c; 100%3B\u00E9"_s, Password::LeastCost));
        m_store.Grant(u"ann"_s, { u"BIG"_s, u"EMPTY"_s });
    }
    // Starts and logs on.
    QByteArray StartedSession()
    {
        m_server.emplace(m_responder, m_options, m_clock);
        return SessionAt(m_server->Endpoint());
    }
    QByteArray Exchange(const QByteArray &request) const { return Receive(*Connect(m_server->Endpoint(), request)); }
    QByteArray Post(const QByteArray &message) const { return BodyOf(Exchange(PostOf(message))); }

    static inline int s_count = 0;
    ManualClock m_clock;
    Store m_store{ Sandbox::Path(u"service-%1.db"_s.arg(++s_count)), Store::IfMissing::Make, m_clock };
    Sessions m_sessions{ m_clock };
    LoginThrottle m_throttle{ m_clock };
    QStringList m_log;
    Responder m_responder{ m_store, m_sessions, m_throttle, [this](const QString &line) { m_log.append(line); } };
    HttpServer::Options m_options;
    std::optional<HttpServer> m_server;
};
