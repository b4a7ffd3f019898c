// SPDX-License-Identifier: Apache-2.0
#include "service/IpAddress.h"

#include <QList>

#include <algorithm>
#include <cstring>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr std::array<unsigned char, 12> IPv4Prefix = { 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF };
constexpr int IPv4PrefixBits = 96;
constexpr int HouseholdBits = 64;

// Parses an entry of X-Forwarded-For: an address that may be followed by a port;
// an IPv6 address is then in brackets.
std::optional<IpAddress> ParseForwarded(QByteArray entry)
{
    entry = entry.trimmed();
    if (entry.startsWith('['))
        entry = entry.mid(1, entry.indexOf(']') - 1);
    else if (entry.count(':') == 1)
        entry.truncate(entry.indexOf(':'));
    return IpAddress::FromText(entry);
}

}

IpAddress::IpAddress(const sockaddr *address)
{
    if (address->sa_family == AF_INET) {
        sockaddr_in ip;
        std::memcpy(&ip, address, sizeof ip);
        std::copy(IPv4Prefix.begin(), IPv4Prefix.end(), m_bytes.begin());
        std::memcpy(m_bytes.data() + IPv4Prefix.size(), &ip.sin_addr, sizeof ip.sin_addr);
    } else {
        sockaddr_in6 ip;
        std::memcpy(&ip, address, sizeof ip);
        std::memcpy(m_bytes.data(), &ip.sin6_addr, m_bytes.size());
    }
}

std::optional<IpAddress> IpAddress::FromText(const QByteArray &text)
{
    IpAddress address;
    if (text.contains('\0'))
        return {};
    if (inet_pton(AF_INET6, text.constData(), address.m_bytes.data()) == 1)
        return address;
    std::copy(IPv4Prefix.begin(), IPv4Prefix.end(), address.m_bytes.begin());
    if (inet_pton(AF_INET, text.constData(), address.m_bytes.data() + IPv4Prefix.size()) == 1)
        return address;
    return {};
}

bool IpAddress::IsIPv4() const
{
    return std::equal(IPv4Prefix.begin(), IPv4Prefix.end(), m_bytes.begin());
}

bool IpAddress::SharesBits(const IpAddress &other, int count) const
{
    const auto whole = static_cast<size_t>(count / 8);
    const int rest = count % 8;
    return std::equal(m_bytes.begin(), m_bytes.begin() + whole, other.m_bytes.begin())
        && (rest == 0 || (m_bytes[whole] ^ other.m_bytes[whole]) >> (8 - rest) == 0);
}

QString IpAddress::Network() const
{
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (IsIPv4()) {
        inet_ntop(AF_INET, m_bytes.data() + IPv4Prefix.size(), text.data(), text.size());
        return QString::fromLatin1(text.data());
    }
    auto bytes = m_bytes;
    std::fill(bytes.begin() + HouseholdBits / 8, bytes.end(), 0);
    inet_ntop(AF_INET6, bytes.data(), text.data(), text.size());
    return u"%1/%2"_s.arg(QLatin1StringView(text.data())).arg(HouseholdBits);
}

bool TrustedProxies::Add(const QString &text)
{
    const auto address = IpAddress::FromText(text.section(u'/', 0, 0).toLatin1());
    if (!address)
        return false;
    // The prefix of an address written with colons counts from the first bit of
    // an IPv6 address, also for an IPv4-mapped one.
    const int before = text.contains(u':') ? 0 : IPv4PrefixBits;
    int bits = 128 - before;
    if (text.contains(u'/')) {
        const QString prefix = text.section(u'/', 1);
        bool isNumber = false;
        const uint most = static_cast<uint>(bits);
        const uint given = prefix.toUInt(&isNumber);
        if (!isNumber || given > most || prefix != QString::number(given))
            return false;
        bits = static_cast<int>(given);
    }
    m_ranges.push_back({ *address, before + bits });
    return true;
}

bool TrustedProxies::Contains(const IpAddress &address) const
{
    return std::any_of(m_ranges.begin(), m_ranges.end(),
                       [&](const Range &range) { return range.Address.SharesBits(address, range.Bits); });
}

IpAddress TrustedProxies::ClientAddress(IpAddress peer, const QByteArray &forwardedFor) const
{
    QList<QByteArray> entries = forwardedFor.split(',');
    while (Contains(peer) && !entries.isEmpty()) {
        const auto before = ParseForwarded(entries.takeLast());
        if (!before)
            break;
        peer = *before;
    }
    return peer;
}
