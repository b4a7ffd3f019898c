#include "service/Guard.h"

#include <algorithm>

using std::chrono::milliseconds;

namespace {

milliseconds WaitAfter(int attempts, const Guard::Rule &rule)
{
    if (attempts < rule.Free)
        return milliseconds(0);
    const int doublings = std::min(attempts - rule.Free, 30);
    return std::min(rule.First * (1LL << doublings), rule.Longest);
}

}

Guard::Guard(MonotonicClock clock, Limits limits)
    : m_clock(std::move(clock))
    , m_limits(limits)
{
}

milliseconds Guard::Wait(const Table &table, const QString &name) const
{
    return table.value(name).Until - m_clock();
}

void Guard::Count(Table &table, const QString &name, const Rule &rule) const
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
    ++entry.Attempts;
    entry.Until = now + WaitAfter(entry.Attempts, rule);
}

std::optional<milliseconds> Guard::Admit(const QString &user, const QString &address)
{
    const std::lock_guard lock(m_mutex);
    const auto wait = std::max(Wait(m_users, user), Wait(m_addresses, address));
    if (wait > milliseconds(0))
        return wait;
    Count(m_users, user, m_limits.User);
    Count(m_addresses, address, m_limits.Address);
    return {};
}

void Guard::Succeeded(const QString &user, const QString &address)
{
    const std::lock_guard lock(m_mutex);
    m_users.remove(user);
    const auto entry = m_addresses.find(address);
    if (entry == m_addresses.end())
        return;
    // Not forgotten: a guesser may have a password of his own.
    if (--entry->Attempts == 0)
        m_addresses.erase(entry);
    else
        entry->Until = m_clock();
}
