// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "download/CurlLoop.h"
#include "download/Transport.h"

#include <QByteArray>
#include <QString>

#include <vector>

// An exchange over libcurl in HTTP 1.1, for https with TLS 1.2 or later and a
// certificate that the system trusts, without proxies. Limits keep a server from
// filling the memory or going on for ever. Nothing waits here.
class HttpExchange : public Exchange {
public:
    // Of the headers of one answer, trailers and informational answers included.
    static constexpr qsizetype MostHeaderBytes = 64 * 1024;
    static constexpr int MostInformational = 8; // answers before the last one
    static constexpr size_t MostHeaders = 200; // of one answer
    // Bytes of the body that wait for Take; the server has to wait, too, then,
    // until less than half of them is left.
    static constexpr qsizetype MostWaiting = 512 * 1024;

    // Starts the request. The loop is not owned and must outlive the exchange.
    // Raises InvalidCall under "HttpExchange::HttpExchange()" when libcurl refuses
    // it.
    HttpExchange(CurlLoop &loop, const HttpRequest &request);
    ~HttpExchange() override;
    HttpExchange(const HttpExchange &) = delete;
    HttpExchange &operator=(const HttpExchange &) = delete;

    bool IsSent() const override { return m_isSent; }
    bool HasBegun() const override;
    bool HasHeaders() const override { return m_hasHeaders; }
    int Status() const override { return m_status; }
    QString Reason() const override { return m_reason; }
    QByteArray Header(const QByteArray &name) const override;
    bool IsInChunks() const override { return m_isInChunks; }
    qint64 Received() const override { return m_received; }
    qsizetype Available() const override { return m_body.size() - m_taken; }
    QByteArray Take(qsizetype size) override;
    bool IsPaused() const override { return m_isPaused; }
    bool IsRefused() const override { return !m_refusal.isEmpty(); }
    QString TextOf(int result) const override;

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
    curl_slist *m_headers;
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

// Requests over libcurl on the event loop of this thread. Connections stay open
// for the next request.
class HttpTransport : public Transport {
    Q_OBJECT
public:
    // Raises InvalidCall, as CurlLoop does, when there is no libcurl.
    explicit HttpTransport(QObject *parent = nullptr);

    std::unique_ptr<Exchange> Start(const HttpRequest &request) override;

private:
    CurlLoop m_loop;
};
