// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Clock.h"
#include "service/IpAddress.h"
#include "service/Metrics.h"
#include "service/Responder.h"

#include <QByteArray>
#include <QString>

#include <memory>

// The service over HTTP or HTTPS, at one path: POST with a message as the body, and
// GET with "?sid=…&eid=…" for the pack of the exam EID. It answers on threads of its
// own while the object exists; the destructor aborts what is still being sent. All
// functions may be called from any thread.
class HttpServer {
public:
    struct Options {
        QString Address = QStringLiteral("127.0.0.1"); // an IP address
        quint16 Port = 0; // 0: any free one
        // Folder with a file EXAM.exe for each exam; in its folders "windows" and
        // "linux" those for one system, which come first.
        QString Packs;
        // The path, such as "/packs/", under which a trusted proxy that knows
        // X-Accel-Redirect sends the files of that folder by itself. Empty: the
        // service sends them.
        QString AccelPrefix;
        // For trials on one machine: bytes of packs that each of the threads
        // sends per second; 0: unlimited.
        quint32 BytesPerSecond = 0;
        // In PEM format: the certificate chain and the key. HTTP if empty.
        QByteArray Certificate;
        QByteArray Key;
        // For one request to arrive completely, or for the TLS handshake and the
        // first request.
        std::chrono::milliseconds RequestTimeout = std::chrono::seconds(30);
        // Without a byte in either direction.
        std::chrono::seconds IdleTimeout{ 60 };
        unsigned MaximumConnections = 512; // at least 4
        // Connections of one network (see IpAddress). For a trusted proxy, the
        // requests of each network behind it are counted instead.
        unsigned ConnectionsPerNetwork = 160;
        TrustedProxies Proxies;
        // Threads that check passwords, and logins that may wait for one of them;
        // a further login gets the status 429. All of these must be checked
        // within half a minute, because clients then give up.
        unsigned LoginThreads = 2;
        unsigned MaximumWaitingLogins = 96;
    };
    static constexpr qsizetype LongestBody = 64 * 1024; // bytes of a request

    // Raises an error if the address cannot be used, or the certificate or the
    // key is not valid. What is passed by reference must outlive this object.
    HttpServer(Responder &responder, Metrics &metrics, const Options &options, const Clock &clock = Clock::System());
    ~HttpServer();
    HttpServer(const HttpServer &) = delete;
    HttpServer &operator=(const HttpServer &) = delete;

    // The URL of the service, such as "http://127.0.0.1:8080/PackCourier.asp".
    QString Endpoint() const;

    // Closes the connections whose request exceeds RequestTimeout. To be called
    // about once a second.
    void CloseOverdue();

    // Shows another certificate to new connections, both in PEM format. Raises an error
    // if they are not valid; nothing has changed then. Only for HTTPS.
    void UseCertificate(const QByteArray &chain, const QByteArray &key);

    // Accepts no more connections. What is open goes on, but each connection is closed
    // after its next response.
    void StopAccepting();

private:
    class Implementation;
    std::unique_ptr<Implementation> m_implementation;
};
