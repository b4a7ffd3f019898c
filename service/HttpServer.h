// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "service/Clock.h"
#include "service/IpAddress.h"
#include "service/Responder.h"

#include <QByteArray>
#include <QString>

#include <memory>

// The service over HTTP. Everything is at one path: POST
// with a message as the body, GET with "?sid=…&eid=…" for the pack EID.exe of
// the packs' folder. It answers on threads of its own, from the construction
// until the end of the object, which breaks off what is still being sent.
class HttpServer {
public:
    struct Options {
        QString Address = QStringLiteral("127.0.0.1");
        quint16 Port = 0; // 0: any that is free
        QString Packs; // the folder
        // Bytes of packs that each of the service's threads sends in a second,
        // for trials on one machine; 0: as fast as it goes.
        quint32 Rate = 0;
        // Texts in PEM format; without them it is HTTP, with them HTTPS.
        QByteArray Certificate;
        QByteArray Key;
        // For a whole request to arrive, the handshake included.
        std::chrono::milliseconds RequestTime = std::chrono::seconds(30);
        // Without a byte in either direction.
        std::chrono::seconds Silence{ 60 };
        unsigned Connections = 512;
        // Of one network (see IpAddress); requests of a trusted proxy count for
        // whom it speaks for.
        unsigned ConnectionsOfOneAddress = 160;
        TrustedProxies Proxies;
        // Passwords are checked on threads of their own. Beyond so many that
        // wait for one, the next gets the status 429; all of them must have
        // their turn before a client gives up, which is after half a minute.
        unsigned LogInThreads = 2;
        unsigned WaitingLogIns = 96;
    };
    static constexpr qsizetype LongestBody = 64 * 1024;

    // Raises an error when the service cannot be reached at the address.
    HttpServer(Responder &responder, const Options &options, MonotonicClock clock = SystemClock());
    ~HttpServer();
    HttpServer(const HttpServer &) = delete;
    HttpServer &operator=(const HttpServer &) = delete;

    // The address of the service, such as "http://127.0.0.1:8080/PackCourier.asp".
    QString Endpoint() const;

    // Ends the connections whose request is not there in time; to be called
    // every second or so, from any thread.
    void CloseOverdue();

private:
    struct Daemon;
    std::unique_ptr<Daemon> m_daemon;
};
