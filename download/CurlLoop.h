// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QObject>
#include <QTimer>

#include <curl/curl.h>

#include <map>
#include <optional>

class QSocketNotifier;

// libcurl's multi interface on the event loop of this thread: a notifier for
// each socket that libcurl watches, and one timer. Connections stay open for the
// next request until the loop is destroyed. All of it, libcurl's callbacks too,
// runs on the thread that created it; only names are looked up on another one.
class CurlLoop : public QObject {
    Q_OBJECT
public:
    // Raises InvalidCall under "CurlLoop::CurlLoop()" when libcurl cannot be
    // started: on Linux, where the first call loads it, also when it is not
    // installed.
    explicit CurlLoop(QObject *parent = nullptr);
    // Every transfer must have been removed.
    ~CurlLoop() override;

    // Starts a transfer, one at a time, which the event loop then runs. False when
    // libcurl does not take it, as without memory. The handle stays the caller's.
    bool Add(CURL *easy);
    // Ends it wherever it stands, and waits for nothing: neither for the server
    // nor, if the handle has CURLOPT_QUICK_EXIT, for a name that is still being
    // looked up. Not to be called from a callback of libcurl.
    void Remove(CURL *easy);
    // libcurl has just opened that socket. It may have the number of one that was
    // closed while it was watched, of which libcurl does not tell.
    void Opened(curl_socket_t socket);

Q_SIGNALS:
    // libcurl has run and none of its callbacks is on the stack any more, so that
    // the transfer may be removed. With its result, a CURLcode, when it has ended.
    void HasRun(std::optional<int> result);

private:
    struct Watch {
        QSocketNotifier *Reading = nullptr;
        QSocketNotifier *Writing = nullptr;
    };

    static int SocketCallback(CURL *easy, curl_socket_t socket, int what, void *loop, void *) noexcept;
    static int TimerCallback(CURLM *multi, long milliseconds, void *loop) noexcept;
    void SetWatch(QSocketNotifier *&notifier, bool isWatched, curl_socket_t socket, bool isReading);
    void Run(curl_socket_t socket, int events);

    CURLM *m_multi;
    std::map<curl_socket_t, Watch> m_watches;
    QTimer m_timer;
};
