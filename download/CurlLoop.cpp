// SPDX-License-Identifier: Apache-2.0
#include "download/CurlLoop.h"

#include "common/Error.h"

#include <QSocketNotifier>

using namespace Qt::Literals::StringLiterals;

namespace {

// Once in the program, before anything else of the library.
CURLM *NewMulti()
{
    static const CURLcode isReady = curl_global_init(CURL_GLOBAL_DEFAULT);
    CURLM *multi = isReady == CURLE_OK ? curl_multi_init() : nullptr;
    if (!multi)
        throw Error(InvalidCall, u"libcurl cannot be started"_s, u"CurlLoop::CurlLoop()"_s);
    return multi;
}

}

CurlLoop::CurlLoop(QObject *parent)
    : QObject(parent)
    , m_multi(NewMulti())
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, [this] { Run(CURL_SOCKET_TIMEOUT, 0); });
    curl_multi_setopt(m_multi, CURLMOPT_SOCKETFUNCTION, &SocketCallback);
    curl_multi_setopt(m_multi, CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(m_multi, CURLMOPT_TIMERFUNCTION, &TimerCallback);
    curl_multi_setopt(m_multi, CURLMOPT_TIMERDATA, this);
}

CurlLoop::~CurlLoop()
{
    curl_multi_cleanup(m_multi);
}

bool CurlLoop::Add(CURL *easy)
{
    return curl_multi_add_handle(m_multi, easy) == CURLM_OK;
}

void CurlLoop::Remove(CURL *easy)
{
    curl_multi_remove_handle(m_multi, easy);
}

void CurlLoop::Opened(curl_socket_t socket)
{
    const auto found = m_watches.find(socket);
    if (found == m_watches.end())
        return;
    for (const bool isReading : { true, false }) {
        QSocketNotifier *&notifier = isReading ? found->second.Reading : found->second.Writing;
        const bool isWatched = notifier != nullptr;
        SetWatch(notifier, false, socket, isReading);
        SetWatch(notifier, isWatched, socket, isReading);
    }
}

int CurlLoop::SocketCallback(CURL *, curl_socket_t socket, int what, void *loop, void *) noexcept
{
    auto *self = static_cast<CurlLoop *>(loop);
    Watch &watch = self->m_watches[socket];
    self->SetWatch(watch.Reading, what == CURL_POLL_IN || what == CURL_POLL_INOUT, socket, true);
    self->SetWatch(watch.Writing, what == CURL_POLL_OUT || what == CURL_POLL_INOUT, socket, false);
    if (what == CURL_POLL_REMOVE)
        self->m_watches.erase(socket);
    return 0;
}

void CurlLoop::SetWatch(QSocketNotifier *&notifier, bool isWatched, curl_socket_t socket, bool isReading)
{
    if (isWatched == (notifier != nullptr))
        return;
    if (!isWatched) {
        // It may be the one whose signal is on the way.
        notifier->setEnabled(false);
        notifier->disconnect(this);
        notifier->deleteLater();
        notifier = nullptr;
        return;
    }
    notifier
        = new QSocketNotifier(static_cast<qintptr>(socket), isReading ? QSocketNotifier::Read : QSocketNotifier::Write, this);
    const int event = isReading ? CURL_CSELECT_IN : CURL_CSELECT_OUT;
    connect(notifier, &QSocketNotifier::activated, this, [this, socket, event] { Run(socket, event); });
}

int CurlLoop::TimerCallback(CURLM *, long milliseconds, void *loop) noexcept
{
    QTimer &timer = static_cast<CurlLoop *>(loop)->m_timer;
    if (milliseconds < 0)
        timer.stop();
    else
        timer.start(static_cast<int>(milliseconds));
    return 0;
}

void CurlLoop::Run(curl_socket_t socket, int events)
{
    int running = 0;
    curl_multi_socket_action(m_multi, socket, events, &running);
    std::optional<int> result;
    int left = 0;
    while (const CURLMsg *message = curl_multi_info_read(m_multi, &left)) {
        if (message->msg == CURLMSG_DONE)
            result = message->data.result;
    }
    Q_EMIT HasRun(result);
}
