// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <memory>

struct addrinfo;

// An IP address and a port to listen on.
class ListenAddress {
public:
    // Raises an error if the text is no IP address.
    ListenAddress(const QString &address, quint16 port);

    const addrinfo &Socket() const { return *m_found; }
    bool IsIPv6() const;
    // Only programs on the same computer can connect.
    bool IsLoopback() const;
    // The URL of a path there. The port is the one that the system has chosen if 0 was
    // asked for.
    QString Url(const QString &scheme, quint16 port, const QString &path) const;

private:
    struct Free {
        void operator()(addrinfo *addresses) const;
    };
    QString m_address;
    std::unique_ptr<addrinfo, Free> m_found;
};
