// SPDX-License-Identifier: Apache-2.0
#include "service/Commands.h"

#include "console/Console.h"
#include "service/Store.h"

using namespace Qt::Literals::StringLiterals;

int Command::ListUsers(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(u"Prints one line per user: the user ID, a tab, and the exams separated by commas."_s);
    if (const auto code = ParseWithDatabase(parser, arguments, 0, 0))
        return *code;
    Database database(parser.value(u"database"_s));
    const Store store(database);
    for (const Store::User &user : store.Users())
        Console::Print(user.Email + u'\t' + user.Exams.join(u','));
    return Success;
}

int Command::ListReports(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(u"Prints one line per report, with fields separated by tabs: when it was received "
                                     "(UTC), the user ID, the exams separated by commas, and the candidate's local time."_s);
    if (const auto code = ParseWithDatabase(parser, arguments, 0, 0))
        return *code;
    Database database(parser.value(u"database"_s));
    const Store store(database);
    for (const Store::ReportLine &line : store.Reports())
        Console::Print(
            QStringList{ line.Received, line.Email, Console::OneLine(line.Exams), Console::OneLine(line.Time) }.join(u'\t'));
    return Success;
}
