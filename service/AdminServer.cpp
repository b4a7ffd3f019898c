// SPDX-License-Identifier: Apache-2.0
#include "service/AdminServer.h"

#include "common/Error.h"

#include <microhttpd.h>

#include <cerrno>

#include <netdb.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr unsigned Timeout = 10; // seconds
constexpr unsigned MaximumConnections = 32;

}

AdminServer::AdminServer(const QString &address, quint16 port, Sources sources)
    : m_address(address, port)
    , m_sources(std::move(sources))
{
    const auto onRequest = [](void *self, MHD_Connection *connection, const char *path, const char *method, const char *,
                              const char *, size_t *size, void **) {
        // A body is read and ignored.
        if (*size > 0) {
            *size = 0;
            return MHD_YES;
        }
        return static_cast<MHD_Result>(static_cast<AdminServer *>(self)->Answer(connection, path, method));
    };
    errno = 0;
    m_daemon = MHD_start_daemon(MHD_USE_EPOLL_INTERNAL_THREAD | (m_address.IsIPv6() ? MHD_USE_IPv6 : 0), port, nullptr, nullptr,
                                onRequest, this, // clang-format off
        MHD_OPTION_SOCK_ADDR, m_address.Socket().ai_addr,
        MHD_OPTION_CONNECTION_LIMIT, MaximumConnections,
        MHD_OPTION_CONNECTION_TIMEOUT, Timeout,
        MHD_OPTION_END); // clang-format on
    if (!m_daemon)
        throw Error(InvalidCall, u"The address for administration cannot be used: %1"_s.arg(qt_error_string(errno)),
                    u"AdminServer::AdminServer()"_s);
}

AdminServer::~AdminServer()
{
    MHD_stop_daemon(m_daemon);
}

QString AdminServer::Health() const
{
    return m_address.Url(u"http"_s, MHD_get_daemon_info(m_daemon, MHD_DAEMON_INFO_BIND_PORT)->port, u"/health"_s);
}

unsigned AdminServer::Answer(MHD_Connection *connection, const char *path, const char *method) const
{
    const QByteArrayView asked(path);
    unsigned status = MHD_HTTP_OK;
    QByteArray text;
    if (QByteArrayView(method) != QByteArrayView("GET") && QByteArrayView(method) != QByteArrayView("HEAD")) {
        status = MHD_HTTP_METHOD_NOT_ALLOWED;
        text = "GET or HEAD.\n";
    } else if (asked == QByteArrayView("/health")) {
        const QByteArray fault = m_sources.Fault();
        status = fault.isEmpty() ? MHD_HTTP_OK : MHD_HTTP_SERVICE_UNAVAILABLE;
        text = fault.isEmpty() ? QByteArray("ok\n") : fault + '\n';
    } else if (asked == QByteArrayView("/metrics")) {
        text = m_sources.Metrics();
    } else {
        status = MHD_HTTP_NOT_FOUND;
        text = "/health or /metrics.\n";
    }
    MHD_Response *response
        = MHD_create_response_from_buffer(static_cast<size_t>(text.size()), text.data(), MHD_RESPMEM_MUST_COPY);
    if (!response)
        return MHD_NO;
    const char *type = asked == QByteArrayView("/metrics") ? "text/plain; version=0.0.4" : "text/plain";
    MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, type);
    MHD_add_response_header(response, MHD_HTTP_HEADER_CACHE_CONTROL, "no-store");
    const MHD_Result result = MHD_queue_response(connection, status, response);
    MHD_destroy_response(response);
    return result;
}
