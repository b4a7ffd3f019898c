// SPDX-License-Identifier: Apache-2.0
#include "service/Sessions.h"

#include "common/Error.h"

#include <sodium.h>

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray FingerprintOf(const QByteArray &id)
{
    QByteArray digest(crypto_generichash_BYTES, '\0');
    crypto_generichash(reinterpret_cast<uchar *>(digest.data()), static_cast<size_t>(digest.size()),
                       reinterpret_cast<const uchar *>(id.constData()), static_cast<quint64>(id.size()), nullptr, 0);
    return digest;
}

}

Sessions::Use::Use(Sessions &sessions, std::shared_ptr<Session> session)
    : m_sessions(&sessions)
    , m_session(std::move(session))
{
    ++m_session->Uses;
}

Sessions::Use::~Use()
{
    if (!m_session)
        return;
    const std::lock_guard lock(m_sessions->m_mutex);
    --m_session->Uses;
    m_session->LastUse = m_sessions->m_clock.Elapsed();
}

qint64 Sessions::Use::User() const
{
    return m_session->User;
}

const QByteArray &Sessions::Use::PasswordHash() const
{
    return m_session->PasswordHash;
}

const QByteArray &Sessions::Use::Fingerprint() const
{
    return m_session->Fingerprint;
}

Sessions::Sessions(const Clock &clock, const Limits &limits)
    : m_clock(clock)
    , m_limits(limits)
{
    if (sodium_init() < 0)
        throw Error(InvalidCall, u"The cryptographic library does not start"_s, u"Sessions::Sessions()"_s);
}

bool Sessions::HasEnded(const Session &session) const
{
    const auto now = m_clock.Elapsed();
    return now - session.Opened >= m_limits.Lifetime || (session.Uses == 0 && now - session.LastUse >= m_limits.IdleTimeout);
}

void Sessions::MakeRoom(qint64 user)
{
    m_sessions.removeIf([this](const auto &entry) { return HasEnded(*entry.value()); });
    std::shared_ptr<Session> oldest;
    int count = 0;
    for (const auto &session : std::as_const(m_sessions)) {
        if (session->User != user)
            continue;
        ++count;
        if (!oldest || session->Opened < oldest->Opened)
            oldest = session;
    }
    if (count >= m_limits.PerUser)
        m_sessions.remove(oldest->Fingerprint);
}

QString Sessions::Open(qint64 user, const QByteArray &passwordHash)
{
    std::array<char, 32> bytes;
    randombytes_buf(bytes.data(), bytes.size());
    const QByteArray id = QByteArray::fromRawData(bytes.data(), bytes.size()).toHex();
    const std::lock_guard lock(m_mutex);
    MakeRoom(user);
    const auto session
        = std::make_shared<Session>(Session{ user, passwordHash, FingerprintOf(id), m_clock.Elapsed(), m_clock.Elapsed() });
    m_sessions.insert(session->Fingerprint, session);
    return QString::fromLatin1(id);
}

std::optional<Sessions::Use> Sessions::Find(const QString &id)
{
    const QByteArray fingerprint = FingerprintOf(id.toUtf8());
    const std::lock_guard lock(m_mutex);
    const auto session = m_sessions.value(fingerprint);
    if (!session)
        return {};
    if (HasEnded(*session)) {
        m_sessions.remove(fingerprint);
        return {};
    }
    return std::optional<Use>(std::in_place, *this, session);
}
