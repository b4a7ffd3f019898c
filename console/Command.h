// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

// The commands of a program without a window. The program's name and version are
// those of the QCoreApplication.
namespace Command {

enum ExitCode : int { Success = 0, Failure = 1, WrongUsage = 2 };

struct Entry {
    QString Name;
    QString Summary; // one line
    // arguments: the program's and the command's name, then those of the user. May
    // raise Error or any std::exception. Returns an ExitCode.
    int (*Run)(const QStringList &arguments);
};

// Runs the command that the application's arguments name; prints what it raises
// to the error output. Also handles --help, which begins with the summary, and
// --version. Returns the exit code: Failure too when the output cannot be written.
int Run(const QString &summary, const std::vector<Entry> &commands);

// Parses a command's arguments. Handles --help, which lists the parser's options,
// --help and the shared options, followed by the notes. Returns the exit code when
// the command has nothing left to do, otherwise nothing.
std::optional<int> Parse(QCommandLineParser &parser, const QStringList &arguments, const QString &notes = {},
                         const QList<QCommandLineOption> &shared = {});

// Prints what is wrong with the arguments to the error output; WrongUsage.
int Misused(const QString &text);

}
