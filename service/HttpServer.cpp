// SPDX-License-Identifier: Apache-2.0
#include "service/HttpServer.h"

#include "common/Error.h"
#include "service/Workers.h"

#include <microhttpd.h>

#include <QFile>
#include <QHash>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <mutex>
#include <set>
#include <thread>

#include <fcntl.h>
#include <netdb.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr const char *Path = "/PackCourier.asp";
constexpr unsigned Threads = 4;
constexpr size_t HeaderMemory = 32 * 1024;
// A body that is too long is still read to its end, up to here: who is cut off
// while sending never sees the answer.
constexpr qsizetype LongestSwallowed = 1024 * 1024;
constexpr size_t SlowPiece = 64 * 1024;
constexpr quint32 PiecesOfSecond = 20;
// Every session key is new, and every cipher authenticates what it carries.
constexpr const char *Priorities = "NORMAL:-VERS-ALL:+VERS-TLS1.3:+VERS-TLS1.2:-KX-ALL:+ECDHE-ECDSA:+ECDHE-RSA:"
                                   "-CIPHER-ALL:+AES-256-GCM:+CHACHA20-POLY1305:+AES-128-GCM:-MAC-ALL:+AEAD";
constexpr const char *RetryAfter = "5"; // seconds

struct AddressList {
    addrinfo *First = nullptr;
    ~AddressList()
    {
        if (First)
            freeaddrinfo(First);
    }
};

// The descriptor of a pack and its size; a negative descriptor for none. A
// symbolic link is none, and neither is anything that is no file.
std::pair<int, quint64> OpenPack(const QString &folder, const QString &exam)
{
    const QByteArray path = QFile::encodeName(u"%1/%2.exe"_s.arg(folder, exam));
    const int file = ::open(path.constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
    struct stat status;
    if (file >= 0 && ::fstat(file, &status) == 0 && S_ISREG(status.st_mode))
        return { file, static_cast<quint64>(status.st_size) };
    if (file >= 0)
        ::close(file);
    return { -1, 0 };
}

// A pack that is sent slowly, as if the network were slow.
struct SlowPack {
    int File;
    quint32 Rate;

    SlowPack(int file, quint32 rate)
        : File(file)
        , Rate(rate)
    {
    }
    ~SlowPack() { ::close(File); }
    ssize_t Read(quint64 position, char *bytes, size_t size) const
    {
        const size_t piece = std::clamp<size_t>(Rate / PiecesOfSecond, 1, size);
        const ssize_t count = ::pread(File, bytes, piece, static_cast<off_t>(position));
        if (count <= 0)
            return MHD_CONTENT_READER_END_WITH_ERROR;
        std::this_thread::sleep_for(std::chrono::duration<double>(static_cast<double>(count) / Rate));
        return count;
    }
};

// Takes the descriptor over.
MHD_Response *PackResponse(int file, quint64 size, quint32 rate)
{
    MHD_Response *response = nullptr;
    if (rate == 0) {
        response = MHD_create_response_from_fd64(size, file);
        if (!response)
            ::close(file);
        return response;
    }
    auto pack = std::make_unique<SlowPack>(file, rate);
    response = MHD_create_response_from_callback(
        size, SlowPiece,
        [](void *slow, uint64_t position, char *bytes, size_t room) {
            return static_cast<SlowPack *>(slow)->Read(position, bytes, room);
        },
        pack.get(), [](void *slow) { delete static_cast<SlowPack *>(slow); });
    if (response)
        static_cast<void>(pack.release()); // MHD deletes it by the last function
    return response;
}

QString Argument(MHD_Connection *connection, const char *name)
{
    const char *value = nullptr;
    size_t size = 0;
    MHD_lookup_connection_value_n(connection, MHD_GET_ARGUMENT_KIND, name, std::strlen(name), &value, &size);
    return QString::fromUtf8(value, value ? static_cast<qsizetype>(size) : 0);
}

struct HeaderLine {
    QByteArray Name;
    QByteArray Value;
};

std::vector<HeaderLine> HeaderLines(MHD_Connection *connection)
{
    std::vector<HeaderLine> lines;
    const auto onLine = [](void *found, MHD_ValueKind, const char *name, const char *value) {
        static_cast<std::vector<HeaderLine> *>(found)->push_back({ name, value });
        return MHD_YES;
    };
    MHD_get_connection_values(connection, MHD_HEADER_KIND, onLine, &lines);
    return lines;
}

// The values of all lines with that name, in their order.
QByteArrayList ValuesOf(const std::vector<HeaderLine> &lines, QByteArrayView name)
{
    QByteArrayList values;
    for (const HeaderLine &line : lines) {
        if (line.Name.compare(name, Qt::CaseInsensitive) == 0)
            values.append(line.Value);
    }
    return values;
}

// Whether a proxy in front may have found another end of the body: what it
// then took for the body would be the next request here.
bool IsAmbiguous(const std::vector<HeaderLine> &lines, QByteArrayView version)
{
    // The library takes a blank before the colon for a part of the name, and so
    // what a second line adds to a value.
    const auto isOdd = [](const HeaderLine &line) {
        const QByteArray name = line.Name.toLower();
        return name.contains(' ') || name.contains('\t') || (name.startsWith("content-length") && name != "content-length")
            || (name.startsWith("transfer-encoding") && name != "transfer-encoding");
    };
    const QByteArrayList lengths = ValuesOf(lines, MHD_HTTP_HEADER_CONTENT_LENGTH);
    const QByteArrayList codings = ValuesOf(lines, MHD_HTTP_HEADER_TRANSFER_ENCODING);
    if (std::any_of(lines.begin(), lines.end(), isOdd) || lengths.size() + codings.size() > 1)
        return true;
    return !codings.isEmpty()
        && (codings.first().compare("chunked", Qt::CaseInsensitive) != 0 || version != QByteArrayView(MHD_HTTP_VERSION_1_1));
}

MHD_Result Send(MHD_Connection *connection, unsigned status, MHD_Response *response, const char *type)
{
    if (!response)
        return MHD_NO;
    MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, type);
    MHD_add_response_header(response, MHD_HTTP_HEADER_CACHE_CONTROL, "no-store");
    MHD_add_response_header(response, MHD_HTTP_HEADER_ACCEPT_RANGES, "none");
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
    // The library only reads from a text that it is to copy.
    void *bytes = const_cast<char *>(text.constData());
    return Send(connection, status,
                MHD_create_response_from_buffer(static_cast<size_t>(text.size()), bytes, MHD_RESPMEM_MUST_COPY), "text/plain");
}

}

struct HttpServer::Daemon {
    // One connection; it is receiving unless an answer is on its way.
    struct Socket {
        int Descriptor;
        IpAddress Peer;
        bool IsReceiving = true;
        std::chrono::milliseconds Since;
    };
    struct Request {
        QString Network; // of the candidate
        bool IsCounted = false; // beside connections
        QByteArray Body;
        qsizetype Received = 0;
        // What was found out meanwhile for a request that had to wait.
        unsigned Status = 0; // 0: nothing yet
        QByteArray Message;
        std::optional<Sessions::Use> Session;
    };

    Daemon(::Responder &responder, const HttpServer::Options &options, MonotonicClock clock)
        : m_responder(responder)
        , m_options(options)
        , m_clock(std::move(clock))
        , m_workers(options.LogInThreads, options.WaitingLogIns)
    {
        Start();
    }
    ~Daemon()
    {
        // The library cannot stop while a connection is suspended.
        m_workers.Close();
        MHD_stop_daemon(m_daemon);
    }
    Daemon(const Daemon &) = delete;
    Daemon &operator=(const Daemon &) = delete;

    QString Endpoint() const
    {
        const auto port = MHD_get_daemon_info(m_daemon, MHD_DAEMON_INFO_BIND_PORT)->port;
        const bool isIPv6 = m_options.Address.contains(u':');
        return u"%1://%2:%3%4"_s
            .arg(m_options.Certificate.isEmpty() ? u"http"_s : u"https"_s,
                 isIPv6 ? u'[' + m_options.Address + u']' : m_options.Address)
            .arg(port)
            .arg(QLatin1StringView(Path));
    }

    void CloseOverdue()
    {
        const std::lock_guard lock(m_mutex);
        const auto now = m_clock();
        for (const Socket *socket : m_sockets) {
            if (socket->IsReceiving && now - socket->Since >= m_options.RequestTime)
                ::shutdown(socket->Descriptor, SHUT_RDWR);
        }
    }

private:
    void Start();
    bool HasRoom(const QString &network);
    // Keeps account of a connection or a request that comes or goes.
    void Count(const QString &network, bool comes);
    MHD_Result Begin(MHD_Connection *connection, const char *version, Request &request);
    MHD_Result Receive(MHD_Connection *connection, const char *path, const char *method, const char *version, const char *bytes,
                       size_t *size, Request *&request);
    MHD_Result Answer(MHD_Connection *connection, const char *path, QByteArrayView method, Request &request);
    MHD_Result AnswerPost(MHD_Connection *connection, Request &request);
    void AnswerLater(Request &request, bool isItsTurn);
    MHD_Result AnswerGet(MHD_Connection *connection, Request &request);
    void End(MHD_Connection *connection, Request *&request);
    static Socket *SocketOf(MHD_Connection *connection);
    void Mark(MHD_Connection *connection, bool isReceiving);
    void Notify(MHD_Connection *connection, void **socket, MHD_ConnectionNotificationCode code);

    static void Log(void *self, const char *format, va_list arguments);

    ::Responder &m_responder;
    const HttpServer::Options m_options;
    MonotonicClock m_clock;
    Workers m_workers;
    MHD_Daemon *m_daemon = nullptr;

    std::mutex m_mutex;
    std::atomic<bool> m_hasStarted = false;
    QString m_lastWords; // of the library
    std::set<Socket *> m_sockets; // which they leave before they are closed
    QHash<QString, unsigned> m_crowd; // connections, and requests through proxies, by network
};

// Said by the library why it cannot start. Later it only tells what strangers
// did wrong.
void HttpServer::Daemon::Log(void *self, const char *format, va_list arguments)
{
    auto *daemon = static_cast<Daemon *>(self);
    if (daemon->m_hasStarted)
        return;
    const std::lock_guard lock(daemon->m_mutex);
    daemon->m_lastWords = QString::vasprintf(format, arguments).trimmed();
}

void HttpServer::Daemon::Start()
{
    AddressList addresses;
    const addrinfo hints
        = { AI_NUMERICHOST | AI_NUMERICSERV | AI_PASSIVE, AF_UNSPEC, SOCK_STREAM, 0, 0, nullptr, nullptr, nullptr };
    if (getaddrinfo(m_options.Address.toLatin1().constData(), QByteArray::number(m_options.Port).constData(), &hints,
                    &addresses.First)
        != 0)
        throw Error(InvalidCall, u"\"%1\" is no address"_s.arg(m_options.Address), u"HttpServer::Start()"_s);

    const bool isSecure = !m_options.Certificate.isEmpty();
    unsigned flags = MHD_USE_EPOLL_INTERNAL_THREAD | MHD_ALLOW_SUSPEND_RESUME | MHD_USE_ERROR_LOG;
    if (addresses.First->ai_family == AF_INET6)
        flags |= MHD_USE_IPv6;
    if (isSecure)
        flags |= MHD_USE_TLS;

    const auto onMessage = [](void *self, MHD_Connection *connection, const char *path, const char *method, const char *version,
                              const char *bytes, size_t *size, void **request) {
        return static_cast<Daemon *>(self)->Receive(connection, path, method, version, bytes, size,
                                                    *reinterpret_cast<Request **>(request));
    };
    const auto onEnd = [](void *self, MHD_Connection *connection, void **request, MHD_RequestTerminationCode) {
        static_cast<Daemon *>(self)->End(connection, *reinterpret_cast<Request **>(request));
    };
    const auto onAccept = [](void *self, const sockaddr *peer, socklen_t) {
        const IpAddress address(peer);
        auto *daemon = static_cast<Daemon *>(self);
        return daemon->m_options.Proxies.Contains(address) || daemon->HasRoom(address.Network()) ? MHD_YES : MHD_NO;
    };
    const auto onConnection = [](void *self, MHD_Connection *connection, void **socket, MHD_ConnectionNotificationCode code) {
        static_cast<Daemon *>(self)->Notify(connection, socket, code);
    };
    const MHD_OptionItem security[] = {
        { MHD_OPTION_HTTPS_MEM_CERT, 0, const_cast<char *>(m_options.Certificate.constData()) },
        { MHD_OPTION_HTTPS_MEM_KEY, 0, const_cast<char *>(m_options.Key.constData()) },
        { MHD_OPTION_HTTPS_PRIORITIES, 0, const_cast<char *>(Priorities) },
        { MHD_OPTION_END, 0, nullptr },
    };
    const MHD_OptionItem none[] = { { MHD_OPTION_END, 0, nullptr } };

    // The log comes first: it is to hear of the other options.
    m_daemon = MHD_start_daemon(flags, m_options.Port, static_cast<MHD_AcceptPolicyCallback>(onAccept), this,
                                static_cast<MHD_AccessHandlerCallback>(onMessage), this, MHD_OPTION_EXTERNAL_LOGGER,
                                &Daemon::Log, this, MHD_OPTION_SOCK_ADDR, addresses.First->ai_addr, MHD_OPTION_THREAD_POOL_SIZE,
                                Threads, MHD_OPTION_CONNECTION_LIMIT, std::max(m_options.Connections, Threads),
                                MHD_OPTION_CONNECTION_MEMORY_LIMIT, HeaderMemory, MHD_OPTION_CONNECTION_TIMEOUT,
                                static_cast<unsigned>(m_options.Silence.count()), MHD_OPTION_STRICT_FOR_CLIENT, 1,
                                MHD_OPTION_NOTIFY_COMPLETED, static_cast<MHD_RequestCompletedCallback>(onEnd), this,
                                MHD_OPTION_NOTIFY_CONNECTION, static_cast<MHD_NotifyConnectionCallback>(onConnection), this,
                                MHD_OPTION_ARRAY, isSecure ? security : none, MHD_OPTION_END);
    m_hasStarted = true;
    const std::lock_guard lock(m_mutex);
    if (!m_daemon)
        throw Error(InvalidCall, m_lastWords.isEmpty() ? u"The service cannot be started"_s : m_lastWords,
                    u"HttpServer::Start()"_s);
}

bool HttpServer::Daemon::HasRoom(const QString &network)
{
    const std::lock_guard lock(m_mutex);
    return m_crowd.value(network) < m_options.ConnectionsOfOneAddress;
}

void HttpServer::Daemon::Count(const QString &network, bool comes)
{
    const std::lock_guard lock(m_mutex);
    unsigned &count = m_crowd[network];
    comes ? ++count : --count;
    if (count == 0)
        m_crowd.remove(network);
}

void HttpServer::Daemon::Notify(MHD_Connection *connection, void **socket, MHD_ConnectionNotificationCode code)
{
    const bool comes = code == MHD_CONNECTION_NOTIFY_STARTED;
    if (comes) {
        const int descriptor = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD)->connect_fd;
        const IpAddress peer(MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CLIENT_ADDRESS)->client_addr);
        *socket = new Socket{ descriptor, peer, true, m_clock() };
    }
    auto *changed = static_cast<Socket *>(*socket);
    if (!m_options.Proxies.Contains(changed->Peer))
        Count(changed->Peer.Network(), comes);
    const std::lock_guard lock(m_mutex);
    if (comes) {
        m_sockets.insert(changed);
    } else {
        m_sockets.erase(changed);
        delete changed;
    }
}

HttpServer::Daemon::Socket *HttpServer::Daemon::SocketOf(MHD_Connection *connection)
{
    return static_cast<Socket *>(MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT)->socket_context);
}

void HttpServer::Daemon::Mark(MHD_Connection *connection, bool isReceiving)
{
    Socket *socket = SocketOf(connection);
    const std::lock_guard lock(m_mutex);
    socket->IsReceiving = isReceiving;
    socket->Since = m_clock();
}

MHD_Result HttpServer::Daemon::Begin(MHD_Connection *connection, const char *version, Request &request)
{
    const std::vector<HeaderLine> lines = HeaderLines(connection);
    if (IsAmbiguous(lines, version))
        return SendText(connection, MHD_HTTP_BAD_REQUEST, "Where this request ends is not clear.\n");
    const IpAddress &peer = SocketOf(connection)->Peer;
    const QByteArray forwardedFor = ValuesOf(lines, "X-Forwarded-For").join(',');
    request.Network = m_options.Proxies.Origin(peer, forwardedFor).Network();
    // A proxy has many connections, so its requests count in their place.
    if (m_options.Proxies.Contains(peer)) {
        if (!HasRoom(request.Network))
            return SendText(connection, MHD_HTTP_TOO_MANY_REQUESTS, "Too many requests at once.\n");
        Count(request.Network, true);
        request.IsCounted = true;
    }
    const QByteArrayList lengths = ValuesOf(lines, MHD_HTTP_HEADER_CONTENT_LENGTH);
    if (!lengths.isEmpty() && lengths.first().toULongLong() > quint64(LongestSwallowed))
        return SendText(connection, MHD_HTTP_CONTENT_TOO_LARGE, "The message is too long.\n");
    return MHD_YES;
}

void HttpServer::Daemon::End(MHD_Connection *connection, Request *&request)
{
    if (request && request->IsCounted)
        Count(request->Network, false);
    delete request;
    request = nullptr;
    Mark(connection, true);
}

// Called once with the headers, then with each piece of the body, and at last
// without one; once more when a suspended connection goes on.
MHD_Result HttpServer::Daemon::Receive(MHD_Connection *connection, const char *path, const char *method, const char *version,
                                       const char *bytes, size_t *size, Request *&request)
{
    try {
        if (!request) {
            request = new Request;
            return Begin(connection, version, *request);
        }
        if (*size > 0) {
            request->Received += static_cast<qsizetype>(*size);
            if (request->Received > LongestSwallowed)
                return MHD_NO;
            if (request->Received <= LongestBody)
                request->Body.append(bytes, static_cast<qsizetype>(*size));
            *size = 0;
            return MHD_YES;
        }
        Mark(connection, false);
        return Answer(connection, path, method, *request);
    } catch (const std::exception &error) {
        qWarning("%s", error.what());
        return SendText(connection, MHD_HTTP_INTERNAL_SERVER_ERROR, "The service has a problem of its own.\n");
    }
}

MHD_Result HttpServer::Daemon::Answer(MHD_Connection *connection, const char *path, QByteArrayView method, Request &request)
{
    if (request.Received > LongestBody)
        return SendText(connection, MHD_HTTP_CONTENT_TOO_LARGE, "The message is too long.\n");
    if (std::strcmp(path, Path) != 0)
        return SendText(connection, MHD_HTTP_NOT_FOUND, "There is nothing here.\n");
    if (method == QByteArrayView("POST"))
        return AnswerPost(connection, request);
    if (method == QByteArrayView("GET") || method == QByteArrayView("HEAD"))
        return AnswerGet(connection, request);
    return SendText(connection, MHD_HTTP_METHOD_NOT_ALLOWED, "GET, HEAD or POST.\n");
}

MHD_Result HttpServer::Daemon::AnswerPost(MHD_Connection *connection, Request &request)
{
    if (request.Status != 0)
        return SendText(connection, request.Status, request.Message);
    if (const auto message = m_responder.AnswerAtOnce(request.Body, request.Network))
        return SendText(connection, MHD_HTTP_OK, *message);
    // Suspended first: a worker may be ready before this function returns.
    MHD_suspend_connection(connection);
    const bool isTaken = m_workers.Add([this, connection, &request](bool isItsTurn) {
        AnswerLater(request, isItsTurn);
        MHD_resume_connection(connection);
    });
    if (!isTaken) {
        request.Status = MHD_HTTP_TOO_MANY_REQUESTS;
        request.Message = Responder::BusyReply();
        MHD_resume_connection(connection);
    }
    return MHD_YES;
}

void HttpServer::Daemon::AnswerLater(Request &request, bool isItsTurn)
{
    request.Status = MHD_HTTP_SERVICE_UNAVAILABLE;
    if (!isItsTurn)
        return;
    try {
        request.Message = m_responder.Answer(request.Body, request.Network);
        request.Status = MHD_HTTP_OK;
    } catch (const std::exception &error) {
        qWarning("%s", error.what());
    }
}

MHD_Result HttpServer::Daemon::AnswerGet(MHD_Connection *connection, Request &request)
{
    const QString exam = Argument(connection, "eid");
    Responder::Admission admission = m_responder.Admit(Argument(connection, "sid"), exam);
    if (admission.Answer == Responder::Access::NoSession)
        return SendText(connection, MHD_HTTP_FORBIDDEN, "You are not logged on, or not any more.\n");
    if (!Store::IsExamId(exam))
        return SendText(connection, MHD_HTTP_NOT_FOUND, "There is no such exam.\n");
    if (admission.Answer == Responder::Access::NotBought)
        return SendText(connection, MHD_HTTP_FORBIDDEN, "You do not have this exam.\n");
    const auto [file, size] = OpenPack(m_options.Packs, exam);
    if (file < 0)
        return SendText(connection, MHD_HTTP_NOT_FOUND, "The pack of this exam is not there.\n");
    MHD_Response *response = PackResponse(file, size, m_options.Rate);
    request.Session.emplace(*std::move(admission.Session));
    return Send(connection, MHD_HTTP_OK, response, "application/octet-stream");
}

HttpServer::HttpServer(Responder &responder, const Options &options, MonotonicClock clock)
    : m_daemon(std::make_unique<Daemon>(responder, options, std::move(clock)))
{
}

HttpServer::~HttpServer() = default;

QString HttpServer::Endpoint() const
{
    return m_daemon->Endpoint();
}

void HttpServer::CloseOverdue()
{
    m_daemon->CloseOverdue();
}
