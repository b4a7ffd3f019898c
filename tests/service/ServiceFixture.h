// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "service/Password.h"
#include "service/Responder.h"
#include "tests/support/Test.h"

#include <atomic>

// A clock that moves when a test says so.
class ManualClock : public Clock {
public:
    void Advance(std::chrono::milliseconds time) { m_elapsed += time.count(); }
    std::chrono::milliseconds Elapsed() const override { return std::chrono::milliseconds(m_elapsed); }
    QDateTime Now() const override { return QDateTime::fromMSecsSinceEpoch(1'800'000'000'000 + m_elapsed, Qt::UTC); }

private:
    std::atomic<qint64> m_elapsed = 5'000;
};

// The service without the network, each on a store of its own.
class ServiceFixture : public testing::Test {
protected:
    // The session in the answer to a LOGIN.
    static QByteArray SessionIn(const QByteArray &reply)
    {
        EXPECT_TRUE(reply.startsWith("LOGIN?status=OK&sid=")) << reply.toStdString();
        return reply.mid(20).chopped(1);
    }

    ManualClock m_clock;
    static inline int s_count = 0;
    Store m_store{ Sandbox::Path(QStringLiteral("service-%1.db").arg(++s_count)), Store::IfMissing::Make, m_clock };
    Sessions m_sessions{ m_clock };
    LoginThrottle m_throttle{ m_clock };
    QStringList m_log;
    Responder m_responder{ m_store, m_sessions, m_throttle, [this](const QString &line) { m_log.append(line); } };
};
