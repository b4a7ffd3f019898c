// SPDX-License-Identifier: Apache-2.0
#include "service/Commands.h"

using namespace Qt::Literals::StringLiterals;

std::optional<int> Command::ParseWithDatabase(QCommandLineParser &parser, const QStringList &arguments, qsizetype least,
                                              qsizetype most)
{
    const QCommandLineOption database(u"database"_s,
                                      u"The database of users, exams and reports: a file, or postgresql://USER@HOST/NAME."_s,
                                      u"DATABASE"_s);
    if (const auto code = Parse(parser, arguments, {}, { database }))
        return code;
    if (parser.value(database).isEmpty())
        return Misused(u"--database is missing"_s);
    const qsizetype count = parser.positionalArguments().size();
    if (count < least || count > most)
        return Misused(count < least ? u"too few arguments"_s : u"too many arguments"_s);
    return {};
}
