// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "service/ListenAddress.h"

#include <QByteArray>
#include <QString>

#include <functional>

struct MHD_Connection;
struct MHD_Daemon;

// What programs that watch the service ask it, over HTTP on an address of its own:
// /health and /metrics. It answers on a thread of its own while the object exists.
class AdminServer {
public:
    struct Sources {
        // Empty if the service can do its work, otherwise the reason why not: the
        // response then has the status 503. Must not raise.
        std::function<QByteArray()> Fault;
        // The metrics (see Metrics::ToText). Must not raise.
        std::function<QByteArray()> Metrics;
    };

    // Raises an error if the address cannot be used. Port 0 means any free one.
    AdminServer(const QString &address, quint16 port, Sources sources);
    ~AdminServer();
    AdminServer(const AdminServer &) = delete;
    AdminServer &operator=(const AdminServer &) = delete;

    // The URL of /health.
    QString Health() const;

private:
    unsigned Answer(MHD_Connection *connection, const char *path, const char *method) const;

    const ListenAddress m_address;
    const Sources m_sources;
    MHD_Daemon *m_daemon;
};
