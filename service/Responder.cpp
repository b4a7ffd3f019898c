// SPDX-License-Identifier: Apache-2.0
#include "service/Responder.h"

#include "common/Ansi.h"
#include "common/Error.h"
#include "console/Console.h"
#include "service/Password.h"

using namespace Qt::Literals::StringLiterals;

namespace {

// What is the caller's fault, under the code and the text of the reply.
class Refusal : public Error {
public:
    using Error::Error;
};

using Values = std::initializer_list<std::pair<QString, QString>>;

MESSAGE Reply(const QString &command, const Values &values)
{
    MESSAGE reply;
    reply.SetCommand(command);
    for (const auto &[name, value] : values)
        reply.Parameters().Add(name, value);
    return reply;
}

MESSAGE ErrorReply(qint32 code, const QString &description)
{
    return Reply(u"ERROR"_s, { { u"code"_s, QString::number(code) }, { u"description"_s, description } });
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

// The message in these bytes, or the reply that there is none.
struct Incoming {
    std::optional<MESSAGE> Message;
    MESSAGE Fault;
};

Incoming UnPacked(const QByteArray &bytes)
{
    try {
        MESSAGE message;
        message.UnPack(Ansi::ToText(bytes));
        return { message, {} };
    } catch (const Error &error) {
        return { {}, ErrorReply(Responder::Undecodable, error.Description()) };
    }
}

QByteArray Packed(MESSAGE reply)
{
    reply.Pack();
    return Ansi::FromText(reply.Text());
}

}

Responder::Responder(Store &store, Sessions &sessions, GuessGuard &guard, Log log)
    : m_store(store)
    , m_sessions(sessions)
    , m_guard(guard)
    , m_log(std::move(log))
    , m_nobodysHash(Password::Hash(u"nobody"_s))
{
}

MESSAGE Responder::Answer(const MESSAGE &request, const QString &address)
{
    try {
        if (request.Command() == "LOGIN"_L1)
            return LogIn(request, address);
        if (request.Command() == "LIST"_L1)
            return List(request);
        if (request.Command() == "REPORT"_L1)
            return Report(request);
        return ErrorReply(UnknownCommand, u"The service does not know this command."_s);
    } catch (const Refusal &refusal) {
        return ErrorReply(refusal.Number(), refusal.Description());
    } catch (const std::exception &error) {
        qWarning("%s", error.what());
        return ErrorReply(OwnFailure, u"The service has a problem of its own. Please try again later."_s);
    }
}

QByteArray Responder::Answer(const QByteArray &request, const QString &address)
{
    const auto [message, fault] = UnPacked(request);
    return Packed(message ? Answer(*message, address) : fault);
}

std::optional<QByteArray> Responder::AnswerAtOnce(const QByteArray &request, const QString &address)
{
    const auto [message, fault] = UnPacked(request);
    if (message && HasToCheckPassword(*message, address))
        return {};
    return Packed(message ? Answer(*message, address) : fault);
}

QByteArray Responder::BusyReply()
{
    return Packed(ErrorReply(TooOften, u"Too many users are logging on at this moment. Please try again in a few seconds."_s));
}

bool Responder::HasToCheckPassword(const MESSAGE &request, const QString &address)
{
    return request.Command() == "LOGIN"_L1 && Has(request, u"email"_s) && Has(request, u"pwd"_s)
        && !m_guard.Wait(UserIn(request), address);
}

MESSAGE Responder::LogIn(const MESSAGE &request, const QString &address)
{
    const QString email = UserIn(request);
    const QString password = ValueOf(request, u"pwd"_s);
    if (const auto wait = m_guard.Admit(email, address)) {
        const auto seconds = std::chrono::ceil<std::chrono::seconds>(*wait).count();
        throw Refusal(TooOften, u"There were too many failed attempts. Please try again in %1 seconds."_s.arg(seconds));
    }
    const auto credentials = m_store.Find(email);
    const bool isRight = Password::Matches(credentials ? credentials->PasswordHash : m_nobodysHash, password);
    if (!credentials || !isRight) {
        m_log(u"login failed: %1 from %2"_s.arg(Console::Quoted(email), address));
        return Reply(u"LOGIN"_s, { { u"status"_s, u"FAILED"_s } });
    }
    m_guard.Succeeded(email, address);
    const QString session = m_sessions.Open(credentials->User, credentials->PasswordHash);
    return Reply(u"LOGIN"_s, { { u"status"_s, u"OK"_s }, { u"sid"_s, session } });
}

std::optional<Sessions::Use> Responder::Find(const QString &session)
{
    auto use = m_sessions.Find(session);
    // It ends with the password that it was opened with, and with the user.
    if (use && m_store.PasswordHash(use->User()) != use->Stamp())
        use.reset();
    return use;
}

Sessions::Use Responder::SessionOf(const MESSAGE &request)
{
    auto session = Find(ValueOf(request, u"sid"_s));
    if (!session)
        throw Refusal(BadSession, u"You are not logged on, or not any more. Please start again."_s);
    return *std::move(session);
}

MESSAGE Responder::List(const MESSAGE &request)
{
    const auto session = SessionOf(request);
    return Reply(u"LIST"_s, { { u"status"_s, u"OK"_s }, { u"data"_s, m_store.Exams(session.User()).join(u',') } });
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
    return Reply(u"REPORT"_s, { { u"status"_s, u"OK"_s } });
}

Responder::Admission Responder::Admit(const QString &session, const QString &exam)
{
    auto use = Find(session);
    if (!use)
        return { Access::NoSession, {} };
    if (!m_store.HasExam(use->User(), exam))
        return { Access::NotBought, {} };
    return { Access::Granted, std::move(use) };
}
