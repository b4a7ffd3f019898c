// SPDX-License-Identifier: Apache-2.0
#include "download/Transfer.h"

#include "common/Ansi.h"
#include "common/Error.h"

#include <QCoreApplication>
#include <QEventLoop>

#include <curl/curl.h>

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

Transfer::Transfer(std::unique_ptr<Transport> transport, QObject *parent)
    : QObject(parent)
    , m_transport(std::move(transport))
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &Transfer::TimeIsUp);
    connect(m_transport.get(), &Transport::HasRun, this, &Transfer::TransportHasRun);
}

Transfer::~Transfer()
{
    Cancel();
}

void Transfer::Execute(const QString &url, const QByteArray &operation, const QByteArray &body, const QByteArray &header)
{
    const QUrl address = AddressOf(url);
    if (StillExecuting() || !IsWeb(address))
        throw Error::RunTime(InvalidCall, u"Transfer::Execute()"_s);
    m_firstAddress = address;
    m_firstRequest = m_request = { {}, operation, body, header.isEmpty() ? QByteArrayList() : QByteArrayList{ header } };
    m_redirections = 0;
    m_resumption.Reset();
    m_break.reset();
    ++m_serial;
    m_stage = Stage::Idle;
    m_responseCode = 0;
    m_responseInfo.clear();
    Request(address);
    Raise(Requesting);
}

void Transfer::Request(const QUrl &address)
{
    m_address = address;
    m_request.Url = address.toEncoded(QUrl::RemoveFragment | QUrl::RemoveUserInfo);
    m_received = 0;
    // The one before gives its connection back first.
    m_exchange.reset();
    m_exchange = m_transport->Start(m_request);
    Enter(Stage::Connecting);
}

// The stage begins, or its time begins again.
void Transfer::Enter(Stage stage)
{
    m_stage = stage;
    m_timer.start(stage == Stage::Connecting ? m_times.Connect : stage == Stage::InHeaders ? m_times.Headers : m_times.Idle);
}

// From the event loop: whoever executes a request, or reads a body, must not be
// called from inside that, and a handler may wait for long, which libcurl cannot.
void Transfer::Raise(State state)
{
    QMetaObject::invokeMethod(
        this,
        [this, state, serial = m_serial] {
            if (serial == m_serial)
                Q_EMIT StateChanged(state);
        },
        Qt::QueuedConnection);
}

void Transfer::BreakOff()
{
    m_timer.stop();
    m_stage = Stage::BrokenOff;
    m_exchange.reset();
    Q_EMIT Advanced({});
}

void Transfer::Cancel()
{
    ++m_serial;
    BreakOff();
}

// A try to get the rest that fails is followed by the next.
void Transfer::Fail(qint32 code, const QString &text)
{
    if (m_break) {
        Retry();
        return;
    }
    m_responseCode = code;
    m_responseInfo = text;
    Raise(Failed);
    BreakOff();
}

void Transfer::TimeIsUp()
{
    const bool isReceiving = m_stage == Stage::Receiving;
    const QString text = isReceiving ? u"The server does not go on"_s : u"The server does not answer"_s;
    // It is not the server that is idle while nobody fetches what has arrived.
    if (isReceiving && HasMore())
        Enter(Stage::Receiving);
    else if (m_stage == Stage::Pausing)
        RequestAgain();
    else if (isReceiving && m_resumption.IsPossible())
        CutShort({ true, CURLE_OPERATION_TIMEDOUT, text });
    else
        Fail(CURLE_OPERATION_TIMEDOUT, text);
}

void Transfer::CutShort(const Break &reason)
{
    m_timer.stop();
    m_stage = Stage::CutShort;
    m_break = reason;
    Q_EMIT Advanced({});
}

// Has the rest asked for after a pause, if there is to be another try; the break is
// final otherwise.
void Transfer::Retry()
{
    m_exchange.reset();
    if (const auto pause = m_resumption.NextPause(m_times.Pause)) {
        m_stage = Stage::Pausing;
        m_timer.start(*pause);
        return;
    }
    m_timer.stop();
    const Break reason = *std::exchange(m_break, std::nullopt);
    if (reason.IsFailure) {
        Fail(reason.Code, reason.Text);
        return;
    }
    m_stage = Stage::Lost;
    m_lossText = reason.Text;
    Q_EMIT Advanced({});
}

// From the address at which the file was asked for first: what it redirected to may
// have been for that moment only.
void Transfer::RequestAgain()
{
    m_redirections = 0;
    m_request = m_firstRequest;
    m_request.Headers += m_resumption.Headers();
    Start(m_firstAddress);
}

// Requests from below the event loop, where nothing may be raised.
void Transfer::Start(const QUrl &address)
{
    try {
        Request(address);
    } catch (const std::exception &) {
        Fail(CURLE_OUT_OF_MEMORY, u"The request cannot be started"_s);
    }
}

void Transfer::TransportHasRun(std::optional<int> result)
{
    if (!IsUnderWay() || !m_exchange)
        return;
    if (m_stage != Stage::Receiving && m_exchange->HasHeaders() && !HeadersArrived())
        return;
    if (m_stage == Stage::Receiving && m_exchange->Received() > m_received) {
        m_received = m_exchange->Received();
        Enter(Stage::Receiving);
    } else if (m_stage == Stage::Connecting && m_exchange->IsSent()) {
        Enter(Stage::Waiting);
    }
    if (m_stage == Stage::Waiting && m_exchange->HasBegun())
        Enter(Stage::InHeaders);
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
    if (m_break)
        return RestArrived();
    const QString reason = m_exchange->Reason();
    if (status >= FirstError) {
        Fail(status, reason);
        return false;
    }
    m_responseCode = status;
    m_responseInfo = reason;
    if (m_firstRequest.Operation == "GET")
        m_resumption.Begin(*m_exchange);
    Enter(Stage::Receiving);
    Raise(Completed);
    return true;
}

// The reader goes on with this answer, if it can.
bool Transfer::RestArrived()
{
    const Resumption::Answer answer = m_resumption.Judge(*m_exchange);
    if (answer == Resumption::Answer::Neither) {
        Retry();
        return false;
    }
    if (answer == Resumption::Answer::Whole) {
        m_resumption.Begin(*m_exchange);
        ++m_restarts;
    }
    m_break.reset();
    Enter(Stage::Receiving);
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
        if (m_exchange->Status() == SeeOther)
            m_request = { {}, "GET", {}, m_break ? m_resumption.Headers() : QByteArrayList() };
        Start(target);
    }
    return false;
}

// A body that ends early is reported to its reader; what went wrong before, or is
// no answer of HTTP any more, is a failed request.
void Transfer::Ended(int result)
{
    const QString text = m_exchange->TextOf(result);
    const bool isBroken = m_exchange->IsRefused() || (result != CURLE_OK && m_exchange->IsInChunks());
    if (m_stage != Stage::Receiving) {
        Fail(result == CURLE_OK ? CURLE_WEIRD_SERVER_REPLY : result, text);
    } else if (isBroken) {
        Fail(result, text);
    } else if (result == CURLE_OK) {
        m_timer.stop();
        m_stage = Stage::Arrived;
    } else {
        CutShort({ false, result, text });
    }
}

QByteArray Transfer::GetHeader(const QByteArray &name) const
{
    return m_exchange ? m_exchange->Header(name) : QByteArray();
}

bool Transfer::IsEncoded() const
{
    return m_exchange && IsContentEncoded(*m_exchange);
}

QByteArray Transfer::GetChunk(qsizetype size)
{
    const quint32 serial = m_serial;
    const auto hasToWait = [&] {
        // The rest is asked for when all that came before the break has been fetched.
        if (serial == m_serial && m_stage == Stage::CutShort && !HasMore())
            Retry();
        return serial == m_serial && IsUnderWay() && !HasMore();
    };
    while (hasToWait()) {
        // Not every loop below sees what was posted before it began.
        QCoreApplication::sendPostedEvents();
        if (!hasToWait())
            break;
        QEventLoop wait;
        connect(this, &Transfer::Advanced, &wait, &QEventLoop::quit);
        // No loop runs any more when the program is about to end.
        if (wait.exec() < 0)
            Cancel();
    }
    if (serial != m_serial || !StillExecuting())
        return {};
    if (HasMore()) {
        const bool wasPaused = m_exchange->IsPaused();
        const QByteArray chunk = m_exchange->Take(size);
        m_resumption.Took(chunk.size());
        if (wasPaused && !m_exchange->IsPaused() && m_stage == Stage::Receiving)
            Enter(Stage::Receiving);
        return chunk;
    }
    const bool isLost = m_stage == Stage::Lost;
    m_stage = isLost ? Stage::BrokenOff : Stage::Fetched;
    if (isLost)
        throw Error(InvalidCall, m_lossText, u"Transfer::GetChunk()"_s);
    return {};
}
