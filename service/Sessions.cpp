// SPDX-License-Identifier: Apache-2.0
#include "service/Sessions.h"

#include "common/Error.h"

#include <sodium.h>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

// Sessions are looked up by it, so the duration of a look-up reveals nothing about IDs.
QByteArray FingerprintOf(const QByteArray &id)
{
    QByteArray digest(crypto_generichash_BYTES, '\0');
    crypto_generichash(reinterpret_cast<uchar *>(digest.data()), static_cast<size_t>(digest.size()),
                       reinterpret_cast<const uchar *>(id.constData()), static_cast<quint64>(id.size()), nullptr, 0);
    return digest;
}

qint64 Stored(std::chrono::milliseconds time)
{
    return time.count();
}

}

Sessions::Use::Use(Sessions &sessions, qint64 user, const QByteArray &fingerprint, const QStringList &exams)
    : m_sessions(&sessions)
    , m_user(user)
    , m_fingerprint(fingerprint)
    , m_exams(exams)
{
}

Sessions::Use::Use(Use &&other) noexcept
    : m_sessions(std::exchange(other.m_sessions, nullptr))
    , m_user(other.m_user)
    , m_fingerprint(std::move(other.m_fingerprint))
    , m_exams(std::move(other.m_exams))
{
}

Sessions::Use::~Use()
{
    if (!m_sessions)
        return;
    const Time now = m_sessions->Now();
    const std::lock_guard lock(m_sessions->m_mutex);
    Activity &activity = m_sessions->m_active[m_fingerprint];
    --activity.Uses;
    activity.LastUse = now;
}

Sessions::Sessions(Database &database, const Clock &clock, const Limits &limits)
    : m_database(database)
    , m_clock(clock)
    , m_limits(limits)
{
    if (sodium_init() < 0)
        throw Error(InvalidCall, u"The cryptographic library does not start"_s, u"Sessions::Sessions()"_s);
}

Sessions::Time Sessions::Now() const
{
    return Time(m_clock.Now().toMSecsSinceEpoch());
}

Sessions::Time Sessions::LatestIdle(Time now) const
{
    return now - m_limits.IdleTimeout - 2 * StoreInterval;
}

QString Sessions::Open(qint64 user, const QByteArray &passwordHash)
{
    std::array<char, 32> bytes;
    randombytes_buf(bytes.data(), bytes.size());
    const QByteArray id = QByteArray::fromRawData(bytes.data(), bytes.size()).toHex();
    const Time now = Now();
    Database::Transaction transaction(m_database, Database::Subject::Sessions);
    m_database.Run(u"DELETE FROM sessions WHERE account = ? AND (opened <= ? OR last_use <= ?)"_s,
                   { user, Stored(now - m_limits.Lifetime), Stored(LatestIdle(now)) });
    m_database.Run(u"DELETE FROM sessions WHERE id IN "
                   "(SELECT id FROM sessions WHERE account = ? ORDER BY opened DESC, id DESC LIMIT 1000 OFFSET ?)"_s,
                   { user, m_limits.PerUser - 1 });
    m_database.Run(u"INSERT INTO sessions(fingerprint, account, password, opened, last_use) VALUES(?, ?, ?, ?, ?)"_s,
                   { FingerprintOf(id), user, passwordHash, Stored(now), Stored(now) });
    transaction.Commit();
    return QString::fromLatin1(id);
}

std::optional<Sessions::Use> Sessions::Find(const QString &id)
{
    const QByteArray fingerprint = FingerprintOf(id.toUtf8());
    qint64 user = 0;
    Time opened{ 0 }, stored{ 0 };
    QStringList exams;
    {
        // All that a request needs, because each statement may be a way over the network.
        auto rows = m_database.Run(u"SELECT users.id, sessions.opened, sessions.last_use, grants.exam FROM sessions "
                                   "JOIN users ON users.id = sessions.account AND users.password = sessions.password "
                                   "LEFT JOIN grants ON grants.account = users.id "
                                   "WHERE sessions.fingerprint = ? ORDER BY grants.id"_s,
                                   { fingerprint });
        bool isThere = false;
        while (rows.Next()) {
            isThere = true;
            user = rows[0].toLongLong();
            opened = Time(rows[1].toLongLong());
            stored = Time(rows[2].toLongLong());
            if (const QString exam = rows[3].toString(); !exam.isEmpty())
                exams.append(exam);
        }
        if (!isThere)
            return {};
    }
    const Time now = Now();
    {
        const std::lock_guard lock(m_mutex);
        const Activity known = m_active.value(fingerprint);
        const bool isIdle = known.Uses == 0 && now - std::max(stored, known.LastUse) >= m_limits.IdleTimeout;
        if (now - opened < m_limits.Lifetime && !isIdle) {
            Activity &activity = m_active[fingerprint];
            ++activity.Uses;
            activity.LastUse = now;
            activity.Stored = stored;
        } else {
            user = 0;
        }
    }
    if (user == 0) {
        m_database.Run(u"DELETE FROM sessions WHERE fingerprint = ?"_s, { fingerprint });
        return {};
    }
    Use use(*this, user, fingerprint, exams);
    // Not left to StoreUses: for other programs the session could end meanwhile.
    if (now - stored >= StoreInterval) {
        m_database.Run(u"UPDATE sessions SET last_use = ? WHERE fingerprint = ?"_s, { Stored(now), fingerprint });
        const std::lock_guard lock(m_mutex);
        m_active[fingerprint].Stored = now;
    }
    return use;
}

void Sessions::StoreUses(Which which)
{
    const Time now = Now();
    QHash<QByteArray, Time> due;
    {
        const std::lock_guard lock(m_mutex);
        m_active.removeIf([](const auto &entry) { return entry->Uses == 0 && entry->LastUse <= entry->Stored; });
        for (auto entry = m_active.begin(); entry != m_active.end(); ++entry) {
            if (entry->Uses > 0)
                entry->LastUse = now;
            if (which == Which::All || now - entry->Stored >= StoreInterval)
                due.insert(entry.key(), entry->LastUse);
        }
    }
    const bool isCleaning = now - m_cleaned >= StoreInterval;
    if (due.isEmpty() && !isCleaning)
        return;
    Database::Transaction transaction(m_database, Database::Subject::Sessions);
    for (auto entry = due.cbegin(); entry != due.cend(); ++entry)
        // Never back: the session may have been used later at another service.
        m_database.Run(u"UPDATE sessions SET last_use = ? WHERE fingerprint = ? AND last_use < ?"_s,
                       { Stored(entry.value()), entry.key(), Stored(entry.value()) });
    if (isCleaning) {
        m_database.Run(u"DELETE FROM sessions WHERE opened <= ? OR last_use <= ?"_s,
                       { Stored(now - m_limits.Lifetime), Stored(LatestIdle(now)) });
    }
    transaction.Commit();
    m_cleaned = now;
    const std::lock_guard lock(m_mutex);
    for (auto entry = due.cbegin(); entry != due.cend(); ++entry) {
        if (const auto known = m_active.find(entry.key()); known != m_active.end())
            known->Stored = std::max(known->Stored, entry.value());
    }
}
