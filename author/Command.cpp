#include "author/Command.h"

#include "author/Console.h"
#include "common/Error.h"

#include <QCoreApplication>

#include <exception>

using namespace Qt::Literals::StringLiterals;

namespace Command {

namespace {

const QString ProgramName = u"practorium-author"_s;

QString Help()
{
    QStringList lines = {
        u"Makes, shows and checks exam files and packages."_s, {}, u"Usage: %1 COMMAND …"_s.arg(ProgramName), {}, u"Commands:"_s
    };
    for (const Entry &entry : All())
        lines.append(u"  %1  %2"_s.arg(entry.Name, -6).arg(entry.Summary));
    lines += { {}, u"%1 COMMAND --help tells more; %1 --version the version."_s.arg(ProgramName) };
    return lines.join(u'\n');
}

int RunEntry(const Entry &entry, const QStringList &arguments)
{
    try {
        const int code = entry.Run(arguments);
        if (!Console::Flush()) {
            Console::Complain(ProgramName + u": the output cannot be written"_s);
            return Failure;
        }
        return code;
    } catch (const Error &error) {
        Console::Complain(u"%1: %2"_s.arg(ProgramName, Console::OneLine(error)));
    } catch (const std::exception &error) {
        Console::Complain(u"%1: %2"_s.arg(ProgramName, QString::fromLocal8Bit(error.what())));
    }
    return Failure;
}

}

const std::vector<Entry> &All()
{
    static const std::vector<Entry> entries = {
        { u"build"_s, u"makes a package folder from a question bank in GIFT"_s, Build },
        { u"dump"_s, u"prints an exam file as JSON"_s, DumpExam },
        { u"check"_s, u"tells what would go wrong with exam files and package folders"_s, CheckPaths },
        { u"pack"_s, u"makes a program that installs a package"_s, Pack },
    };
    return entries;
}

int Run(const QStringList &arguments)
{
    const QString first = arguments.value(1);
    if (first == "--help"_L1 || first == "-h"_L1 || first == "--version"_L1 || first == "-v"_L1) {
        const bool isHelp = first.endsWith("h"_L1) || first.endsWith("help"_L1);
        Console::Print(isHelp ? Help() : ProgramName + u" " PRACTORIUM_VERSION ""_s);
        return Console::Flush() ? Success : Failure;
    }
    for (const Entry &entry : All()) {
        if (entry.Name == first)
            return RunEntry(entry, QStringList{ ProgramName + u' ' + first } + arguments.mid(2));
    }
    if (arguments.size() > 1)
        return Misused(u"there is no command \"%1\""_s.arg(first));
    Console::Complain(Help());
    return WrongUsage;
}

std::optional<int> Parse(QCommandLineParser &parser, const QStringList &arguments, const QString &notes)
{
    const QCommandLineOption help({ u"h"_s, u"help"_s }, u"Show this help."_s);
    parser.addOption(help);
    const bool isRight = parser.parse(arguments);
    if (parser.isSet(help)) {
        QString text = parser.helpText();
        text.replace(QCoreApplication::arguments().first(), arguments.first());
        Console::Print((text + notes).trimmed());
        return Success;
    }
    if (!isRight)
        return Misused(parser.errorText());
    return {};
}

int Misused(const QString &text)
{
    Console::Complain(u"%1: %2 (see --help)"_s.arg(ProgramName, text));
    return WrongUsage;
}

}
