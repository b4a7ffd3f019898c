// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "service/Clock.h"

#include <QByteArray>
#include <QHash>
#include <QString>

#include <memory>
#include <mutex>
#include <optional>

// The sessions of the users who are logged on. They are kept in memory only and
// identified by 256 random bits. A session ends after a time without use, and in
// any case at the end of its lifetime. All functions may be called from several
// threads at once.
class Sessions {
public:
    struct Limits {
        std::chrono::milliseconds IdleTimeout = std::chrono::minutes(30);
        std::chrono::milliseconds Lifetime = std::chrono::hours(12);
        int PerUser = 20; // one more ends the user's oldest session
    };

private:
    struct Session;

public:
    // Marks a session as in use: it does not become idle while the object
    // exists, and the idle time starts when the object is destroyed. The end of
    // the lifetime does not invalidate the object. Sessions must outlive it.
    class Use {
    public:
        Use(Sessions &sessions, std::shared_ptr<Session> session);
        Use(Use &&other) noexcept = default;
        ~Use();

        // As given to Open.
        qint64 User() const;
        const QByteArray &PasswordHash() const;

        // Identifies the session and cannot be used in place of its ID.
        const QByteArray &Fingerprint() const;

    private:
        Sessions *m_sessions;
        std::shared_ptr<Session> m_session;
    };

    // The clock must outlive this object. Raises an error if the cryptographic
    // library cannot be initialised.
    explicit Sessions(const Clock &clock)
        : Sessions(clock, Limits())
    {
    }
    Sessions(const Clock &clock, const Limits &limits);

    // Starts a session of a user and returns its ID, 64 lower-case hexadecimal
    // digits. The password hash is stored with the session, so that a later
    // change of the password can be detected.
    QString Open(qint64 user, const QByteArray &passwordHash);

    // The session with exactly this ID; empty if there is none or it has ended.
    std::optional<Use> Find(const QString &id);

private:
    struct Session {
        qint64 User;
        QByteArray PasswordHash;
        QByteArray Fingerprint;
        std::chrono::milliseconds Opened; // these two by Clock::Elapsed
        std::chrono::milliseconds LastUse;
        int Uses = 0; // objects of type Use
    };

    bool HasEnded(const Session &session) const;
    void MakeRoom(qint64 user);

    const Clock &m_clock;
    const Limits m_limits;
    std::mutex m_mutex;
    // By fingerprint, so that the duration of a look-up reveals nothing about IDs.
    QHash<QByteArray, std::shared_ptr<Session>> m_sessions;
};
