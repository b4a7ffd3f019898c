// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "protocol/Message.h"
#include "service/Log.h"
#include "service/LoginThrottle.h"
#include "service/Metrics.h"
#include "service/Sessions.h"
#include "service/Store.h"

#include <QByteArray>

#include <functional>
#include <optional>

// Computes the service's replies, independently of the transport. All functions may
// be called from several threads at once. Those that return a reply do not raise:
// what goes wrong becomes an ERROR reply.
class Responder {
public:
    // The codes of ERROR replies; see docs/download-service.md.
    enum ErrorCode : qint32 {
        Undecodable = 400,
        NoSuchSession = 401,
        UnknownCommand = 404,
        TooLong = 413,
        MissingParameter = 422,
        TooOften = 429,
        InternalError = 500,
        Unavailable = 503,
    };

    // The limit of a REPORT, in characters: "list" and "time" together.
    static constexpr qsizetype LongestReport = 4096;

    // All of them must outlive this object. The sink gets a line for each login with a
    // wrong user ID or password, and for each error of the service. Takes about a tenth
    // of a second.
    Responder(Store &store, Sessions &sessions, LoginThrottle &throttle, Metrics &metrics, Log::Sink log);

    // The reply to a request, both as the bytes of a message. The network is that
    // of the client (see IpAddress::Network), for the throttle and the log.
    QByteArray Answer(const QByteArray &request, const QString &network);

    // The same, unless a password has to be checked, which takes about a tenth of
    // a second: then empty, and nothing has been done. Call Answer instead.
    std::optional<QByteArray> AnswerAtOnce(const QByteArray &request, const QString &network);

    // The reply to a login when too many others are waiting to be checked.
    static QByteArray BusyReply();

    enum class Access { Granted, NoSession, NotBought, Unavailable };
    struct Authorization {
        Access Result;
        // If granted: to be kept until the pack has been sent, so that the
        // session does not become idle meanwhile.
        std::optional<Sessions::Use> Session;
    };
    // Whether a session may download the pack of an exam. Raises an error of the database
    // that will not pass.
    Authorization AuthorizeDownload(const QString &session, const QString &exam);

private:
    MESSAGE Reply(const MESSAGE &request, const QString &network);
    // The reply of a command, or the ERROR reply for what it raises.
    MESSAGE Guarded(const std::function<MESSAGE()> &command);
    bool HasToCheckPassword(const MESSAGE &request, const QString &network) const;
    MESSAGE LogIn(const MESSAGE &request, const QString &network);
    MESSAGE List(const MESSAGE &request);
    MESSAGE Report(const MESSAGE &request);
    Sessions::Use SessionOf(const MESSAGE &request);

    Store &m_store;
    Sessions &m_sessions;
    LoginThrottle &m_throttle;
    Metrics &m_metrics;
    Log::Sink m_log;
    // Checked if there is no such user, so that the time of the reply does not
    // reveal which users exist.
    const QByteArray m_dummyHash;
};
