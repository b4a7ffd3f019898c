// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Clock.h"
#include "service/Database.h"

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QStringList>

#include <mutex>
#include <optional>

// The sessions of the users who are logged on, identified by 256 random bits, of
// which only a hash is stored. A session ends after a time without use, at the end
// of its lifetime in any case, and when the user's password changes or the user is
// removed. Several programs may serve the same sessions, if their computers' dates
// agree. All functions may be called from several threads at once, and raise what
// Database raises.
class Sessions {
public:
    struct Limits {
        std::chrono::milliseconds IdleTimeout = std::chrono::minutes(30);
        std::chrono::milliseconds Lifetime = std::chrono::hours(12);
        int PerUser = 20; // one more ends the user's oldest session
    };
    // The last use of a session is stored no more often than that. Another program may
    // therefore see an earlier one.
    static constexpr std::chrono::milliseconds StoreInterval = std::chrono::minutes(1);

    // Marks a session as in use: it does not become idle while the object
    // exists, and the idle time starts when the object is destroyed. The end of
    // the lifetime does not invalidate the object. Sessions must outlive it.
    class Use {
    public:
        Use(Use &&other) noexcept;
        Use &operator=(Use &&) = delete;
        ~Use();

        // As given to Open.
        qint64 User() const { return m_user; }
        // The exams that the user had when the session was found, in the order in which
        // they were granted.
        const QStringList &Exams() const { return m_exams; }

        // Identifies the session and cannot be used in place of its ID.
        const QByteArray &Fingerprint() const { return m_fingerprint; }

    private:
        friend class Sessions;
        Use(Sessions &sessions, qint64 user, const QByteArray &fingerprint, const QStringList &exams);

        Sessions *m_sessions; // null after the object was moved
        qint64 m_user;
        QByteArray m_fingerprint;
        QStringList m_exams;
    };

    // Both must outlive this object. Raises an error if the cryptographic library
    // cannot be initialised.
    Sessions(Database &database, const Clock &clock)
        : Sessions(database, clock, Limits())
    {
    }
    Sessions(Database &database, const Clock &clock, const Limits &limits);

    // Starts a session of a user and returns its ID, 64 lower-case hexadecimal digits.
    // The hash is that of the password that was checked: the session is over as soon
    // as it is not the user's any more.
    QString Open(qint64 user, const QByteArray &passwordHash);

    // The session with exactly this ID; empty if there is none or it has ended.
    std::optional<Use> Find(const QString &id);

    enum class Which { Due, All };
    // Stores the last use of sessions that are or were in use, of those due after
    // StoreInterval or of all, and removes ended sessions. To be called about once a
    // second, and with All before the program ends.
    void StoreUses(Which which);

private:
    using Time = std::chrono::milliseconds; // since 1970, in UTC

    // What this program knows about a session in addition to the database.
    struct Activity {
        int Uses = 0; // objects of type Use
        Time LastUse{ 0 };
        Time Stored{ 0 };
    };

    Time Now() const;
    // The last use as it is stored of a session that is idle for certain, also if
    // another program uses it.
    Time LatestIdle(Time now) const;

    Database &m_database;
    const Clock &m_clock;
    const Limits m_limits;
    std::mutex m_mutex;
    QHash<QByteArray, Activity> m_active; // by fingerprint
    Time m_cleaned{ 0 };
};
