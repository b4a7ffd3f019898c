// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "service/Clock.h"

#include <QByteArray>
#include <QHash>
#include <QString>

#include <mutex>
#include <optional>

// Slows down whoever guesses passwords, by user and by address: after a number
// of failures in a row each further attempt has to wait, twice as long every
// time. An attempt that comes too early is refused at once, so nobody waits for
// somebody else. Unknown users count like known ones. May be used by several
// threads.
class GuessGuard {
public:
    struct Rule {
        int Free; // attempts without a wait
        std::chrono::milliseconds First;
        std::chrono::milliseconds Longest;
        std::chrono::milliseconds Forgotten; // without an attempt, after the wait
        std::chrono::milliseconds Fading{ 0 }; // one attempt is forgotten each time; 0: none is
    };
    struct Limits {
        // A user's own wait is short: a stranger can cause it.
        Rule User = { 5, std::chrono::seconds(2), std::chrono::minutes(2), std::chrono::hours(1) };
        // A school can stand behind one address, and its typing errors add up all day.
        Rule Address
            = { 60, std::chrono::seconds(2), std::chrono::minutes(15), std::chrono::hours(6), std::chrono::minutes(10) };
        qsizetype MostEntries = 10'000;
    };

    GuessGuard(MonotonicClock clock, Limits limits);
    explicit GuessGuard(MonotonicClock clock)
        : GuessGuard(std::move(clock), Limits())
    {
    }

    // How long an attempt would have to wait; nothing when it could be made now.
    std::optional<std::chrono::milliseconds> Wait(const QString &user, const QString &address) const;
    // How long an attempt has to wait; nothing when it may be made now. It then
    // counts as failed at once, so that attempts side by side are no way
    // around, until Succeeded takes that back.
    std::optional<std::chrono::milliseconds> Admit(const QString &user, const QString &address);
    void Succeeded(const QString &user, const QString &address);

private:
    struct Entry {
        int Attempts = 0;
        std::chrono::milliseconds Until{ 0 };
        std::chrono::milliseconds Faded{ 0 }; // up to when attempts have faded
    };
    using Table = QHash<QByteArray, Entry>;

    std::optional<std::chrono::milliseconds> WaitOf(const QByteArray &user, const QByteArray &address) const;
    void Count(Table &table, const QByteArray &name, const Rule &rule) const;

    MonotonicClock m_clock;
    Limits m_limits;
    mutable std::mutex m_mutex;
    Table m_users;
    Table m_addresses;
};
