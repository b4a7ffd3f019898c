// SPDX-License-Identifier: Apache-2.0
#include "author/Check.h"
#include "author/Commands.h"
#include "author/Signing.h"
#include "console/Console.h"

using namespace Qt::Literals::StringLiterals;

int Command::CheckPaths(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Reports the faults of exam files, package folders and packs, one line each. The exit code is 1 when there "
        "are faults, 0 when there are only warnings or none."_s);
    parser.addPositionalArgument(u"PATH"_s, u"An exam file, a package folder or a pack."_s, u"PATH…"_s);
    parser.addOption({ u"key"_s,
                       u"Require packs to be signed with the public key: its line of text, or its file. Repeated: with one of "
                       "them."_s,
                       u"KEY"_s });
    if (const auto code = Parse(parser, arguments))
        return *code;
    if (parser.positionalArguments().isEmpty())
        return Misused(u"an exam file, a package folder or a pack is required"_s);

    bool isSound = true;
    for (const QString &path : parser.positionalArguments()) {
        QStringList warnings;
        const QStringList faults = PackContents::IsPack(path) ? Signing::Faults(path, parser.values(u"key"_s), warnings)
                                                              : Check::Faults(path, &warnings);
        for (const QString &line : faults + warnings)
            Console::Print(line);
        isSound = isSound && faults.isEmpty();
    }
    return isSound ? Success : Failure;
}
