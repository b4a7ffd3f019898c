// SPDX-License-Identifier: Apache-2.0
#include "author/Check.h"
#include "author/Commands.h"
#include "console/Console.h"

using namespace Qt::Literals::StringLiterals;

int Command::CheckPaths(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Reports the faults of exam files and package folders, one line each. The exit code is 1 when there "
        "are faults, 0 when there are only warnings or none."_s);
    parser.addPositionalArgument(u"PATH"_s, u"An exam file or a package folder."_s, u"PATH…"_s);
    if (const auto code = Parse(parser, arguments))
        return *code;
    if (parser.positionalArguments().isEmpty())
        return Misused(u"an exam file or a package folder is required"_s);

    bool isSound = true;
    for (const QString &path : parser.positionalArguments()) {
        QStringList warnings;
        const QStringList faults = Check::Faults(path, &warnings);
        for (const QString &line : faults + warnings)
            Console::Print(line);
        isSound = isSound && faults.isEmpty();
    }
    return isSound ? Success : Failure;
}
