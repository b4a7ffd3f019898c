// SPDX-License-Identifier: Apache-2.0
#include "download/HttpExchange.h"

#include "common/Error.h"
#include "download/Sockets.h"

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int FirstError = 400; // of the HTTP status codes
constexpr int FirstFinal = 200;
constexpr long ReadBuffer = 256 * 1024; // bytes
// A chunk of one byte comes in a frame of five. Anything much beyond that says
// nothing but goes on.
constexpr qint64 MostFrame = 8;
constexpr qint64 FrameAllowance = 1024 * 1024;

// An unpacked body would not have the length that was announced; and without the
// second line the library would wait for the server's consent to a long body.
curl_slist *HeadersOf(const HttpRequest &request)
{
    curl_slist *list = nullptr;
    for (const QByteArray &line : request.Headers + QByteArrayList{ "Accept-Encoding: identity", "Expect:" })
        list = curl_slist_append(list, line.constData());
    return list;
}

}

HttpExchange::HttpExchange(CurlLoop &loop, const HttpRequest &request)
    : m_loop(loop)
    , m_easy(curl_easy_init())
    , m_isFetching(request.Operation == "GET")
    , m_headers(HeadersOf(request))
{
    m_body.reserve(MostWaiting);
    bool isFine = m_easy && m_headers;
    const auto set
        = [&](CURLoption option, auto value) { isFine = isFine && curl_easy_setopt(m_easy, option, value) == CURLE_OK; };
    set(CURLOPT_URL, request.Url.constData());
    set(CURLOPT_PATH_AS_IS, 1L);
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    set(CURLOPT_HTTP_VERSION, long(CURL_HTTP_VERSION_1_1));
    set(CURLOPT_SSLVERSION, long(CURL_SSLVERSION_TLSv1_2));
    // Windows would ask the authority's servers inside this thread, and refuse a
    // certificate whose authority has none.
    set(CURLOPT_SSL_OPTIONS, long(CURLSSLOPT_NO_REVOKE));
    set(CURLOPT_SOCKOPTFUNCTION, &SocketCallback);
    set(CURLOPT_SOCKOPTDATA, this);
    // The environment does not configure this program.
    set(CURLOPT_PROXY, "");
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_QUICK_EXIT, 1L);
    set(CURLOPT_BUFFERSIZE, ReadBuffer);
    set(CURLOPT_HTTPHEADER, m_headers);
    // A service has packs for several systems.
    set(CURLOPT_USERAGENT, PRACTORIUM_USER_AGENT);
    if (!m_isFetching) {
        set(CURLOPT_POSTFIELDSIZE, long(request.Body.size()));
        set(CURLOPT_COPYPOSTFIELDS, request.Body.constData());
        set(CURLOPT_CUSTOMREQUEST, request.Operation.constData());
    }
    set(CURLOPT_ERRORBUFFER, m_error);
    set(CURLOPT_HEADERFUNCTION, &HeaderCallback);
    set(CURLOPT_HEADERDATA, this);
    set(CURLOPT_WRITEFUNCTION, &BodyCallback);
    set(CURLOPT_WRITEDATA, this);
    // The only place where the library shows what arrives before it takes the
    // frames of chunks away.
    set(CURLOPT_DEBUGFUNCTION, &DebugCallback);
    set(CURLOPT_DEBUGDATA, this);
    set(CURLOPT_VERBOSE, 1L);
    if (isFine && m_loop.Add(m_easy))
        return;
    curl_easy_cleanup(m_easy);
    curl_slist_free_all(m_headers);
    throw Error(InvalidCall, u"The request cannot be started"_s, u"HttpExchange::HttpExchange()"_s);
}

HttpExchange::~HttpExchange()
{
    m_loop.Remove(m_easy);
    curl_easy_cleanup(m_easy);
    curl_slist_free_all(m_headers);
}

bool HttpExchange::HasBegun() const
{
    curl_off_t time = 0;
    return curl_easy_getinfo(m_easy, CURLINFO_STARTTRANSFER_TIME_T, &time) == CURLE_OK && time > 0;
}

QByteArray HttpExchange::Header(const QByteArray &name) const
{
    QByteArrayList values;
    for (const Field &field : m_fields) {
        if (field.Name.compare(name, Qt::CaseInsensitive) == 0)
            values.append(field.Value);
    }
    return values.join(", ");
}

QString HttpExchange::TextOf(int result) const
{
    if (IsRefused())
        return m_refusal;
    return QString::fromUtf8(m_error[0] ? m_error : curl_easy_strerror(static_cast<CURLcode>(result)));
}

QByteArray HttpExchange::Take(qsizetype size)
{
    const QByteArray taken = m_body.mid(m_taken, size);
    m_taken += taken.size();
    if (m_isPaused && Available() < MostWaiting / 2) {
        m_isPaused = false;
        curl_easy_pause(m_easy, CURLPAUSE_CONT);
    }
    return taken;
}

bool HttpExchange::Refuse(const QString &text)
{
    m_refusal = text;
    return false;
}

int HttpExchange::SocketCallback(void *exchange, curl_socket_t socket, curlsocktype) noexcept
{
    Sockets::KeepFromChildren(socket);
    static_cast<HttpExchange *>(exchange)->m_loop.Opened(socket);
    return CURL_SOCKOPT_OK;
}

size_t HttpExchange::HeaderCallback(char *bytes, size_t, size_t count, void *exchange) noexcept
{
    auto *self = static_cast<HttpExchange *>(exchange);
    const bool goesOn = self->TakeHeader(QByteArray::fromRawData(bytes, static_cast<qsizetype>(count)));
    return goesOn ? count : 0;
}

// False gives the answer up, or leaves its body unread.
bool HttpExchange::TakeHeader(const QByteArray &line)
{
    m_headerBytes += line.size();
    if (m_headerBytes > MostHeaderBytes)
        return Refuse(u"The server's headers are too long"_s);
    if (m_hasHeaders)
        return true;
    if (!m_isInHeaders) {
        TakeStatus(line);
        return m_status >= FirstFinal || ++m_informational <= MostInformational
            || Refuse(u"The server does not come to its answer"_s);
    }
    if (line != "\r\n" && line != "\n")
        return TakeField(line);
    m_isInHeaders = false;
    m_hasHeaders = m_status >= FirstFinal;
    return !m_hasHeaders || (m_status < FirstError && Redirection().isEmpty());
}

bool HttpExchange::TakeField(const QByteArray &line)
{
    // A line that begins with a blank goes on with the one before (RFC 9112).
    if (line.startsWith(' ') || line.startsWith('\t')) {
        if (!m_fields.empty())
            m_fields.back().Value += ' ' + line.trimmed();
        return true;
    }
    if (m_fields.size() == MostHeaders)
        return Refuse(u"The server's headers are too many"_s);
    const qsizetype colon = line.indexOf(':');
    m_fields.push_back({ line.left(colon).trimmed(), line.mid(colon + 1).trimmed() });
    const Field &field = m_fields.back();
    if (field.Name.compare("Transfer-Encoding", Qt::CaseInsensitive) != 0)
        return true;
    const bool isInChunks = field.Value.compare("chunked", Qt::CaseInsensitive) == 0;
    m_isInChunks = m_isInChunks || isInChunks;
    // Whoever fetches a file refuses the file, and goes on with the next one.
    return isInChunks || m_isFetching || Refuse(u"The server sends its answer encoded"_s);
}

void HttpExchange::TakeStatus(const QByteArray &line)
{
    m_isInHeaders = true;
    m_fields.clear();
    const qsizetype code = line.indexOf(' ') + 1;
    m_status = line.mid(code, 3).toInt();
    m_reason = QString::fromLatin1(line.mid(code + 3).trimmed());
}

size_t HttpExchange::BodyCallback(char *bytes, size_t, size_t count, void *exchange) noexcept
{
    auto *self = static_cast<HttpExchange *>(exchange);
    const auto size = static_cast<qsizetype>(count);
    if (self->Available() + size > MostWaiting) {
        self->m_isPaused = true;
        return CURL_WRITEFUNC_PAUSE;
    }
    self->m_body.remove(0, self->m_taken);
    self->m_taken = 0;
    self->m_body.append(bytes, size);
    self->m_received += size;
    return count;
}

int HttpExchange::DebugCallback(CURL *, curl_infotype type, char *, size_t count, void *exchange) noexcept
{
    auto *self = static_cast<HttpExchange *>(exchange);
    if (type == CURLINFO_HEADER_OUT || type == CURLINFO_DATA_OUT)
        self->m_isSent = true;
    if (type != CURLINFO_DATA_IN)
        return 0;
    self->m_onTheWire += static_cast<qint64>(count);
    if (self->m_onTheWire > FrameAllowance + MostFrame * self->m_received)
        self->Refuse(u"The server does not come to its answer"_s);
    return 0;
}

HttpTransport::HttpTransport(QObject *parent)
    : Transport(parent)
{
    connect(&m_loop, &CurlLoop::HasRun, this, &Transport::HasRun);
}

std::unique_ptr<Exchange> HttpTransport::Start(const HttpRequest &request)
{
    return std::make_unique<HttpExchange>(m_loop, request);
}
