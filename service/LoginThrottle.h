// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Clock.h"
#include "service/Database.h"

#include <QByteArray>
#include <QString>

#include <optional>

// Limits how fast passwords can be guessed. Failed attempts are counted per user
// and per network (see IpAddress::Network). Beyond a number of free attempts, each
// failure doubles the delay before the next attempt is allowed. An attempt during
// a delay is refused immediately and does not count. Unknown users are counted
// like existing ones. The counts are stored, so programs that serve the same database
// share them. All functions may be called from several threads at once, and raise what
// Database raises.
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
        // Of users, and as many of networks. When there are so many, expired
        // entries are removed first, then arbitrary ones.
        qsizetype MaximumEntries = 10'000;
    };

    // Both must outlive this object.
    LoginThrottle(Database &database, const Clock &clock)
        : LoginThrottle(database, clock, Limits())
    {
    }
    LoginThrottle(Database &database, const Clock &clock, const Limits &limits);

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
    using Time = std::chrono::milliseconds; // since 1970, in UTC

    // A user or a network, as it is stored.
    struct Name {
        QByteArray Hash;
        bool IsNetwork;
    };
    struct Entry {
        int Attempts = 0;
        Time DelayedUntil{ 0 };
        Time DecayedUntil{ 0 }; // the time up to which decay is included in Attempts
    };

    static Name UserName(const QString &user);
    static Name NetworkName(const QString &network);

    Time Now() const;
    const Rule &RuleOf(const Name &name) const;
    std::optional<Entry> Read(const Name &name) const;
    void Write(const Name &name, const Entry &entry) const;
    void MakeRoom(const Name &name) const;
    Time DelayOf(const Name &name) const;
    void Count(const Name &name) const;

    Database &m_database;
    const Clock &m_clock;
    const Limits m_limits;
};
