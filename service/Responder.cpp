// SPDX-License-Identifier: Apache-2.0
#include "service/Responder.h"

#include "common/Ansi.h"
#include "common/Error.h"
#include "service/Password.h"

using namespace Qt::Literals::StringLiterals;

namespace {

// An error of the client, with the code and the description of the ERROR reply.
class Refusal : public Error {
public:
    using Error::Error;
};

using Values = std::initializer_list<std::pair<QString, QString>>;

MESSAGE MakeReply(const QString &command, const Values &values)
{
    MESSAGE reply;
    reply.SetCommand(command);
    for (const auto &[name, value] : values)
        reply.Parameters().Add(name, value);
    return reply;
}

MESSAGE ErrorReply(qint32 code, const QString &description)
{
    return MakeReply(u"ERROR"_s, { { u"code"_s, QString::number(code) }, { u"description"_s, description } });
}

bool Has(const MESSAGE &request, const QString &name)
{
    return request.Parameters().GetIndex(name) <= request.Parameters().Count();
}

QString ValueOf(const MESSAGE &request, const QString &name)
{
    if (!Has(request, name))
        throw Refusal(Responder::MissingParameter, u"The parameter \"%1\" is missing."_s.arg(name));
    return request.Parameters().Item(name)->value();
}

QString UserIn(const MESSAGE &request)
{
    return Store::Folded(ValueOf(request, u"email"_s));
}

// The decoded request, or the reply that it cannot be decoded.
struct Decoded {
    std::optional<MESSAGE> Request;
    MESSAGE Failure;
};

Decoded Decode(const QByteArray &bytes)
{
    try {
        MESSAGE message;
        message.UnPack(Ansi::ToText(bytes));
        return { message, {} };
    } catch (const Error &error) {
        return { {}, ErrorReply(Responder::Undecodable, error.Description()) };
    }
}

QByteArray Encode(MESSAGE reply)
{
    reply.Pack();
    return Ansi::FromText(reply.Text());
}

}

Responder::Responder(Store &store, Sessions &sessions, LoginThrottle &throttle, Metrics &metrics, Log::Sink log)
    : m_store(store)
    , m_sessions(sessions)
    , m_throttle(throttle)
    , m_metrics(metrics)
    , m_log(std::move(log))
    , m_dummyHash(Password::Hash(u"nobody"_s))
{
}

MESSAGE Responder::Guarded(const std::function<MESSAGE()> &command)
{
    try {
        return command();
    } catch (const Refusal &refusal) {
        return ErrorReply(refusal.Number(), refusal.Description());
    } catch (const Database::Unavailable &error) {
        m_log(Log::Line(u"unavailable"_s).Text(u"reason"_s, error.Description()));
        return ErrorReply(Unavailable, u"The service is not available at the moment. Please try again later."_s);
    } catch (const std::exception &error) {
        m_log(Log::Line(u"error"_s).Text(u"reason"_s, QString::fromUtf8(error.what())));
        return ErrorReply(InternalError, u"The service has a problem of its own. Please try again later."_s);
    }
}

MESSAGE Responder::Reply(const MESSAGE &request, const QString &network)
{
    if (request.Command() == "LOGIN"_L1)
        return LogIn(request, network);
    if (request.Command() == "LIST"_L1)
        return List(request);
    if (request.Command() == "REPORT"_L1)
        return Report(request);
    return ErrorReply(UnknownCommand, u"The service does not know this command."_s);
}

QByteArray Responder::Answer(const QByteArray &request, const QString &network)
{
    const auto [message, failure] = Decode(request);
    return Encode(message ? Guarded([&, &message = message] { return Reply(*message, network); }) : failure);
}

std::optional<QByteArray> Responder::AnswerAtOnce(const QByteArray &request, const QString &network)
{
    const auto [message, failure] = Decode(request);
    if (!message)
        return Encode(failure);
    bool hasToWait = false;
    const MESSAGE reply = Guarded([&, &message = message] {
        hasToWait = HasToCheckPassword(*message, network);
        return hasToWait ? MESSAGE() : Reply(*message, network);
    });
    return hasToWait ? std::nullopt : std::optional(Encode(reply));
}

QByteArray Responder::BusyReply()
{
    return Encode(ErrorReply(TooOften, u"Too many users are logging on at this moment. Please try again in a few seconds."_s));
}

bool Responder::HasToCheckPassword(const MESSAGE &request, const QString &network) const
{
    return request.Command() == "LOGIN"_L1 && Has(request, u"email"_s) && Has(request, u"pwd"_s)
        && !m_throttle.RemainingDelay(UserIn(request), network);
}

MESSAGE Responder::LogIn(const MESSAGE &request, const QString &network)
{
    const QString email = UserIn(request);
    const QString password = ValueOf(request, u"pwd"_s);
    if (const auto delay = m_throttle.BeginAttempt(email, network)) {
        m_metrics.Add(Metrics::LoginsDelayed);
        const auto seconds = std::chrono::ceil<std::chrono::seconds>(*delay).count();
        throw Refusal(TooOften, u"There were too many failed attempts. Please try again in %1 seconds."_s.arg(seconds));
    }
    const auto credentials = m_store.Find(email);
    const bool isRight = Password::Matches(credentials ? credentials->PasswordHash : m_dummyHash, password);
    if (!credentials || !isRight) {
        m_metrics.Add(Metrics::LoginsFailed);
        m_log(Log::Line(u"login_failed"_s).Text(u"user"_s, email).Plain(u"from"_s, network));
        return MakeReply(u"LOGIN"_s, { { u"status"_s, u"FAILED"_s } });
    }
    m_throttle.Succeeded(email, network);
    const QString session = m_sessions.Open(credentials->User, credentials->PasswordHash);
    m_metrics.Add(Metrics::LoginsSucceeded);
    return MakeReply(u"LOGIN"_s, { { u"status"_s, u"OK"_s }, { u"sid"_s, session } });
}

Sessions::Use Responder::SessionOf(const MESSAGE &request)
{
    auto session = m_sessions.Find(ValueOf(request, u"sid"_s));
    if (!session)
        throw Refusal(NoSuchSession, u"You are not logged on, or not any more. Please start again."_s);
    return *std::move(session);
}

MESSAGE Responder::List(const MESSAGE &request)
{
    const auto session = SessionOf(request);
    return MakeReply(u"LIST"_s, { { u"status"_s, u"OK"_s }, { u"data"_s, session.Exams().join(u',') } });
}

MESSAGE Responder::Report(const MESSAGE &request)
{
    const QString list = ValueOf(request, u"list"_s);
    const QString time = ValueOf(request, u"time"_s);
    const auto session = SessionOf(request);
    if (list.size() + time.size() > LongestReport)
        throw Refusal(TooLong, u"The report is too long."_s);
    QStringList exams = list.split(u',');
    exams.removeDuplicates();
    exams.removeIf([&session](const QString &exam) { return !session.Exams().contains(exam); });
    if (!m_store.Record({ session.User(), session.Fingerprint(), exams.join(u','), time }))
        throw Refusal(TooOften, u"There were too many reports in one day."_s);
    return MakeReply(u"REPORT"_s, { { u"status"_s, u"OK"_s } });
}

Responder::Authorization Responder::AuthorizeDownload(const QString &session, const QString &exam)
{
    try {
        auto use = m_sessions.Find(session);
        if (!use)
            return { Access::NoSession, {} };
        if (!use->Exams().contains(exam))
            return { Access::NotBought, {} };
        return { Access::Granted, std::move(use) };
    } catch (const Database::Unavailable &error) {
        m_log(Log::Line(u"unavailable"_s).Text(u"reason"_s, error.Description()));
        return { Access::Unavailable, {} };
    }
}
