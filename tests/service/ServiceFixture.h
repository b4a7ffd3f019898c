// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "service/HttpServer.h"
#include "service/Password.h"
#include "tests/service/Databases.h"
#include "tests/service/HttpClient.h"
#include "tests/support/ManualClock.h"
#include "tests/support/Test.h"

const QByteArray OddAccount = "email=NEW&pwd=a%26b%3Dc%3B 100%253B\xE9;";

// An instance of the service. There can be several on one database.
struct Instance {
    Instance(const QString &location, const Clock &clock, Database::IfMissing ifMissing)
        : Tables(location, ifMissing)
        , Accounts(Tables, clock)
        , LoggedOn(Tables, clock)
        , Throttle(Tables, clock)
    {
    }
    Database Tables;
    Store Accounts;
    Sessions LoggedOn;
    LoginThrottle Throttle;
    Metrics Numbers;
    QStringList Lines;
    Responder Replies{ Accounts, LoggedOn, Throttle, Numbers, [this](const QString &line) { Lines.append(line); } };
};

// A service with two users, on a database of its own and the loopback interface.
class ServiceFixture : public testing::Test {
protected:
    explicit ServiceFixture(DatabaseKind kind = DatabaseKind::Sqlite)
        : m_location(NewDatabase(kind))
    {
        m_options.Packs = Sandbox::Path(u"packs"_s);
        m_store.AddUser(u"ann"_s, Password::Hash(u"pass"_s, Password::LeastCost));
        m_store.AddUser(u"new"_s, Password::Hash(u"a&b=c; 100%3B\u00E9"_s, Password::LeastCost));
        m_store.Grant(u"ann"_s, { u"BIG"_s, u"EMPTY"_s });
    }
    // Starts the server, or starts it again.
    void Start()
    {
        m_server.reset();
        m_server.emplace(m_instance.Replies, m_instance.Numbers, m_options, m_clock);
    }
    QByteArray StartedSession()
    {
        Start();
        return SessionAt(m_server->Endpoint());
    }
    QByteArray Exchange(const QByteArray &request) const { return Receive(*Connect(m_server->Endpoint(), request)); }
    QByteArray Post(const QByteArray &message) const { return BodyOf(Exchange(PostOf(message))); }

    ManualClock m_clock;
    const QString m_location;
    Instance m_instance{ m_location, m_clock, Database::IfMissing::Make };
    Store &m_store = m_instance.Accounts;
    HttpServer::Options m_options;
    std::optional<HttpServer> m_server;
};

// The same on each kind of database.
class DatabaseFixture : public ServiceFixture, public testing::WithParamInterface<DatabaseKind> {
protected:
    DatabaseFixture()
        : ServiceFixture(GetParam())
    {
    }
};
