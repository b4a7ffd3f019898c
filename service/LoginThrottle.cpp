// SPDX-License-Identifier: Apache-2.0
#include "service/LoginThrottle.h"

#include <QCryptographicHash>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

using std::chrono::milliseconds;
using Transaction = Database::Transaction;

namespace {

milliseconds DelayAfter(int attempts, const LoginThrottle::Rule &rule)
{
    if (attempts < rule.FreeAttempts)
        return milliseconds(0);
    const int doublings = std::min(attempts - rule.FreeAttempts, 30);
    return std::min<milliseconds>(rule.FirstDelay * (1LL << doublings), rule.LongestDelay);
}

// Names come from strangers and can be long; a hash limits the space for each.
QByteArray HashOf(const QString &name)
{
    return QCryptographicHash::hash(name.toUtf8(), QCryptographicHash::Sha256);
}

}

LoginThrottle::Name LoginThrottle::UserName(const QString &user)
{
    return { HashOf(u"user "_s + user), false };
}

LoginThrottle::Name LoginThrottle::NetworkName(const QString &network)
{
    return { HashOf(u"network "_s + network), true };
}

LoginThrottle::LoginThrottle(Database &database, const Clock &clock, const Limits &limits)
    : m_database(database)
    , m_clock(clock)
    , m_limits(limits)
{
}

LoginThrottle::Time LoginThrottle::Now() const
{
    return Time(m_clock.Now().toMSecsSinceEpoch());
}

const LoginThrottle::Rule &LoginThrottle::RuleOf(const Name &name) const
{
    return name.IsNetwork ? m_limits.PerNetwork : m_limits.PerUser;
}

std::optional<LoginThrottle::Entry> LoginThrottle::Read(const Name &name) const
{
    auto rows = m_database.Run(u"SELECT failures, delayed_until, decayed_until FROM attempts WHERE name = ?"_s, { name.Hash });
    if (!rows.Next())
        return {};
    return Entry{ rows[0].toInt(), Time(rows[1].toLongLong()), Time(rows[2].toLongLong()) };
}

void LoginThrottle::Write(const Name &name, const Entry &entry) const
{
    m_database.Run(u"INSERT INTO attempts(name, is_network, failures, delayed_until, decayed_until) VALUES(?, ?, ?, ?, ?) "
                   "ON CONFLICT(name) DO UPDATE SET failures = excluded.failures, delayed_until = excluded.delayed_until, "
                   "decayed_until = excluded.decayed_until"_s,
                   { name.Hash, int(name.IsNetwork), entry.Attempts, qint64(entry.DelayedUntil.count()),
                     qint64(entry.DecayedUntil.count()) });
}

void LoginThrottle::MakeRoom(const Name &name) const
{
    const auto excess = [&] {
        auto rows = m_database.Run(u"SELECT COUNT(*) FROM attempts WHERE is_network = ?"_s, { int(name.IsNetwork) });
        return rows.Next() ? rows[0].toLongLong() - m_limits.MaximumEntries + 1 : 0;
    };
    if (excess() <= 0)
        return;
    const Time expired = Now() - RuleOf(name).ResetAfter;
    m_database.Run(u"DELETE FROM attempts WHERE is_network = ? AND delayed_until <= ?"_s,
                   { int(name.IsNetwork), qint64(expired.count()) });
    // By chance, so that nobody can choose which entry is removed.
    m_database.Run(u"DELETE FROM attempts WHERE name IN "
                   "(SELECT name FROM attempts WHERE is_network = ? ORDER BY RANDOM() LIMIT ?)"_s,
                   { int(name.IsNetwork), std::max<qint64>(excess(), 0) });
}

LoginThrottle::Time LoginThrottle::DelayOf(const Name &name) const
{
    const auto entry = Read(name);
    // A computer's date that was set back must not lengthen a delay.
    return entry ? std::min<Time>(entry->DelayedUntil - Now(), RuleOf(name).LongestDelay) : Time(0);
}

std::optional<milliseconds> LoginThrottle::RemainingDelay(const QString &user, const QString &network) const
{
    const Time delay = std::max(DelayOf(UserName(user)), DelayOf(NetworkName(network)));
    return delay > Time(0) ? std::optional(delay) : std::nullopt;
}

void LoginThrottle::Count(const Name &name) const
{
    const Rule &rule = RuleOf(name);
    const Time now = Now();
    const auto known = Read(name);
    if (!known)
        MakeRoom(name);
    Entry entry = known.value_or(Entry());
    if (now - entry.DelayedUntil >= rule.ResetAfter)
        entry.Attempts = 0;
    if (entry.Attempts == 0)
        entry.DecayedUntil = now;
    if (rule.DecayInterval > milliseconds(0)) {
        const auto steps = std::max<qint64>((now - entry.DecayedUntil) / rule.DecayInterval, 0);
        entry.DecayedUntil += steps * rule.DecayInterval;
        entry.Attempts = static_cast<int>(std::max<qint64>(entry.Attempts - steps, 0));
    }
    ++entry.Attempts;
    entry.DelayedUntil = now + DelayAfter(entry.Attempts, rule);
    Write(name, entry);
}

std::optional<milliseconds> LoginThrottle::BeginAttempt(const QString &user, const QString &network)
{
    Transaction transaction(m_database, Database::Subject::Attempts);
    if (const auto delay = RemainingDelay(user, network))
        return delay;
    Count(UserName(user));
    Count(NetworkName(network));
    transaction.Commit();
    return {};
}

void LoginThrottle::Succeeded(const QString &user, const QString &network)
{
    Transaction transaction(m_database, Database::Subject::Attempts);
    m_database.Run(u"DELETE FROM attempts WHERE name = ?"_s, { UserName(user).Hash });
    const Name name = NetworkName(network);
    if (auto entry = Read(name)) {
        // Attempts of others may have faded to less than this one meanwhile.
        entry->Attempts = std::max(entry->Attempts - 1, 0);
        entry->DelayedUntil = std::min(entry->DelayedUntil, Now() + DelayAfter(entry->Attempts, m_limits.PerNetwork));
        Write(name, *entry);
    }
    transaction.Commit();
}
