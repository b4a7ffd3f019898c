// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "service/Clock.h"
#include "service/IpAddress.h"

#include <QHash>
#include <QString>

#include <memory>
#include <mutex>
#include <unordered_set>

// The open connections of a server: which of them take too long to send a request,
// and how much each network uses at the moment. All functions may be called from
// several threads at once.
class ConnectionTable {
public:
    // A connection is receiving from the start, and again after each response,
    // until its next request is complete.
    struct Connection {
        int Descriptor;
        IpAddress Peer;
        bool IsCounted; // against the limit of the peer's network
        bool IsReceiving = true;
        std::chrono::milliseconds Since{ 0 }; // start of this state, by Clock::Elapsed
    };

    // The time limit is for one request, the other for the number of connections
    // and counted requests of one network. The clock must outlive this object.
    ConnectionTable(const Clock &clock, std::chrono::milliseconds requestTimeout, unsigned limitPerNetwork);

    // Registers a connection, by its socket. The object is valid until Remove,
    // which must come before the socket is closed.
    Connection *Add(int descriptor, const IpAddress &peer, bool isCounted);
    void Remove(Connection *connection);

    // Sets the state and restarts its time.
    void SetReceiving(Connection *connection, bool isReceiving);

    // Shuts down the sockets of all connections that have been receiving for the
    // time limit or longer.
    void ShutDownOverdue();

    // Whether the network is below its limit.
    bool HasRoom(const QString &network) const;
    // Count a request of the network like a connection, from its start to its end.
    void BeginRequest(const QString &network);
    void EndRequest(const QString &network);

private:
    void Count(const QString &network, bool isMore);

    const Clock &m_clock;
    const std::chrono::milliseconds m_requestTimeout;
    const unsigned m_limitPerNetwork;
    mutable std::mutex m_mutex;
    std::unordered_set<Connection *> m_connections; // deleted by Remove
    QHash<QString, unsigned> m_counts; // by network; no zeros
};
