// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "protocol/Message.h"
#include "service/GuessGuard.h"
#include "service/Sessions.h"
#include "service/Store.h"

#include <QByteArray>

#include <functional>
#include <optional>

// What the service answers, without the network: a message in, a message out.
// May be used by several threads.
class Responder {
public:
    // The codes of an ERROR reply.
    enum ErrorCode : qint32 {
        Undecodable = 400,
        BadSession = 401,
        UnknownCommand = 404,
        TooLong = 413,
        MissingParameter = 422,
        TooOften = 429,
        OwnFailure = 500,
    };

    // Characters of a report's parameters.
    static constexpr qsizetype LongestReport = 4096;
    // Gets a line for each wrong password, from any thread.
    using Log = std::function<void(const QString &line)>;

    // All three have to outlive it.
    Responder(Store &store, Sessions &sessions, GuessGuard &guard, Log log);

    // The address tells who asks from who else asks. Never raises: what goes
    // wrong is an ERROR reply.
    MESSAGE Answer(const MESSAGE &request, const QString &address);
    // The same for the bytes of both on the wire.
    QByteArray Answer(const QByteArray &request, const QString &address);
    // The same again, but nothing for a request whose password has to be
    // checked, which takes a fraction of a second; Answer does it.
    std::optional<QByteArray> AnswerAtOnce(const QByteArray &request, const QString &address);
    // For a request that cannot be answered because there are too many.
    static QByteArray BusyReply();

    enum class Access { Granted, NoSession, NotBought };
    struct Admission {
        Access Answer;
        // Kept by whoever sends the pack, until it is sent.
        std::optional<Sessions::Use> Session;
    };
    // Whether a session may fetch the pack of an exam.
    Admission Admit(const QString &session, const QString &exam);

private:
    bool HasToCheckPassword(const MESSAGE &request, const QString &address);
    MESSAGE LogIn(const MESSAGE &request, const QString &address);
    MESSAGE List(const MESSAGE &request);
    MESSAGE Report(const MESSAGE &request);
    std::optional<Sessions::Use> Find(const QString &session);
    Sessions::Use SessionOf(const MESSAGE &request);

    Store &m_store;
    Sessions &m_sessions;
    GuessGuard &m_guard;
    Log m_log;
    // Checked in place of the hash of a user who is not there, so that the
    // time of an answer does not tell who is.
    QByteArray m_nobodysHash;
};
