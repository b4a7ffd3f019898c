#include "author/Check.h"
#include "author/Command.h"
#include "author/Console.h"

using namespace Qt::Literals::StringLiterals;

int Command::CheckPaths(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Tells, one line each, everything that would go wrong in a sitting. The exit code is 1 when there is "
        "anything, 0 when there is nothing."_s);
    parser.addPositionalArgument(u"PATH"_s, u"An exam file or a package folder."_s, u"PATH…"_s);
    if (const auto code = Parse(parser, arguments))
        return *code;
    if (parser.positionalArguments().isEmpty())
        return Misused(u"an exam file or a package folder is wanted"_s);

    bool isSound = true;
    for (const QString &path : parser.positionalArguments()) {
        for (const QString &fault : Check::Faults(path)) {
            Console::Print(fault);
            isSound = false;
        }
    }
    return isSound ? Success : Failure;
}
