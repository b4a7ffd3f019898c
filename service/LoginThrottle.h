// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "service/Clock.h"

#include <QByteArray>
#include <QHash>
#include <QString>

#include <mutex>
#include <optional>

// Limits how fast passwords can be guessed. Failed attempts are counted per user
// and per network (see IpAddress::Network). Beyond a number of free attempts, each
// failure doubles the delay before the next attempt is allowed. An attempt during
// a delay is refused immediately and does not count. Unknown users are counted
// like existing ones. All functions may be called from several threads at once.
class LoginThrottle {
public:
    // How failures are counted for one user or one network.
    struct Rule {
        int FreeAttempts; // before the first delay
        std::chrono::milliseconds FirstDelay; // doubled by each further failure ...
        std::chrono::milliseconds LongestDelay; // ... up to this
        std::chrono::milliseconds ResetAfter; // time since the last delay ended that clears the count
        std::chrono::milliseconds DecayInterval{ 0 }; // the count decreases by one per interval; 0: never
    };
    struct Limits {
        // The delay of a user is short, because strangers can cause it on purpose.
        Rule PerUser = { 5, std::chrono::seconds(2), std::chrono::minutes(2), std::chrono::hours(1) };
        // A whole school may share a network, and its typing errors add up over a
        // day; hence the large number and the decay.
        Rule PerNetwork
            = { 60, std::chrono::seconds(2), std::chrono::minutes(15), std::chrono::hours(6), std::chrono::minutes(10) };
        // Of users, and as many of networks. When a table is full, expired
        // entries are removed first, then arbitrary ones.
        qsizetype MaximumEntries = 10'000;
    };

    // The clock must outlive this object.
    explicit LoginThrottle(const Clock &clock)
        : LoginThrottle(clock, Limits())
    {
    }
    LoginThrottle(const Clock &clock, const Limits &limits);

    // The time until an attempt is allowed; empty if it is allowed now.
    std::optional<std::chrono::milliseconds> RemainingDelay(const QString &user, const QString &network) const;

    // Starts an attempt, or returns the time until one is allowed. A started
    // attempt counts as failed right away, so that parallel attempts cannot
    // avoid the delay; Succeeded reverses that.
    std::optional<std::chrono::milliseconds> BeginAttempt(const QString &user, const QString &network);

    // Reports that the attempt had the right password: clears the user's count
    // and takes this one attempt off the network's. The network's other failures
    // remain, because a guesser may have an account too.
    void Succeeded(const QString &user, const QString &network);

private:
    struct Entry {
        int Attempts = 0;
        std::chrono::milliseconds DelayedUntil{ 0 };
        std::chrono::milliseconds DecayedUntil{ 0 }; // the time up to which decay is included in Attempts
    };
    using Table = QHash<QByteArray, Entry>; // by hash of the name

    std::optional<std::chrono::milliseconds> DelayOf(const QByteArray &user, const QByteArray &network) const;
    void Count(Table &table, const QByteArray &name, const Rule &rule) const;

    const Clock &m_clock;
    const Limits m_limits;
    mutable std::mutex m_mutex;
    Table m_users;
    Table m_networks;
};
