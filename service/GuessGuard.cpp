// SPDX-License-Identifier: Apache-2.0
#include "service/GuessGuard.h"

#include <QCryptographicHash>

#include <algorithm>

using std::chrono::milliseconds;

namespace {

milliseconds WaitAfter(int attempts, const GuessGuard::Rule &rule)
{
    if (attempts < rule.Free)
        return milliseconds(0);
    const int doublings = std::min(attempts - rule.Free, 30);
    return std::min<milliseconds>(rule.First * (1LL << doublings), rule.Longest);
}

// A stranger chooses the name, and may choose a long one.
QByteArray KeyOf(const QString &name)
{
    return QCryptographicHash::hash(name.toUtf8(), QCryptographicHash::Sha256);
}

}

GuessGuard::GuessGuard(MonotonicClock clock, Limits limits)
    : m_clock(std::move(clock))
    , m_limits(limits)
{
}

std::optional<milliseconds> GuessGuard::WaitOf(const QByteArray &user, const QByteArray &address) const
{
    const auto wait = std::max(m_users.value(user).Until, m_addresses.value(address).Until) - m_clock();
    return wait > milliseconds(0) ? std::optional(wait) : std::nullopt;
}

std::optional<milliseconds> GuessGuard::Wait(const QString &user, const QString &address) const
{
    const std::lock_guard lock(m_mutex);
    return WaitOf(KeyOf(user), KeyOf(address));
}

void GuessGuard::Count(Table &table, const QByteArray &name, const Rule &rule) const
{
    const auto now = m_clock();
    const auto isForgotten = [&](const Entry &entry) { return now - entry.Until >= rule.Forgotten; };
    if (!table.contains(name) && table.size() >= m_limits.MostEntries) {
        table.removeIf([&](const auto &entry) { return isForgotten(entry.value()); });
        // The order of a hash is random, and nobody can choose who goes.
        while (table.size() >= m_limits.MostEntries)
            table.erase(table.cbegin());
    }
    Entry &entry = table[name];
    if (entry.Attempts > 0 && isForgotten(entry))
        entry.Attempts = 0;
    if (entry.Attempts == 0)
        entry.Faded = now;
    if (rule.Fading > milliseconds(0)) {
        const auto steps = (now - entry.Faded) / rule.Fading;
        entry.Faded += steps * rule.Fading;
        entry.Attempts = static_cast<int>(std::max<qint64>(entry.Attempts - steps, 0));
    }
    ++entry.Attempts;
    entry.Until = now + WaitAfter(entry.Attempts, rule);
}

std::optional<milliseconds> GuessGuard::Admit(const QString &user, const QString &address)
{
    const QByteArray userKey = KeyOf(user);
    const QByteArray addressKey = KeyOf(address);
    const std::lock_guard lock(m_mutex);
    if (const auto wait = WaitOf(userKey, addressKey))
        return wait;
    Count(m_users, userKey, m_limits.User);
    Count(m_addresses, addressKey, m_limits.Address);
    return {};
}

void GuessGuard::Succeeded(const QString &user, const QString &address)
{
    const std::lock_guard lock(m_mutex);
    m_users.remove(KeyOf(user));
    const auto entry = m_addresses.find(KeyOf(address));
    if (entry == m_addresses.end())
        return;
    // Not forgotten: a guesser may have a password of his own.
    if (--entry->Attempts == 0)
        m_addresses.erase(entry);
    else
        entry->Until = std::min(entry->Until, m_clock() + WaitAfter(entry->Attempts, m_limits.Address));
}
