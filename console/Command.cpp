// SPDX-License-Identifier: Apache-2.0
#include "console/Command.h"

#include "common/Error.h"
#include "console/Console.h"

#include <QCoreApplication>

#include <algorithm>
#include <exception>

using namespace Qt::Literals::StringLiterals;

namespace Command {

namespace {

constexpr qsizetype LeastWidth = 6; // of the column of the commands' names

QString ProgramName()
{
    return QCoreApplication::applicationName();
}

void Complain(const QString &text)
{
    Console::Complain(u"%1: %2"_s.arg(ProgramName(), text));
}

QString Help(const QString &summary, const std::vector<Entry> &commands)
{
    qsizetype width = LeastWidth;
    for (const Entry &entry : commands)
        width = std::max(width, entry.Name.size());
    QStringList lines = { summary, {}, u"Usage: %1 COMMAND …"_s.arg(ProgramName()), {}, u"Commands:"_s };
    for (const Entry &entry : commands)
        lines.append(u"  %1  %2"_s.arg(entry.Name.leftJustified(width), entry.Summary));
    lines += { {}, u"%1 COMMAND --help describes a command; %1 --version prints the version."_s.arg(ProgramName()) };
    return lines.join(u'\n');
}

int RunEntry(const Entry &entry, const QStringList &arguments)
{
    try {
        const int code = entry.Run(arguments);
        if (Console::Flush())
            return code;
        Complain(u"the output cannot be written"_s);
    } catch (const Error &error) {
        Complain(Console::OneLine(error));
    } catch (const std::exception &error) {
        Complain(QString::fromLocal8Bit(error.what()));
    }
    return Failure;
}

}

int Run(const QString &summary, const std::vector<Entry> &commands)
{
    const QStringList arguments = QCoreApplication::arguments();
    const QString first = arguments.value(1);
    const bool isHelp = first == "--help"_L1 || first == "-h"_L1;
    if (isHelp || first == "--version"_L1 || first == "-v"_L1) {
        Console::Print(isHelp ? Help(summary, commands) : ProgramName() + u' ' + QCoreApplication::applicationVersion());
        return Console::Flush() ? Success : Failure;
    }
    for (const Entry &entry : commands) {
        if (entry.Name == first)
            return RunEntry(entry, QStringList{ ProgramName() + u' ' + first } + arguments.mid(2));
    }
    if (arguments.size() > 1)
        return Misused(u"there is no command \"%1\""_s.arg(first));
    Console::Complain(Help(summary, commands));
    return WrongUsage;
}

std::optional<int> Parse(QCommandLineParser &parser, const QStringList &arguments, const QString &notes,
                         const QList<QCommandLineOption> &shared)
{
    const QCommandLineOption help({ u"h"_s, u"help"_s }, u"Show this help."_s);
    parser.addOption(help);
    parser.addOptions(shared);
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
    Complain(text + u" (see --help)"_s);
    return WrongUsage;
}

}
