// SPDX-License-Identifier: Apache-2.0
#include "service/ConnectionTable.h"

#include <sys/socket.h>

ConnectionTable::ConnectionTable(const Clock &clock, std::chrono::milliseconds requestTimeout, unsigned limitPerNetwork)
    : m_clock(clock)
    , m_requestTimeout(requestTimeout)
    , m_limitPerNetwork(limitPerNetwork)
{
}

ConnectionTable::Connection *ConnectionTable::Add(int descriptor, const IpAddress &peer, bool isCounted)
{
    auto connection = std::make_unique<Connection>(Connection{ descriptor, peer, isCounted, true, m_clock.Elapsed() });
    const std::lock_guard lock(m_mutex);
    if (isCounted)
        Count(peer.Network(), true);
    m_connections.insert(connection.get());
    return connection.release();
}

void ConnectionTable::Remove(Connection *connection)
{
    const std::unique_ptr<Connection> removed(connection);
    const std::lock_guard lock(m_mutex);
    if (connection->IsCounted)
        Count(connection->Peer.Network(), false);
    m_connections.erase(connection);
}

void ConnectionTable::SetReceiving(Connection *connection, bool isReceiving)
{
    const std::lock_guard lock(m_mutex);
    connection->IsReceiving = isReceiving;
    connection->Since = m_clock.Elapsed();
}

void ConnectionTable::ShutDownOverdue()
{
    const std::lock_guard lock(m_mutex);
    const auto now = m_clock.Elapsed();
    for (const Connection *connection : m_connections) {
        if (connection->IsReceiving && now - connection->Since >= m_requestTimeout)
            ::shutdown(connection->Descriptor, SHUT_RDWR);
    }
}

bool ConnectionTable::HasRoom(const QString &network) const
{
    const std::lock_guard lock(m_mutex);
    return m_counts.value(network) < m_limitPerNetwork;
}

void ConnectionTable::BeginRequest(const QString &network)
{
    const std::lock_guard lock(m_mutex);
    Count(network, true);
}

void ConnectionTable::EndRequest(const QString &network)
{
    const std::lock_guard lock(m_mutex);
    Count(network, false);
}

void ConnectionTable::Count(const QString &network, bool isMore)
{
    unsigned &count = m_counts[network];
    isMore ? ++count : --count;
    if (count == 0)
        m_counts.remove(network);
}
