// SPDX-License-Identifier: Apache-2.0
#include "download/Transfer.h"

#include "common/Ansi.h"
#include "common/Error.h"
#include "download/HttpExchange.h"

#include <QCoreApplication>
#include <QEventLoop>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int MostRedirections = 10;
constexpr int SeeOther = 303; // of the HTTP status codes
constexpr int FirstError = 400;
// The visible characters of ASCII that are sent as they are.
constexpr char AsTheyAre[] = "!$&'()*+,/:;=?@[]";

bool IsWeb(const QUrl &address)
{
    return (address.scheme() == "http"_L1 || address.scheme() == "https"_L1) && !address.host().isEmpty();
}

QUrl AddressOf(const QString &url)
{
    const qsizetype question = url.indexOf(u'?');
    QUrl address(url.left(question), QUrl::StrictMode);
    if (question >= 0) {
        QByteArray query = Ansi::FromText(url.mid(question + 1)).toPercentEncoding(AsTheyAre);
        address.setQuery(QString::fromLatin1(query.replace("%25", "%")));
    }
    return address;
}

}

Transfer::Transfer(QObject *parent)
    : QObject(parent)
    , m_loop(std::make_unique<CurlLoop>())
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &Transfer::TimeIsUp);
    connect(m_loop.get(), &CurlLoop::HasRun, this, &Transfer::LoopHasRun);
}

Transfer::~Transfer()
{
    Cancel();
}

void Transfer::SetTimeouts(int connectTime, int silenceTime, int headerTime)
{
    m_connectTime = connectTime;
    m_silenceTime = silenceTime;
    m_headerTime = headerTime;
}

void Transfer::Execute(const QString &url, const QByteArray &operation, const QByteArray &body, const QByteArray &header)
{
    const QUrl address = AddressOf(url);
    if (m_isExecuting || !IsWeb(address))
        throw Error::RunTime(InvalidCall, u"Transfer::Execute()"_s);
    m_operation = operation;
    m_requestBody = body;
    m_header = header;
    m_redirections = 0;
    ++m_round;
    m_isBrokenOff = m_hasEnded = false;
    m_responseCode = 0;
    m_responseInfo.clear();
    Request(address);
    m_isExecuting = true;
    Raise(Requesting);
}

void Transfer::Request(const QUrl &address)
{
    m_address = address;
    m_breakText.clear();
    m_received = 0;
    // The one before gives its connection back first.
    m_exchange.reset();
    m_exchange
        = std::make_unique<HttpExchange>(*m_loop, address.toEncoded(QUrl::RemoveFragment | QUrl::RemoveUserInfo), m_operation,
                                         m_requestBody, m_header.isEmpty() ? QByteArrayList() : QByteArrayList{ m_header });
    Enter(Phase::Connecting);
}

void Transfer::Enter(Phase phase)
{
    m_phase = phase;
    m_timer.start(phase == Phase::Connecting ? m_connectTime : phase == Phase::Heading ? m_headerTime : m_silenceTime);
}

// From the event loop: whoever executes a request, or reads a body, must not be
// called from inside that, and a handler may wait for long, which libcurl cannot.
void Transfer::Raise(State state)
{
    QMetaObject::invokeMethod(
        this,
        [this, state, round = m_round] {
            if (round == m_round)
                Q_EMIT StateChanged(state);
        },
        Qt::QueuedConnection);
}

void Transfer::Cancel()
{
    m_timer.stop();
    ++m_round;
    m_isBrokenOff = true;
    m_isExecuting = false;
    m_hasEnded = true;
    m_exchange.reset();
    Q_EMIT Advanced({});
}

void Transfer::Fail(qint32 code, const QString &text)
{
    m_timer.stop();
    m_responseCode = code;
    m_responseInfo = text;
    m_isBrokenOff = true;
    m_isExecuting = false;
    m_hasEnded = true;
    m_exchange.reset();
    Raise(Failed);
    Q_EMIT Advanced({});
}

void Transfer::TimeIsUp()
{
    // A body that nobody has fetched yet is not silence.
    if (m_phase == Phase::Receiving && m_exchange->Available() > 0) {
        Enter(Phase::Receiving);
        return;
    }
    Fail(CURLE_OPERATION_TIMEDOUT,
         m_phase == Phase::Receiving ? u"The server does not go on"_s : u"The server does not answer"_s);
}

void Transfer::LoopHasRun(std::optional<int> result)
{
    if (!m_exchange || m_hasEnded)
        return;
    if (m_phase != Phase::Receiving && m_exchange->HasHeaders() && !HeadersArrived())
        return;
    if (m_phase == Phase::Receiving && m_exchange->Received() > m_received) {
        m_received = m_exchange->Received();
        Enter(Phase::Receiving);
    } else if (m_phase == Phase::Connecting && m_exchange->IsSent()) {
        Enter(Phase::Waiting);
    }
    if (m_phase == Phase::Waiting && m_exchange->HasBegun())
        Enter(Phase::Heading);
    if (result || m_exchange->IsRefused())
        Ended(result.value_or(CURLE_WRITE_ERROR));
    Q_EMIT Advanced({});
}

// False when there is nothing more to read of this answer.
bool Transfer::HeadersArrived()
{
    const int status = m_exchange->Status();
    const QByteArray location = m_exchange->Redirection();
    if (!location.isEmpty())
        return Redirect(location);
    const QString reason = m_exchange->Reason();
    if (status >= FirstError) {
        Fail(status, reason);
        return false;
    }
    m_responseCode = status;
    m_responseInfo = reason;
    Enter(Phase::Receiving);
    Raise(Completed);
    return true;
}

bool Transfer::Redirect(const QByteArray &location)
{
    const QUrl target = m_address.resolved(QUrl::fromEncoded(location));
    if (++m_redirections > MostRedirections) {
        Fail(CURLE_TOO_MANY_REDIRECTS, u"The server redirects too often"_s);
    } else if (!IsWeb(target) || (m_address.scheme() == "https"_L1 && target.scheme() != m_address.scheme())) {
        Fail(CURLE_UNSUPPORTED_PROTOCOL, u"The server redirects to an address that is not safe"_s);
    } else {
        if (m_exchange->Status() == SeeOther) {
            m_operation = "GET";
            m_requestBody.clear();
            m_header.clear();
        }
        // This runs below the event loop, where nothing may be raised.
        try {
            Request(target);
        } catch (const std::exception &) {
            Fail(CURLE_OUT_OF_MEMORY, u"The request cannot be started"_s);
        }
    }
    return false;
}

// A body that ends early is told to its reader; what went wrong before, or is no
// answer of HTTP any more, is a failed request.
void Transfer::Ended(int result)
{
    const auto code = static_cast<CURLcode>(result);
    const QString text = m_exchange->TextOf(code);
    m_timer.stop();
    m_hasEnded = true;
    if (m_phase != Phase::Receiving)
        Fail(code == CURLE_OK ? CURLE_WEIRD_SERVER_REPLY : code, text);
    else if (m_exchange->IsRefused() || (code != CURLE_OK && m_exchange->IsInChunks()))
        Fail(code, text);
    else if (code != CURLE_OK)
        m_breakText = text;
}

QByteArray Transfer::GetHeader(const QByteArray &name) const
{
    return m_exchange ? m_exchange->Header(name) : QByteArray();
}

bool Transfer::IsEncoded() const
{
    const QByteArray encoding = GetHeader("Content-Encoding").trimmed().toLower();
    return !encoding.isEmpty() && encoding != "identity";
}

QByteArray Transfer::GetChunk(qsizetype size)
{
    const quint32 round = m_round;
    const auto isWaiting = [&] { return round == m_round && !m_hasEnded && m_exchange->Available() == 0; };
    while (isWaiting()) {
        // Not every loop below sees what was posted before it began.
        QCoreApplication::sendPostedEvents();
        if (!isWaiting())
            break;
        QEventLoop wait;
        connect(this, &Transfer::Advanced, &wait, &QEventLoop::quit);
        // No loop runs any more when the program is about to end.
        if (wait.exec() < 0)
            Cancel();
    }
    if (m_isBrokenOff || round != m_round || !m_exchange)
        return {};
    if (m_exchange->Available() > 0) {
        const bool wasPaused = m_exchange->IsPaused();
        const QByteArray chunk = m_exchange->Take(size);
        if (wasPaused && !m_exchange->IsPaused() && !m_hasEnded)
            Enter(Phase::Receiving);
        return chunk;
    }
    m_isExecuting = false;
    if (!m_breakText.isEmpty())
        throw Error(InvalidCall, m_breakText, u"Transfer::GetChunk()"_s);
    return {};
}
