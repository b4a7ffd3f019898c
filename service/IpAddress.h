// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

#include <array>
#include <optional>
#include <vector>

struct sockaddr;

// An IPv4 or IPv6 address. An IPv4 address inside an IPv6 one, such as
// ::ffff:192.0.2.7, is the IPv4 address.
class IpAddress {
public:
    // Of the family AF_INET or AF_INET6.
    explicit IpAddress(const sockaddr *address);
    // As in "192.0.2.7" and "2001:db8::7"; nothing for any other text.
    static std::optional<IpAddress> FromText(const QByteArray &text);

    bool IsIPv4() const;
    // Whether the first so many bits, from 0 to 128, are those of another
    // address. Those of an IPv4 address begin behind 96 others.
    bool SharesBits(const IpAddress &other, int count) const;
    // Who counts as one: an IPv4 address, "192.0.2.7", or the network that a
    // home has of IPv6 addresses, "2001:db8:1:2::/64".
    QString Network() const;

private:
    IpAddress() = default;

    std::array<unsigned char, 16> m_bytes{}; // in network order, as IPv6
};

// The reverse proxies whose word counts on whom they speak for.
class TrustedProxies {
public:
    // An address, or a range such as "10.0.0.0/8"; false for any other text.
    bool Add(const QString &text);
    bool Contains(const IpAddress &address) const;
    // Who is at the other end of a connection from that address. Behind a
    // trusted proxy it is the last address of X-Forwarded-For that is not a
    // trusted proxy's; an entry that is no address ends the search. Whoever is
    // not trusted speaks for itself alone.
    IpAddress Origin(IpAddress peer, const QByteArray &forwardedFor) const;

private:
    struct Range {
        IpAddress Address;
        int Bits;
    };
    std::vector<Range> m_ranges;
};
