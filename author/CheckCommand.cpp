// SPDX-License-Identifier: Apache-2.0
#include "author/Check.h"
#include "author/Commands.h"
#include "author/Signing.h"
#include "console/Console.h"

#include <QFileInfo>

#include <deque>

using namespace Qt::Literals::StringLiterals;

namespace {

// Packages whose exhibits are loaded while the first of them is checked.
constexpr qsizetype MostBegun = 4;

}

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
    const QStringList paths = parser.positionalArguments();
    std::deque<std::function<QStringList(QStringList *)>> begun; // from this path on; empty for files
    for (qsizetype i = 0; i < paths.size(); ++i) {
        for (qsizetype next = i + std::ssize(begun); next < std::min(i + MostBegun, paths.size()); ++next)
            begun.push_back(QFileInfo(paths[next]).isDir() ? Check::Begin(paths[next]) : nullptr);
        const QString &path = paths[i];
        const auto package = std::move(begun.front());
        begun.pop_front();
        QStringList warnings;
        const QStringList faults = package ? package(&warnings)
            : PackContents::IsPack(path)   ? Signing::Faults(path, parser.values(u"key"_s), warnings)
                                           : Check::Faults(path, &warnings);
        for (const QString &line : faults + warnings)
            Console::Print(line);
        isSound = isSound && faults.isEmpty();
    }
    return isSound ? Success : Failure;
}
