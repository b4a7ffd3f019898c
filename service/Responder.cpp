// SPDX-License-Identifier: Apache-2.0
#include "service/Responder.h"

#include "common/Ansi.h"
#include "common/Error.h"
#include "console/Console.h"
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

Responder::Responder(Store &store, Sessions &sessions, LoginThrottle &throttle, Log log)
    : m_store(store)
    , m_sessions(sessions)
    , m_throttle(throttle)
    , m_log(std::move(log))
    , m_dummyHash(Password::Hash(u"nobody"_s))
{
}

MESSAGE Responder::Reply(const MESSAGE &request, const QString &network)
{
    try {
        if (request.Command() == "LOGIN"_L1)
            return LogIn(request, network);
        if (request.Command() == "LIST"_L1)
            return List(request);
        if (request.Command() == "REPORT"_L1)
            return Report(request);
        return ErrorReply(UnknownCommand, u"The service does not know this command."_s);
    } catch (const Refusal &refusal) {
        return ErrorReply(refusal.Number(), refusal.Description());
    } catch (const std::exception &error) {
        qWarning("%s", error.what());
        return ErrorReply(InternalError, u"The service has a problem of its own. Please try again later."_s);
    }
}

QByteArray Responder::Answer(const QByteArray &request, const QString &network)
{
    const auto [message, failure] = Decode(request);
    return Encode(message ? Reply(*message, network) : failure);
}

std::optional<QByteArray> Responder::AnswerAtOnce(const QByteArray &request, const QString &network)
{
    const auto [message, failure] = Decode(request);
    if (message && HasToCheckPassword(*message, network))
        return {};
    return Encode(message ? Reply(*message, network) : failure);
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
        const auto seconds = std::chrono::ceil<std::chrono::seconds>(*delay).count();
        throw Refusal(TooOften, u"There were too many failed attempts. Please try again in %1 seconds."_s.arg(seconds));
    }
    const auto credentials = m_store.Find(email);
    const bool isRight = Password::Matches(credentials ? credentials->PasswordHash : m_dummyHash, password);
    if (!credentials || !isRight) {
        m_log(u"login failed: %1 from %2"_s.arg(Console::Quoted(email), network));
        return MakeReply(u"LOGIN"_s, { { u"status"_s, u"FAILED"_s } });
    }
    m_throttle.Succeeded(email, network);
    const QString session = m_sessions.Open(credentials->User, credentials->PasswordHash);
    return MakeReply(u"LOGIN"_s, { { u"status"_s, u"OK"_s }, { u"sid"_s, session } });
}

std::optional<Sessions::Use> Responder::Find(const QString &session)
{
    auto use = m_sessions.Find(session);
    // A session ends when the user's password changes or the user is removed.
    if (use && m_store.PasswordHash(use->User()) != use->PasswordHash())
        use.reset();
    return use;
}

Sessions::Use Responder::SessionOf(const MESSAGE &request)
{
    auto session = Find(ValueOf(request, u"sid"_s));
    if (!session)
        throw Refusal(NoSuchSession, u"You are not logged on, or not any more. Please start again."_s);
    return *std::move(session);
}

MESSAGE Responder::List(const MESSAGE &request)
{
    const auto session = SessionOf(request);
    return MakeReply(u"LIST"_s, { { u"status"_s, u"OK"_s }, { u"data"_s, m_store.Exams(session.User()).join(u',') } });
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
    exams.removeIf([bought = m_store.Exams(session.User())](const QString &exam) { return !bought.contains(exam); });
    if (!m_store.Record({ session.User(), session.Fingerprint(), exams.join(u','), time }))
        throw Refusal(TooOften, u"There were too many reports in one day."_s);
    return MakeReply(u"REPORT"_s, { { u"status"_s, u"OK"_s } });
}

Responder::Authorization Responder::AuthorizeDownload(const QString &session, const QString &exam)
{
    auto use = Find(session);
    if (!use)
        return { Access::NoSession, {} };
    if (!m_store.HasExam(use->User(), exam))
        return { Access::NotBought, {} };
    return { Access::Granted, std::move(use) };
}
