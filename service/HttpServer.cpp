// SPDX-License-Identifier: Apache-2.0
#include "service/HttpServer.h"

#include "common/Error.h"
#include "service/Certificate.h"
#include "service/ConnectionTable.h"
#include "service/ListenAddress.h"
#include "service/Log.h"
#include "service/PackResponse.h"
#include "service/PackSums.h"
#include "service/RequestHeaders.h"
#include "service/Workers.h"

#include <microhttpd.h>

#include <atomic>
#include <cstring>
#include <mutex>
#include <optional>

#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr const char *Path = "/PackCourier.asp";
constexpr unsigned Threads = 4;
constexpr size_t HeaderMemory = 32 * 1024;
// A body that is too long is read and discarded up to this size, because a client
// that is cut off while it sends does not see the response.
constexpr qsizetype LongestDiscardedBody = 1024 * 1024;
// Forward secrecy and authenticated encryption only.
constexpr const char *TlsPriorities = "NORMAL:-VERS-ALL:+VERS-TLS1.3:+VERS-TLS1.2:-KX-ALL:+ECDHE-ECDSA:+ECDHE-RSA:"
                                      "-CIPHER-ALL:+AES-256-GCM:+CHACHA20-POLY1305:+AES-128-GCM:-MAC-ALL:+AEAD";
constexpr const char *RetryAfter = "5"; // seconds
constexpr const char *PackType = "application/octet-stream";

// The options of libmicrohttpd for HTTPS; none for HTTP.
std::vector<MHD_OptionItem> TlsOptions(const HttpServer::Options &options)
{
    if (options.Certificate.isEmpty())
        return { { MHD_OPTION_END, 0, nullptr } };
    return {
        { MHD_OPTION_HTTPS_CERT_CALLBACK, 0, Certificate::RetrieveCallback() },
        { MHD_OPTION_HTTPS_PRIORITIES, 0, const_cast<char *>(TlsPriorities) },
        { MHD_OPTION_END, 0, nullptr },
    };
}

// The decoded value of an argument in the query; empty if there is none.
QString Argument(MHD_Connection *connection, const char *name)
{
    const char *value = nullptr;
    size_t size = 0;
    MHD_lookup_connection_value_n(connection, MHD_GET_ARGUMENT_KIND, name, std::strlen(name), &value, &size);
    return QString::fromUtf8(value, value ? static_cast<qsizetype>(size) : 0);
}

// Queues a response and releases it. A null pointer closes the connection.
MHD_Result Send(MHD_Connection *connection, unsigned status, MHD_Response *response, const char *type)
{
    if (!response)
        return MHD_NO;
    MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, type);
    MHD_add_response_header(response, MHD_HTTP_HEADER_CACHE_CONTROL, "no-store");
    if (status == MHD_HTTP_METHOD_NOT_ALLOWED)
        MHD_add_response_header(response, MHD_HTTP_HEADER_ALLOW, "GET, HEAD, POST");
    if (status == MHD_HTTP_TOO_MANY_REQUESTS)
        MHD_add_response_header(response, MHD_HTTP_HEADER_RETRY_AFTER, RetryAfter);
    const MHD_Result result = MHD_queue_response(connection, status, response);
    MHD_destroy_response(response);
    return result;
}

MHD_Result SendText(MHD_Connection *connection, unsigned status, const QByteArray &text)
{
    // The cast is safe: libmicrohttpd copies the text.
    void *bytes = const_cast<char *>(text.constData());
    return Send(connection, status,
                MHD_create_response_from_buffer(static_cast<size_t>(text.size()), bytes, MHD_RESPMEM_MUST_COPY), "text/plain");
}

}

class HttpServer::Implementation {
public:
    Implementation(Responder &responder, Metrics &metrics, const Options &options, const Clock &clock)
        : m_responder(responder)
        , m_metrics(metrics)
        , m_options(options)
        , m_address(options.Address, options.Port)
        , m_connections(clock, options.RequestTimeout, options.ConnectionsPerNetwork)
        , m_workers(options.LoginThreads, options.MaximumWaitingLogins)
    {
        if (m_options.AccelPrefix.isEmpty())
            m_sums.RequestAll({ m_options.Packs, m_options.Packs + u"/windows"_s, m_options.Packs + u"/linux"_s });
        Start();
    }
    ~Implementation()
    {
        // Resumes all connections; the library cannot stop before.
        m_workers.Close();
        m_sums.Close();
        MHD_stop_daemon(m_daemon);
        if (m_stopped != MHD_INVALID_SOCKET)
            ::close(m_stopped);
    }
    Implementation(const Implementation &) = delete;
    Implementation &operator=(const Implementation &) = delete;

    QString Endpoint() const;
    void CloseOverdue() { m_connections.ShutDownOverdue(); }
    void UseCertificate(const QByteArray &chain, const QByteArray &key) { m_certificate->Replace(chain, key); }
    void StopAccepting();

private:
    // From the first header line to the end of the response.
    struct Request {
        QString Network; // of the client
        bool IsCounted = false; // by BeginRequest
        QByteArray Body;
        qsizetype Received = 0; // bytes of the body, kept or not
        std::chrono::steady_clock::time_point Start = std::chrono::steady_clock::now();
        Metrics::Kind Kind = Metrics::Other;
        quint64 PackBytes = 0; // that the response contains
        // The reply of a login that had to wait; no status before.
        unsigned Status = 0;
        QByteArray Message;
        bool HasWaited = false; // for the digest of a pack
        // The session in use by a download.
        std::optional<Sessions::Use> Session;
    };

    void Start();

    // Called by the library on its threads, with the Implementation as "self".
    static void OnLog(void *self, const char *format, va_list arguments);
    static MHD_Result OnAccept(void *self, const sockaddr *peer, socklen_t size);
    static void OnConnection(void *self, MHD_Connection *connection, void **context, MHD_ConnectionNotificationCode code);
    static MHD_Result OnRequest(void *self, MHD_Connection *connection, const char *path, const char *method,
                                const char *version, const char *bytes, size_t *size, void **context);
    static void OnRequestEnd(void *self, MHD_Connection *connection, void **context, MHD_RequestTerminationCode code);

    static ConnectionTable::Connection *EntryOf(MHD_Connection *connection);

    // Each of these queues a response, or leaves that to a later call.
    MHD_Result Begin(MHD_Connection *connection, const char *version, Request &request);
    MHD_Result Answer(MHD_Connection *connection, const char *path, QByteArrayView method, Request &request);
    MHD_Result AnswerPost(MHD_Connection *connection, Request &request);
    MHD_Result AnswerGet(MHD_Connection *connection, QByteArrayView method, Request &request);
    MHD_Result SendPack(MHD_Connection *connection, QByteArrayView method, OpenPack pack, Request &request);

    void CheckLogin(Request &request, bool isCancelled);

    Responder &m_responder;
    Metrics &m_metrics;
    const Options m_options;
    const ListenAddress m_address;
    std::optional<Certificate> m_certificate;
    ConnectionTable m_connections;
    Workers m_workers;
    PackSums m_sums;
    MHD_Daemon *m_daemon = nullptr;
    std::atomic<bool> m_isStopping = false;
    MHD_socket m_stopped = MHD_INVALID_SOCKET; // listened on until StopAccepting

    std::mutex m_logMutex;
    QString m_lastLog; // the library's last message
};

void HttpServer::Implementation::Start()
{
    const std::vector<MHD_OptionItem> tls = TlsOptions(m_options);
    unsigned flags = MHD_USE_EPOLL_INTERNAL_THREAD | MHD_ALLOW_SUSPEND_RESUME | MHD_USE_ERROR_LOG;
    if (m_address.IsIPv6())
        flags |= MHD_USE_IPv6;
    if (!m_options.Certificate.isEmpty()) {
        m_certificate.emplace(m_options.Certificate, m_options.Key);
        flags |= MHD_USE_TLS;
    }

    // The logger is the first option, so that it also gets errors in the others.
    m_daemon = MHD_start_daemon(flags, m_options.Port, &OnAccept, this, &OnRequest, this, // clang-format off
        MHD_OPTION_EXTERNAL_LOGGER, &OnLog, this,
        MHD_OPTION_SOCK_ADDR, m_address.Socket().ai_addr,
        MHD_OPTION_THREAD_POOL_SIZE, Threads,
        MHD_OPTION_CONNECTION_LIMIT, m_options.MaximumConnections,
        MHD_OPTION_CONNECTION_MEMORY_LIMIT, HeaderMemory,
        MHD_OPTION_CONNECTION_TIMEOUT, static_cast<unsigned>(m_options.IdleTimeout.count()),
        MHD_OPTION_STRICT_FOR_CLIENT, 1,
        MHD_OPTION_NOTIFY_COMPLETED, &OnRequestEnd, this,
        MHD_OPTION_NOTIFY_CONNECTION, &OnConnection, this,
        MHD_OPTION_ARRAY, tls.data(),
        MHD_OPTION_END); // clang-format on
    const std::lock_guard lock(m_logMutex);
    if (!m_daemon)
        throw Error(InvalidCall, m_lastLog.isEmpty() ? u"The service cannot be started"_s : m_lastLog,
                    u"HttpServer::Start()"_s);
}

QString HttpServer::Implementation::Endpoint() const
{
    return m_address.Url(m_certificate ? u"https"_s : u"http"_s, MHD_get_daemon_info(m_daemon, MHD_DAEMON_INFO_BIND_PORT)->port,
                         QString::fromLatin1(Path));
}

void HttpServer::Implementation::StopAccepting()
{
    if (m_isStopping.exchange(true))
        return;
    m_stopped = MHD_quiesce_daemon(m_daemon);
    // Not closed yet, because the library's threads may still know it.
    ::shutdown(m_stopped, SHUT_RDWR);
}

void HttpServer::Implementation::OnLog(void *self, const char *format, va_list arguments)
{
    auto *server = static_cast<Implementation *>(self);
    const std::lock_guard lock(server->m_logMutex);
    server->m_lastLog = QString::vasprintf(format, arguments).trimmed();
}

MHD_Result HttpServer::Implementation::OnAccept(void *self, const sockaddr *peer, socklen_t)
{
    const auto *server = static_cast<Implementation *>(self);
    const IpAddress address(peer);
    if (server->m_options.Proxies.Contains(address) || server->m_connections.HasRoom(address.Network()))
        return MHD_YES;
    server->m_metrics.Add(Metrics::ConnectionsRefused);
    return MHD_NO;
}

void HttpServer::Implementation::OnConnection(void *self, MHD_Connection *connection, void **context,
                                              MHD_ConnectionNotificationCode code)
{
    auto *server = static_cast<Implementation *>(self);
    server->m_metrics.Change(Metrics::Connections, code == MHD_CONNECTION_NOTIFY_CLOSED ? -1 : 1);
    if (code == MHD_CONNECTION_NOTIFY_CLOSED) {
        server->m_connections.Remove(static_cast<ConnectionTable::Connection *>(*context));
        return;
    }
    const int descriptor = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD)->connect_fd;
    const IpAddress peer(MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CLIENT_ADDRESS)->client_addr);
    if (server->m_certificate) {
        const void *session = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_GNUTLS_SESSION)->tls_session;
        server->m_certificate->Attach(static_cast<gnutls_session_t>(const_cast<void *>(session)));
    }
    *context = server->m_connections.Add(descriptor, peer, !server->m_options.Proxies.Contains(peer));
}

ConnectionTable::Connection *HttpServer::Implementation::EntryOf(MHD_Connection *connection)
{
    return static_cast<ConnectionTable::Connection *>(
        MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT)->socket_context);
}

// Called once after the headers, then with each part of the body, and finally with
// a size of 0; once more after a suspended connection was resumed.
MHD_Result HttpServer::Implementation::OnRequest(void *self, MHD_Connection *connection, const char *path, const char *method,
                                                 const char *version, const char *bytes, size_t *size, void **context)
{
    auto *server = static_cast<Implementation *>(self);
    try {
        if (!*context) {
            auto *request = new Request;
            *context = request;
            server->m_metrics.Change(Metrics::RequestsInProgress, 1);
            return server->Begin(connection, version, *request);
        }
        Request &request = *static_cast<Request *>(*context);
        if (*size > 0) {
            request.Received += static_cast<qsizetype>(*size);
            if (request.Received > LongestDiscardedBody)
                return MHD_NO;
            if (request.Received <= LongestBody)
                request.Body.append(bytes, static_cast<qsizetype>(*size));
            *size = 0;
            return MHD_YES;
        }
        server->m_connections.SetReceiving(EntryOf(connection), false);
        return server->Answer(connection, path, method, request);
    } catch (const std::exception &error) {
        Log::ToStandardError(Log::Line(u"error"_s).Text(u"reason"_s, QString::fromUtf8(error.what())));
        return SendText(connection, MHD_HTTP_INTERNAL_SERVER_ERROR, "The service has a problem of its own.\n");
    }
}

void HttpServer::Implementation::OnRequestEnd(void *self, MHD_Connection *connection, void **context,
                                              MHD_RequestTerminationCode code)
{
    auto *server = static_cast<Implementation *>(self);
    const std::unique_ptr<Request> request(static_cast<Request *>(*context));
    *context = nullptr;
    if (request && request->IsCounted)
        server->m_connections.EndRequest(request->Network);
    if (request) {
        const auto *info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_HTTP_STATUS);
        const bool isWhole = info && code == MHD_REQUEST_TERMINATED_COMPLETED_OK;
        server->m_metrics.Change(Metrics::RequestsInProgress, -1);
        server->m_metrics.Add(Metrics::PackBytes, isWhole ? request->PackBytes : 0);
        server->m_metrics.AddRequest(request->Kind, isWhole ? info->http_status : 0,
                                     std::chrono::steady_clock::now() - request->Start);
    }
    server->m_connections.SetReceiving(EntryOf(connection), true);
    // As if the client had ended the connection.
    if (server->m_isStopping)
        ::shutdown(EntryOf(connection)->Descriptor, SHUT_RD);
}

MHD_Result HttpServer::Implementation::Begin(MHD_Connection *connection, const char *version, Request &request)
{
    const RequestHeaders headers(connection);
    if (headers.HasAmbiguousLength(version)) {
        m_metrics.Add(Metrics::RequestsRefused);
        return SendText(connection, MHD_HTTP_BAD_REQUEST, "Where this request ends is not clear.\n");
    }
    const IpAddress &peer = EntryOf(connection)->Peer;
    request.Network = m_options.Proxies.ClientAddress(peer, headers.ValuesOf("X-Forwarded-For").join(',')).Network();
    if (m_options.Proxies.Contains(peer)) {
        if (!m_connections.HasRoom(request.Network)) {
            m_metrics.Add(Metrics::RequestsRefused);
            return SendText(connection, MHD_HTTP_TOO_MANY_REQUESTS, "Too many requests at once.\n");
        }
        m_connections.BeginRequest(request.Network);
        request.IsCounted = true;
    }
    const QByteArrayList lengths = headers.ValuesOf(MHD_HTTP_HEADER_CONTENT_LENGTH);
    if (!lengths.isEmpty() && lengths.first().toULongLong() > quint64(LongestDiscardedBody))
        return SendText(connection, MHD_HTTP_CONTENT_TOO_LARGE, "The message is too long.\n");
    return MHD_YES;
}

MHD_Result HttpServer::Implementation::Answer(MHD_Connection *connection, const char *path, QByteArrayView method,
                                              Request &request)
{
    request.Kind = method == QByteArrayView("POST") ? Metrics::KindOf(request.Body)
        : method == QByteArrayView("GET")           ? Metrics::Pack
                                                    : Metrics::Other;
    if (request.Received > LongestBody)
        return SendText(connection, MHD_HTTP_CONTENT_TOO_LARGE, "The message is too long.\n");
    if (std::strcmp(path, Path) != 0)
        return SendText(connection, MHD_HTTP_NOT_FOUND, "There is nothing here.\n");
    if (method == QByteArrayView("POST"))
        return AnswerPost(connection, request);
    if (method == QByteArrayView("GET") || method == QByteArrayView("HEAD"))
        return AnswerGet(connection, method, request);
    return SendText(connection, MHD_HTTP_METHOD_NOT_ALLOWED, "GET, HEAD or POST.\n");
}

MHD_Result HttpServer::Implementation::AnswerPost(MHD_Connection *connection, Request &request)
{
    if (request.Status != 0)
        return SendText(connection, request.Status, request.Message);
    if (const auto message = m_responder.AnswerAtOnce(request.Body, request.Network))
        return SendText(connection, MHD_HTTP_OK, *message);
    // Before Add, because a worker may resume the connection before Add returns.
    MHD_suspend_connection(connection);
    m_metrics.Change(Metrics::WaitingLogins, 1);
    const bool isQueued = m_workers.Add([this, connection, &request](bool isCancelled) {
        CheckLogin(request, isCancelled);
        MHD_resume_connection(connection);
    });
    if (!isQueued) {
        m_metrics.Change(Metrics::WaitingLogins, -1);
        m_metrics.Add(Metrics::LoginsBusy);
        request.Status = MHD_HTTP_TOO_MANY_REQUESTS;
        request.Message = Responder::BusyReply();
        MHD_resume_connection(connection);
    }
    return MHD_YES;
}

void HttpServer::Implementation::CheckLogin(Request &request, bool isCancelled)
{
    m_metrics.Change(Metrics::WaitingLogins, -1);
    request.Status = isCancelled ? MHD_HTTP_SERVICE_UNAVAILABLE : MHD_HTTP_OK;
    if (!isCancelled)
        request.Message = m_responder.Answer(request.Body, request.Network);
}

MHD_Result HttpServer::Implementation::AnswerGet(MHD_Connection *connection, QByteArrayView method, Request &request)
{
    const QString exam = Argument(connection, "eid");
    Responder::Authorization authorization = m_responder.AuthorizeDownload(Argument(connection, "sid"), exam);
    if (authorization.Result == Responder::Access::Unavailable)
        return SendText(connection, MHD_HTTP_SERVICE_UNAVAILABLE, "The service is not available at the moment.\n");
    if (authorization.Result == Responder::Access::NoSession)
        return SendText(connection, MHD_HTTP_FORBIDDEN, "You are not logged on, or not any more.\n");
    if (!Store::IsExamId(exam))
        return SendText(connection, MHD_HTTP_NOT_FOUND, "There is no such exam.\n");
    if (authorization.Result == Responder::Access::NotBought)
        return SendText(connection, MHD_HTTP_FORBIDDEN, "You do not have this exam.\n");
    const QByteArray program = RequestHeaders(connection).ValuesOf(MHD_HTTP_HEADER_USER_AGENT).join(' ');
    auto pack = OpenPackOf(m_options.Packs, SystemFolderOf(program), exam);
    if (!pack)
        return SendText(connection, MHD_HTTP_NOT_FOUND, "The pack of this exam is not there.\n");
    request.Session.emplace(*std::move(authorization.Session));
    return SendPack(connection, method, *std::move(pack), request);
}

MHD_Result HttpServer::Implementation::SendPack(MHD_Connection *connection, QByteArrayView method, OpenPack pack,
                                                Request &request)
{
    if (!m_options.AccelPrefix.isEmpty() && m_options.Proxies.Contains(EntryOf(connection)->Peer)) {
        MHD_Response *response = MHD_create_response_from_buffer(0, nullptr, MHD_RESPMEM_PERSISTENT);
        const QByteArray path = m_options.AccelPrefix.toUtf8() + pack.Path;
        MHD_add_response_header(response, "X-Accel-Redirect", path.constData());
        return Send(connection, MHD_HTTP_OK, response, PackType);
    }
    const PackConditions conditions(RequestHeaders(connection), method);
    const QByteArray digest = m_sums.Find(pack.Version);
    if (digest.isEmpty() && conditions.NeedTag() && !request.HasWaited) {
        // Otherwise an interrupted download would have to begin again each time
        // that the service has been started. Suspended first, because the
        // connection may be resumed before Request returns.
        request.HasWaited = true;
        MHD_suspend_connection(connection);
        if (!m_sums.Request(pack, [connection] { MHD_resume_connection(connection); }))
            MHD_resume_connection(connection);
        return MHD_YES;
    }
    if (digest.isEmpty())
        m_sums.Request(pack);
    const PackConditions::Part part = conditions.Choose(pack.Version.Size, TagOf(digest));
    const bool hasBody
        = method == QByteArrayView("GET") && (part.Status == MHD_HTTP_OK || part.Status == MHD_HTTP_PARTIAL_CONTENT);
    request.PackBytes = hasBody ? part.Size : 0;
    return Send(connection, part.Status, MakePackResponse(std::move(pack), part, digest, m_options.BytesPerSecond), PackType);
}

HttpServer::HttpServer(Responder &responder, Metrics &metrics, const Options &options, const Clock &clock)
    : m_implementation(std::make_unique<Implementation>(responder, metrics, options, clock))
{
}

HttpServer::~HttpServer() = default;

QString HttpServer::Endpoint() const
{
    return m_implementation->Endpoint();
}

void HttpServer::CloseOverdue()
{
    m_implementation->CloseOverdue();
}

void HttpServer::UseCertificate(const QByteArray &chain, const QByteArray &key)
{
    m_implementation->UseCertificate(chain, key);
}

void HttpServer::StopAccepting()
{
    m_implementation->StopAccepting();
}
