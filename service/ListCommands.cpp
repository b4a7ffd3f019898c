// SPDX-License-Identifier: Apache-2.0
#include "service/Commands.h"

#include "console/Console.h"
#include "service/AccountTables.h"
#include "service/Store.h"

#include <algorithm>

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
    parser.addOption({ u"csv"_s,
                       u"Print a table in CSV (RFC 4180) with a line of column names, for a spreadsheet: \"'\" is put "
                       "before a field that it would take for a formula."_s });
    if (const auto code = ParseWithDatabase(parser, arguments, 0, 0))
        return *code;
    const bool isTable = parser.isSet(u"csv"_s);
    Database database(parser.value(u"database"_s));
    if (isTable)
        Console::Print(AccountTables::Row({ u"received"_s, u"email"_s, u"exams"_s, u"time"_s }));
    for (const Store::ReportLine &line : Store(database).Reports()) {
        QStringList fields = { line.Received, line.Email, Console::OneLine(line.Exams), Console::OneLine(line.Time) };
        if (isTable)
            std::transform(fields.begin(), fields.end(), fields.begin(), AccountTables::NoFormula);
        Console::Print(isTable ? AccountTables::Row(fields) : fields.join(u'\t'));
    }
    return Success;
}
