// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

#include <array>
#include <optional>
#include <vector>

struct sockaddr;

// An IPv4 or IPv6 address. An IPv4-mapped IPv6 address, such as ::ffff:192.0.2.7,
// is treated as the IPv4 address that it contains.
class IpAddress {
public:
    // The address of a socket of the family AF_INET or AF_INET6.
    explicit IpAddress(const sockaddr *address);
    // Parses "192.0.2.7" or "2001:db8::7", without port, brackets or zone; empty
    // for any other text.
    static std::optional<IpAddress> FromText(const QByteArray &text);

    bool IsIPv4() const;

    // Whether the first bits of both addresses are the same, each of them as an
    // IPv6 address: the bits of an IPv4 address follow 96 bits of prefix. The
    // count is from 0 to 128.
    bool SharesBits(const IpAddress &other, int count) const;

    // What limits apply to: an IPv4 address, "192.0.2.7", or an IPv6 network of
    // the size that a household gets, "2001:db8:1:2::/64".
    QString Network() const;

private:
    IpAddress() = default;

    std::array<unsigned char, 16> m_bytes{}; // as IPv6, in network byte order
};

// The reverse proxies whose X-Forwarded-For header is used. Once filled, it may be
// used by several threads at once.
class TrustedProxies {
public:
    // Adds an address, or a range such as "10.0.0.0/8"; false for any other text.
    bool Add(const QString &text);

    bool Contains(const IpAddress &address) const;

    // The address of the client behind a connection from the peer: the last
    // address in X-Forwarded-For (several headers joined by commas) that is not
    // a trusted proxy's. An entry that is not an address ends the search; the
    // result is then the proxy that wrote it. The header of a peer that is not
    // trusted is ignored.
    IpAddress ClientAddress(IpAddress peer, const QByteArray &forwardedFor) const;

private:
    struct Range {
        IpAddress Address;
        int Bits; // as for SharesBits
    };
    std::vector<Range> m_ranges;
};
