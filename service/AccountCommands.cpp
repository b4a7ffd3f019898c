// SPDX-License-Identifier: Apache-2.0
#include "service/Commands.h"

#include "common/Error.h"
#include "console/PasswordPrompt.h"
#include "service/Password.h"
#include "service/Store.h"

#include <QFile>

#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace {

QString PasswordInFile(const QString &path)
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
    parser.addPositionalArgument(u"EXAM"_s, u"The ID of an exam, such as NET-101: letters, digits, \"-\", \"_\", \".\"."_s,
                                 u"EXAM…"_s);
    if (const auto code = Command::ParseWithDatabase(parser, arguments, 2, std::numeric_limits<qsizetype>::max()))
        return *code;
    const QStringList exams = parser.positionalArguments().mid(1);
    for (const QString &exam : exams) {
        if (!Store::IsExamId(exam))
            return Command::Misused(u"\"%1\" is no exam's ID"_s.arg(exam));
    }
    Database database(parser.value(u"database"_s));
    Store store(database);
    (store.*change)(parser.positionalArguments().first(), exams);
    return Command::Success;
}

}

int Command::Init(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Makes the database if it does not exist, and brings its tables up to date. For PostgreSQL, "
        "run it as the owner of the tables before the service is started or updated."_s);
    if (const auto code = ParseWithDatabase(parser, arguments, 0, 0))
        return *code;
    const Database database(parser.value(u"database"_s), Database::IfMissing::Make);
    return Success;
}

int Command::AddUser(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(u"Adds a user. The password is the first line of the standard input or of a file. "
                                     "The database is created if it does not exist."_s);
    parser.addPositionalArgument(u"EMAIL"_s, u"The user ID. Letter case is ignored."_s);
    parser.addOptions({
        { u"password-file"_s, u"Read the password from FILE."_s, u"FILE"_s },
        { u"replace"_s, u"Change the password of an existing user, which ends the user's sessions."_s },
    });
    if (const auto code = ParseWithDatabase(parser, arguments, 1, 1))
        return *code;
    const QString email = parser.positionalArguments().first();
    if (const QString reason = Password::InvalidUserReason(email); !reason.isEmpty())
        return Misused(reason);
    const QString password
        = parser.isSet(u"password-file"_s) ? PasswordInFile(parser.value(u"password-file"_s)) : ReadPassword(u"Password: "_s);
    if (const QString reason = Password::InvalidReason(password); !reason.isEmpty())
        return Misused(reason);

    Database database(parser.value(u"database"_s), Database::IfMissing::Make);
    Store store(database);
    if (parser.isSet(u"replace"_s))
        store.SetPassword(email, Password::Hash(password));
    else
        store.AddUser(email, Password::Hash(password));
    return Success;
}

int Command::RemoveUser(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(u"Removes a user with all exams and reports, and ends the user's sessions."_s);
    parser.addPositionalArgument(u"EMAIL"_s, u"The user ID."_s);
    if (const auto code = ParseWithDatabase(parser, arguments, 1, 1))
        return *code;
    Database database(parser.value(u"database"_s));
    Store store(database);
    store.RemoveUser(parser.positionalArguments().first());
    return Success;
}

int Command::Grant(const QStringList &arguments)
{
    return ChangeExams(arguments,
                       u"Allows a user to download exams. They are listed in this order, after those granted before."_s,
                       &Store::Grant);
}

int Command::Revoke(const QStringList &arguments)
{
    return ChangeExams(arguments, u"Removes exams from those that a user may download."_s, &Store::Revoke);
}
