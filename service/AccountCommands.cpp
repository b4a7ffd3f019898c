// SPDX-License-Identifier: Apache-2.0
#include "service/Commands.h"

#include "common/Error.h"
#include "service/Password.h"
#include "service/Secret.h"
#include "service/Store.h"

#include <QFile>

#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace {

QString PasswordFrom(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        throw Error(InvalidCall, u"%1: %2"_s.arg(path, file.errorString()), u"Command::AddUser()"_s);
    QString line = QString::fromUtf8(file.readLine());
    while (line.endsWith(u'\n') || line.endsWith(u'\r'))
        line.chop(1);
    return line;
}

int ChangeExams(const QStringList &arguments, const QString &description,
                void (Store::*change)(const QString &, const QStringList &))
{
    QCommandLineParser parser;
    parser.setApplicationDescription(description);
    parser.addPositionalArgument(u"EMAIL"_s, u"The user ID."_s);
    parser.addPositionalArgument(u"EXAM"_s, u"An exam's ID, such as NET-101: letters, digits, \"-\", \"_\", \".\"."_s,
                                 u"EXAM…"_s);
    if (const auto code = Command::ParseWithDatabase(parser, arguments, 2, std::numeric_limits<qsizetype>::max()))
        return *code;
    const QStringList exams = parser.positionalArguments().mid(1);
    for (const QString &exam : exams) {
        if (!Store::IsExamId(exam))
            return Command::Misused(u"\"%1\" is no exam's ID"_s.arg(exam));
    }
    Store store(parser.value(u"database"_s));
    (store.*change)(parser.positionalArguments().first(), exams);
    return Command::Success;
}

}

int Command::AddUser(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(u"Adds a user. The password is the first line of the standard input or of a file. "
                                     "A database that is not there is made."_s);
    parser.addPositionalArgument(u"EMAIL"_s, u"The user ID, the same in small and capital letters."_s);
    parser.addOptions({
        { u"password-file"_s, u"Read the password from FILE."_s, u"FILE"_s },
        { u"replace"_s, u"Give a user who is there already a new password. Sessions under the old one end at once."_s },
    });
    if (const auto code = ParseWithDatabase(parser, arguments, 1, 1))
        return *code;
    const QString email = parser.positionalArguments().first();
    if (const QString fault = Password::FaultOfUser(email); !fault.isEmpty())
        return Misused(fault);
    const QString password
        = parser.isSet(u"password-file"_s) ? PasswordFrom(parser.value(u"password-file"_s)) : ReadSecret(u"Password: "_s);
    if (const QString fault = Password::Fault(password); !fault.isEmpty())
        return Misused(fault);

    Store store(parser.value(u"database"_s), Store::IfMissing::Make);
    if (parser.isSet(u"replace"_s))
        store.SetPassword(email, Password::Hash(password));
    else
        store.AddUser(email, Password::Hash(password));
    return Success;
}

int Command::RemoveUser(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(u"Removes a user, with what was bought and reported. Sessions end at once."_s);
    parser.addPositionalArgument(u"EMAIL"_s, u"The user ID."_s);
    if (const auto code = ParseWithDatabase(parser, arguments, 1, 1))
        return *code;
    Store store(parser.value(u"database"_s));
    store.RemoveUser(parser.positionalArguments().first());
    return Success;
}

int Command::Grant(const QStringList &arguments)
{
    return ChangeExams(arguments, u"Lets a user download exams, in this order after those granted before."_s, &Store::Grant);
}

int Command::Revoke(const QStringList &arguments)
{
    return ChangeExams(arguments, u"Takes exams back from a user."_s, &Store::Revoke);
}
