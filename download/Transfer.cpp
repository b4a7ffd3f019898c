#include "download/Transfer.h"

#include "common/Ansi.h"
#include "common/Error.h"

#include <QEventLoop>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int MostRedirections = 10;
constexpr qint64 ReadBuffer = 512 * 1024; // bytes
constexpr int FirstError = 400; // of the HTTP status codes
// The visible characters of ASCII that are sent as they are.
constexpr char AsTheyAre[] = "!$&'()*+,/:;=?@[]";

}

Transfer::Transfer(QObject *parent)
    : QObject(parent)
{
    m_silence.setSingleShot(true);
    connect(&m_silence, &QTimer::timeout, this, &Transfer::Silent);
}

Transfer::~Transfer()
{
    Cancel();
}

void Transfer::SetTimeouts(int connectTime, int silenceTime)
{
    m_connectTime = connectTime;
    m_silenceTime = silenceTime;
}

QNetworkRequest Transfer::Request(const QString &url) const
{
    const qsizetype question = url.indexOf(u'?');
    QUrl address(url.left(question), QUrl::StrictMode);
    const bool isWeb = address.scheme() == "http"_L1 || address.scheme() == "https"_L1;
    if (m_isExecuting || !isWeb || address.host().isEmpty())
        throw Error::RunTime(InvalidCall, u"Transfer::Execute()"_s);
    if (question >= 0) {
        QByteArray query = Ansi::FromText(url.mid(question + 1)).toPercentEncoding(AsTheyAre);
        address.setQuery(QString::fromLatin1(query.replace("%25", "%")));
    }
    return QNetworkRequest(address);
}

void Transfer::Execute(const QString &url, const QByteArray &operation, const QByteArray &body, const QByteArray &header)
{
    QNetworkRequest request = Request(url);
    Release();
    ++m_round;
    m_isExecuting = true;
    m_isBrokenOff = m_hasHeader = m_hasEnded = false;
    m_announced = -1;
    m_received = 0;
    m_responseCode = 0;
    m_responseInfo.clear();

    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setMaximumRedirectsAllowed(MostRedirections);
    // Otherwise the library would unpack a body by itself, and its length would
    // no longer be the one announced.
    request.setRawHeader("Accept-Encoding", "identity");
    const qsizetype colon = header.indexOf(':');
    if (colon > 0)
        request.setRawHeader(header.left(colon), header.mid(colon + 1).trimmed());
    m_reply = operation == "GET" ? m_manager.get(request) : m_manager.sendCustomRequest(request, operation, body);
    // A request with a body starts by an event of its own; told before, it would
    // not pass this on.
    QMetaObject::invokeMethod(
        m_reply, [reply = m_reply.data()] { reply->setReadBufferSize(ReadBuffer); }, Qt::QueuedConnection);
    connect(m_reply, &QNetworkReply::metaDataChanged, this, &Transfer::HeaderArrived);
    connect(m_reply, &QNetworkReply::finished, this, &Transfer::Ended);
    connect(m_reply, &QNetworkReply::requestSent, this, [this] { m_silence.start(m_silenceTime); });
    connect(m_reply, &QNetworkReply::readyRead, this, [this] { m_silence.start(m_silenceTime); });
    m_silence.start(m_connectTime);
    Raise(Requesting);
}

// From the event loop: whoever executes a request, or reads a body, does not
// expect to be called from inside, and a handler may wait for long, which the
// reply's own signals must not.
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

// The reply must neither be aborted nor be deleted while one of its own signals
// is on the way. A waiting GetChunk is woken by its end.
void Transfer::Release()
{
    if (!m_reply)
        return;
    m_reply->disconnect(this);
    QMetaObject::invokeMethod(
        m_reply,
        [reply = m_reply.data()] {
            if (reply->isRunning())
                reply->abort();
            reply->deleteLater();
        },
        Qt::QueuedConnection);
    m_reply.clear();
}

void Transfer::Cancel()
{
    m_silence.stop();
    ++m_round;
    m_isBrokenOff = true;
    m_isExecuting = false;
    m_hasEnded = true;
    Release();
}

void Transfer::Fail(qint32 code, const QString &text)
{
    m_silence.stop();
    m_responseCode = code;
    m_responseInfo = text;
    m_isBrokenOff = true;
    m_isExecuting = false;
    m_hasEnded = true;
    Release();
    Raise(Failed);
}

void Transfer::Silent()
{
    // A body that nobody has fetched yet is not silence.
    if (m_reply && m_reply->bytesAvailable() > 0) {
        m_silence.start(m_silenceTime);
        return;
    }
    Fail(QNetworkReply::TimeoutError, m_hasHeader ? u"The server does not go on"_s : u"The server does not answer"_s);
}

void Transfer::HeaderArrived()
{
    const int status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const bool isRedirection = status >= 300 && status < FirstError && m_reply->hasRawHeader("Location");
    // Interim answers and redirections are the library's matter.
    if (m_hasHeader || status < 200 || isRedirection)
        return;
    const QString reason = m_reply->attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString();
    if (status >= FirstError) {
        Fail(status, reason);
        return;
    }
    m_hasHeader = true;
    // Said again, it has the library look at the connection again, which may
    // have broken right behind the headers; Wine does not tell of that by itself.
    m_reply->setReadBufferSize(ReadBuffer);
    m_responseCode = status;
    m_responseInfo = reason;
    bool isNumber = false;
    const qint64 length = m_reply->rawHeader("Content-Length").toLongLong(&isNumber);
    m_announced = isNumber && length >= 0 ? length : -1;
    m_silence.start(m_silenceTime);
    Raise(Completed);
}

void Transfer::Ended()
{
    m_hasEnded = true;
    if (m_hasHeader) {
        m_silence.stop();
        return;
    }
    const QNetworkReply::NetworkError error = m_reply->error();
    Fail(error == QNetworkReply::NoError ? qint32(QNetworkReply::ProtocolFailure) : qint32(error), m_reply->errorString());
}

QByteArray Transfer::GetHeader(const QByteArray &name) const
{
    return m_reply ? m_reply->rawHeader(name) : QByteArray();
}

QByteArray Transfer::GetChunk(qsizetype size)
{
    const auto broken = [](const QString &text) { return Error(InvalidCall, text, u"Transfer::GetChunk()"_s); };
    const quint32 round = m_round;
    while (round == m_round && m_reply && m_reply->bytesAvailable() == 0 && !m_hasEnded) {
        QEventLoop wait;
        connect(m_reply, &QNetworkReply::readyRead, &wait, &QEventLoop::quit);
        connect(m_reply, &QNetworkReply::finished, &wait, &QEventLoop::quit);
        connect(m_reply, &QObject::destroyed, &wait, &QEventLoop::quit);
        // No loop runs any more when the program is about to end.
        if (wait.exec() < 0)
            Cancel();
    }
    if (m_isBrokenOff || round != m_round)
        return {};
    if (!m_reply)
        return {};
    if (m_reply->bytesAvailable() > 0) {
        const QByteArray chunk = m_reply->read(size);
        m_received += chunk.size();
        return chunk;
    }
    m_isExecuting = false;
    if (m_reply->error() != QNetworkReply::NoError)
        throw broken(m_reply->errorString());
    if (m_announced >= 0 && m_received < m_announced)
        throw broken(u"The connection ended before the whole answer was here"_s);
    return {};
}
