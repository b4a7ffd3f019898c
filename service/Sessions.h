// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "service/Clock.h"

#include <QByteArray>
#include <QHash>
#include <QString>

#include <memory>
#include <mutex>
#include <optional>

// Who is logged on. A session lives in memory alone, under an ID of 256 random
// bits; it ends when it was not used for a while, and in any case after a
// longer time. May be used by several threads.
class Sessions {
public:
    struct Limits {
        std::chrono::milliseconds Idle = std::chrono::minutes(30);
        std::chrono::milliseconds Whole = std::chrono::hours(12);
        int OfOneUser = 20; // beyond that the user's oldest session ends
    };

private:
    struct Session;

public:
    // A session in use, which is not idle as long as the object lives.
    class Use {
    public:
        Use(Sessions &sessions, std::shared_ptr<Session> session);
        Use(Use &&other) noexcept = default;
        ~Use();
        qint64 User() const;
        const QByteArray &Stamp() const;
        // Tells the session from every other one without being its ID.
        QByteArray Fingerprint() const;

    private:
        Sessions *m_sessions;
        std::shared_ptr<Session> m_session;
    };

    explicit Sessions(MonotonicClock clock, Limits limits);
    explicit Sessions(MonotonicClock clock)
        : Sessions(std::move(clock), Limits())
    {
    }

    // A new session of a user; its ID, 64 lower-case hexadecimal digits. The
    // stamp is kept for whoever finds the session.
    QString Open(qint64 user, const QByteArray &stamp);
    // Nothing when there is no such session, or none any more.
    std::optional<Use> Find(const QString &id);

private:
    struct Session {
        qint64 User;
        QByteArray Stamp;
        QByteArray Fingerprint;
        std::chrono::milliseconds Opened;
        std::chrono::milliseconds LastUse;
        int Uses = 0;
    };

    bool IsOver(const Session &session) const;
    void MakeRoom(qint64 user);

    MonotonicClock m_clock;
    Limits m_limits;
    std::mutex m_mutex;
    // By fingerprint, so that the time of a look-up tells nothing of the IDs.
    QHash<QByteArray, std::shared_ptr<Session>> m_sessions;
};
