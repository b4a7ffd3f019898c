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
// next request until the loop is destroyed.
class CurlLoop : public QObject {
    Q_OBJECT
public:
    explicit CurlLoop(QObject *parent = nullptr);
    ~CurlLoop() override;

    // Starts a transfer, one at a time. False when there is no memory for it.
    bool Add(CURL *easy);
    // Ends it wherever it stands, and waits for nothing: neither for the server
    // nor for a name that is still being looked up.
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
