// SPDX-License-Identifier: Apache-2.0
#include "service/ListenAddress.h"

#include "common/Error.h"

#include <netdb.h>
#include <sys/socket.h>

using namespace Qt::Literals::StringLiterals;

void ListenAddress::Free::operator()(addrinfo *addresses) const
{
    freeaddrinfo(addresses);
}

ListenAddress::ListenAddress(const QString &address, quint16 port)
    : m_address(address)
{
    const addrinfo hints
        = { AI_NUMERICHOST | AI_NUMERICSERV | AI_PASSIVE, AF_UNSPEC, SOCK_STREAM, 0, 0, nullptr, nullptr, nullptr };
    addrinfo *found = nullptr;
    if (getaddrinfo(address.toLatin1().constData(), QByteArray::number(port).constData(), &hints, &found) != 0)
        throw Error(InvalidCall, u"\"%1\" is no address"_s.arg(address), u"ListenAddress::ListenAddress()"_s);
    m_found.reset(found);
}

bool ListenAddress::IsIPv6() const
{
    return m_found->ai_family == AF_INET6;
}

bool ListenAddress::IsLoopback() const
{
    return m_address.startsWith("127."_L1) || m_address == "::1"_L1;
}

QString ListenAddress::Url(const QString &scheme, quint16 port, const QString &path) const
{
    return u"%1://%2:%3%4"_s.arg(scheme, IsIPv6() ? u'[' + m_address + u']' : m_address).arg(port).arg(path);
}
