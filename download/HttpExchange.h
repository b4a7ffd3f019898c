// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "download/CurlLoop.h"

#include <QByteArray>
#include <QString>

#include <vector>

// One request and its answer over libcurl, within limits that keep a server from
// filling the memory or going on for ever. Nothing waits here. Redirections are
// the caller's matter; of those and of answers with a status of 400 and above
// only the headers are read.
class HttpExchange {
public:
    // Of the headers of one answer, trailers and informational answers included.
    static constexpr qsizetype MostHeaderBytes = 64 * 1024;
    static constexpr int MostInformational = 8;
    static constexpr size_t MostHeaders = 200;
    // Bytes of the body that wait for Take; the server has to wait, too, then.
    static constexpr qsizetype MostWaiting = 512 * 1024;

    // Starts the request. The address is http or https, all in ASCII; each of the
    // headers is a name, a colon and a value. Raises an Error when libcurl refuses.
    HttpExchange(CurlLoop &loop, const QByteArray &url, const QByteArray &operation, const QByteArray &body,
                 const QByteArrayList &headers);
    // Ends the request wherever it stands.
    ~HttpExchange();
    HttpExchange(const HttpExchange &) = delete;
    HttpExchange &operator=(const HttpExchange &) = delete;

    bool IsSent() const { return m_isSent; }
    // The first byte of the answer is here.
    bool HasBegun() const;
    // All headers of the last answer are here.
    bool HasHeaders() const { return m_hasHeaders; }
    int Status() const { return m_status; }
    const QString &Reason() const { return m_reason; }
    // In any letter case; empty without one, joined by commas when there are several.
    QByteArray Header(const QByteArray &name) const;
    // Where a redirection leads, as the server wrote it; empty when it is none.
    QByteArray Redirection() const;
    bool IsInChunks() const { return m_isInChunks; }

    // Bytes of the body that have arrived in all.
    qint64 Received() const { return m_received; }
    qsizetype Available() const { return m_body.size() - m_taken; }
    // Up to size bytes of what is available. What had to wait may arrive meanwhile.
    QByteArray Take(qsizetype size);
    // The server waits until more of the body has been taken.
    bool IsPaused() const { return m_isPaused; }

    // The answer was given up, because a limit was passed or its form is refused.
    bool IsRefused() const { return !m_refusal.isEmpty(); }
    // Why it ended with that result.
    QString TextOf(CURLcode result) const;

private:
    struct Field {
        QByteArray Name;
        QByteArray Value;
    };

    static int SocketCallback(void *exchange, curl_socket_t socket, curlsocktype) noexcept;
    static size_t HeaderCallback(char *bytes, size_t, size_t count, void *exchange) noexcept;
    static size_t BodyCallback(char *bytes, size_t, size_t count, void *exchange) noexcept;
    static int DebugCallback(CURL *, curl_infotype type, char *, size_t count, void *exchange) noexcept;
    bool TakeHeader(const QByteArray &line);
    void TakeStatus(const QByteArray &line);
    bool TakeField(const QByteArray &line);
    bool Refuse(const QString &text);

    CurlLoop &m_loop;
    CURL *m_easy;
    const bool m_isFetching;
    curl_slist *m_headers = nullptr;
    char m_error[CURL_ERROR_SIZE] = {};
    QString m_refusal;
    bool m_isSent = false;
    bool m_isInHeaders = false;
    bool m_hasHeaders = false;
    bool m_isInChunks = false;
    bool m_isPaused = false;
    int m_status = 0;
    int m_informational = 0;
    QString m_reason;
    qsizetype m_headerBytes = 0;
    std::vector<Field> m_fields; // headers of the last answer
    QByteArray m_body;
    qsizetype m_taken = 0; // of the body's bytes in memory
    qint64 m_received = 0;
    qint64 m_onTheWire = 0; // bytes behind the headers, frames of chunks included
};
