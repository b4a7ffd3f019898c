#include "service/Command.h"

#include "common/Error.h"
#include "service/Console.h"

#include <QCoreApplication>

#include <exception>

using namespace Qt::Literals::StringLiterals;

namespace Command {

namespace {

const QString ProgramName = u"practorium-service"_s;

QString Help()
{
    QStringList lines = { u"Lets candidates download the exams that they have bought."_s,
                          {},
                          u"Usage: %1 COMMAND …"_s.arg(ProgramName),
                          {},
                          u"Commands:"_s };
    for (const Entry &entry : All())
        lines.append(u"  %1  %2"_s.arg(entry.Name, -12).arg(entry.Summary));
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
        Console::Complain(u"%1: %2"_s.arg(ProgramName, Console::OneLine(error.Description())));
    } catch (const std::exception &error) {
        Console::Complain(u"%1: %2"_s.arg(ProgramName, QString::fromLocal8Bit(error.what())));
    }
    return Failure;
}

}

const std::vector<Entry> &All()
{
    static const std::vector<Entry> entries = {
        { u"serve"_s, u"answers candidates until it is told to stop"_s, Serve },
        { u"add-user"_s, u"adds a user, or changes a user's password"_s, AddUser },
        { u"grant"_s, u"lets a user download exams"_s, Grant },
        { u"revoke"_s, u"takes exams back from a user"_s, Revoke },
        { u"list-users"_s, u"prints users and what each may download"_s, ListUsers },
        { u"list-reports"_s, u"prints what was reported as installed"_s, ListReports },
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

std::optional<int> Parse(QCommandLineParser &parser, const QStringList &arguments, qsizetype least, qsizetype most)
{
    const QCommandLineOption help({ u"h"_s, u"help"_s }, u"Show this help."_s);
    parser.addOption(help);
    parser.addOption({ u"database"_s, u"The file with users, exams and reports."_s, u"FILE"_s });
    const bool isRight = parser.parse(arguments);
    if (parser.isSet(help)) {
        QString text = parser.helpText();
        text.replace(QCoreApplication::arguments().first(), arguments.first());
        Console::Print(text.trimmed());
        return Success;
    }
    if (!isRight)
        return Misused(parser.errorText());
    if (parser.value(u"database"_s).isEmpty())
        return Misused(u"--database is missing"_s);
    const qsizetype count = parser.positionalArguments().size();
    if (count < least || count > most)
        return Misused(count < least ? u"too few arguments"_s : u"too many arguments"_s);
    return {};
}

int Misused(const QString &text)
{
    Console::Complain(u"%1: %2 (see --help)"_s.arg(ProgramName, text));
    return WrongUsage;
}

}
