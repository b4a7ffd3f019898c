// SPDX-License-Identifier: Apache-2.0
#include "service/LoginThrottle.h"

#include <QCryptographicHash>

#include <algorithm>

using std::chrono::milliseconds;

namespace {

milliseconds DelayAfter(int attempts, const LoginThrottle::Rule &rule)
{
    if (attempts < rule.FreeAttempts)
        return milliseconds(0);
    const int doublings = std::min(attempts - rule.FreeAttempts, 30);
    return std::min<milliseconds>(rule.FirstDelay * (1LL << doublings), rule.LongestDelay);
}

// Names come from strangers and can be long; a hash limits the memory for each.
QByteArray KeyOf(const QString &name)
{
    return QCryptographicHash::hash(name.toUtf8(), QCryptographicHash::Sha256);
}

}

LoginThrottle::LoginThrottle(const Clock &clock, const Limits &limits)
    : m_clock(clock)
    , m_limits(limits)
{
}

std::optional<milliseconds> LoginThrottle::DelayOf(const QByteArray &user, const QByteArray &network) const
{
    const auto delay = std::max(m_users.value(user).DelayedUntil, m_networks.value(network).DelayedUntil) - m_clock.Elapsed();
    return delay > milliseconds(0) ? std::optional(delay) : std::nullopt;
}

std::optional<milliseconds> LoginThrottle::RemainingDelay(const QString &user, const QString &network) const
{
    const std::lock_guard lock(m_mutex);
    return DelayOf(KeyOf(user), KeyOf(network));
}

void LoginThrottle::Count(Table &table, const QByteArray &name, const Rule &rule) const
{
    const auto now = m_clock.Elapsed();
    const auto hasExpired = [&](const Entry &entry) { return now - entry.DelayedUntil >= rule.ResetAfter; };
    if (!table.contains(name) && table.size() >= m_limits.MaximumEntries) {
        table.removeIf([&](const auto &entry) { return hasExpired(entry.value()); });
        // The order of a hash is random, so nobody can choose which entry is removed.
        while (table.size() >= m_limits.MaximumEntries)
            table.erase(table.cbegin());
    }
    Entry &entry = table[name];
    if (hasExpired(entry))
        entry.Attempts = 0;
    if (entry.Attempts == 0)
        entry.DecayedUntil = now;
    if (rule.DecayInterval > milliseconds(0)) {
        const auto steps = (now - entry.DecayedUntil) / rule.DecayInterval;
        entry.DecayedUntil += steps * rule.DecayInterval;
        entry.Attempts = static_cast<int>(std::max<qint64>(entry.Attempts - steps, 0));
    }
    ++entry.Attempts;
    entry.DelayedUntil = now + DelayAfter(entry.Attempts, rule);
}

std::optional<milliseconds> LoginThrottle::BeginAttempt(const QString &user, const QString &network)
{
    const QByteArray userKey = KeyOf(user);
    const QByteArray networkKey = KeyOf(network);
    const std::lock_guard lock(m_mutex);
    if (const auto delay = DelayOf(userKey, networkKey))
        return delay;
    Count(m_users, userKey, m_limits.PerUser);
    Count(m_networks, networkKey, m_limits.PerNetwork);
    return {};
}

void LoginThrottle::Succeeded(const QString &user, const QString &network)
{
    const std::lock_guard lock(m_mutex);
    m_users.remove(KeyOf(user));
    const auto entry = m_networks.find(KeyOf(network));
    if (entry == m_networks.end())
        return;
    // Attempts of others may have faded to less than this one meanwhile.
    entry->Attempts = std::max(entry->Attempts - 1, 0);
    entry->DelayedUntil = std::min(entry->DelayedUntil, m_clock.Elapsed() + DelayAfter(entry->Attempts, m_limits.PerNetwork));
}
