// SPDX-License-Identifier: Apache-2.0
#include "download/Conversation.h"

#include "common/Common.h"
#include "common/Error.h"
#include "download/DownloadText.h"

#include <QLocale>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString LoginCommand = u"LOGIN"_s;
const QString ListCommand = u"LIST"_s;
const QString ReportCommand = u"REPORT"_s;
const QString ErrorCommand = u"ERROR"_s;
const QString StatusOK = u"OK"_s;

// A parameter that the reply lacks reads as empty.
QString ValueOf(const MESSAGE &reply, const QString &name)
{
    const qint32 index = reply.Parameters().GetIndex(name);
    return index > reply.Parameters().Count() ? QString() : reply.Parameters().Item(name)->value();
}

}

Conversation::Conversation(ConversationPort &port, const Clock &clock)
    : m_port(port)
    , m_clock(clock)
{
}

void Conversation::Start(const QString &userID, const QString &password)
{
    m_isRunning = true;
    m_queue.clear();
    m_sessionID.clear();
    m_installed.clear();
    m_port.UpdateStatus(u"Connecting to Practorium Download Server"_s);
    Send(LoginCommand, { { u"email"_s, userID }, { u"pwd"_s, password } });
}

void Conversation::Send(const QString &command, const QList<std::pair<QString, QString>> &parameters)
{
    MESSAGE message;
    message.SetCommand(command);
    for (const auto &[name, value] : parameters)
        message.Parameters().Add(name, value);
    try {
        message.Pack();
        m_port.Post(message.Text());
    } catch (const Error &error) {
        FatalError(error.Description());
    }
}

void Conversation::Receive(const QString &body)
{
    if (body.isEmpty() || !m_isRunning)
        return;
    MESSAGE reply;
    reply.UnPack(body);
    Dispatch(reply);
}

void Conversation::Dispatch(const MESSAGE &reply)
{
    if (reply.Command() == LoginCommand) {
        HandleLogin(reply);
    } else if (reply.Command() == ListCommand) {
        HandleList(reply);
    } else if (reply.Command() == ReportCommand) {
        m_port.UpdateStatus(u"Completed"_s);
        m_isRunning = false;
        m_port.EndRun(true);
    } else if (reply.Command() == ErrorCommand) {
        m_isRunning = false;
        m_port.EndRun(false);
        m_port.Ask(ValueOf(reply, u"description"_s), CriticalMessage);
        m_port.CloseWindow();
    }
}

void Conversation::HandleLogin(const MESSAGE &reply)
{
    if (ValueOf(reply, u"status"_s) == StatusOK) {
        m_sessionID = ValueOf(reply, u"sid"_s);
        m_port.UpdateStatus(u"Checking for available downloads"_s);
        Send(ListCommand, { { u"sid"_s, m_sessionID } });
        return;
    }
    m_port.Ask(u"Cannot continue because the User ID or password is incorrect"_s, CriticalMessage);
    m_isRunning = false;
    m_port.EndRun(false);
    m_port.OfferStart();
    m_port.UpdateStatus(u"Authentication failed!"_s);
}

void Conversation::HandleList(const MESSAGE &reply)
{
    // A list that is refused leaves the run as it is; the candidate can still
    // cancel it.
    if (ValueOf(reply, u"status"_s) != StatusOK)
        return;
    const QString data = Common::TrimBlanks(ValueOf(reply, u"data"_s));
    if (data.isEmpty()) {
        m_port.Ask(u"You do not have any exams available for download"_s, CriticalMessage);
        m_isRunning = false;
        m_port.EndRun(false);
        m_port.CloseWindow();
        return;
    }
    m_queue = data.split(u',');
    DownloadNext();
}

// Every exam that is not to be overwritten falls out of the queue here, however
// many there are.
void Conversation::DownloadNext()
{
    while (m_isRunning && !m_queue.isEmpty()) {
        const QString examID = m_queue.first();
        if (!m_port.IsInstalled(examID)
            || m_port.Ask(u"Exam {1} is already installed on this computer. Do you want to overwrite the existing exam?"_s,
                          QuestionMessage, { examID })
                == AnswerYes) {
            if (!m_isRunning)
                return;
            try {
                m_port.Fetch(m_sessionID, examID);
            } catch (const Error &error) {
                FatalError(error.Description());
            }
            return;
        }
        if (!m_isRunning)
            return;
        m_queue.removeFirst();
        if (m_queue.isEmpty()) {
            m_port.UpdateStatus(u"Completed"_s);
            m_isRunning = false;
            m_port.EndRun(true);
        }
    }
}

void Conversation::DownloadComplete()
{
    if (!m_isRunning)
        return;
    InstallFront();
    if (!m_isRunning)
        return;
    m_queue.removeFirst();
    if (m_queue.isEmpty())
        Report();
    else
        DownloadNext();
}

void Conversation::InstallFront()
{
    const QString examID = m_queue.first();
    m_port.UpdateStatus(Common::FormatText(u"Installing: {1}"_s, { examID }));
    try {
        m_port.Install(examID);
        m_installed.append(examID);
    } catch (const Error &) {
        m_port.Ask(u"Installation of {1} failed. Click OK to continue."_s, CriticalMessage, { examID });
    }
}

void Conversation::Report()
{
    m_port.UpdateStatus(u"Performing post-installation tasks"_s);
    Send(ReportCommand,
         { { u"sid"_s, m_sessionID },
           { u"list"_s, m_installed.join(u',') },
           { u"time"_s, DownloadText::GeneralDate(m_clock.Now().toLocalTime(), QLocale::system()) } });
}

void Conversation::FatalError(const QString &text, const QVariantList &values)
{
    m_isRunning = false;
    m_port.Ask(text, CriticalMessage, values);
    m_port.EndRun(false);
}

void Conversation::TransportFailed(qint32 code, const QString &text)
{
    if (m_isRunning)
        FatalError(u"Error (0x{1}) {2}{CRLF}Unable to perform this operation. Make sure you are connected to Internet."_s,
                   { QString::number(static_cast<quint32>(code), 16).toUpper(), text });
}

void Conversation::HandlingFailed()
{
    if (!m_isRunning)
        return;
    m_isRunning = false;
    m_port.EndRun(false);
    m_port.UpdateStatus(u"Error communicating to server"_s);
    m_port.Ask(
        u"Cannot continue because there seems to be a problem with your internet connection or Practorium's PackCourier Service. If the problem persists, please contact Practorium support."_s,
        CriticalMessage);
}
