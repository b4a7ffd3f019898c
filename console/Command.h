// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

// The commands of a program without a window. Its name and version are those of
// the application object.
namespace Command {

enum ExitCode : int { Success = 0, Failure = 1, WrongUsage = 2 };

struct Entry {
    QString Name;
    QString Summary; // one line
    // The first argument is how the command is called, the others are the user's.
    int (*Run)(const QStringList &arguments);
};

// Runs the command that the application's arguments name and says what it
// raises; the exit code. Serves --help, with the summary at its head, and
// --version.
int Run(const QString &summary, const std::vector<Entry> &commands);

// Reads a command's arguments and serves --help: the parser's options, behind
// them --help and the shared ones, below them the notes. The exit code when
// there is nothing more to do.
std::optional<int> Parse(QCommandLineParser &parser, const QStringList &arguments, const QString &notes = {},
                         const QList<QCommandLineOption> &shared = {});

// Says what is wrong with the arguments; WrongUsage.
int Misused(const QString &text);

}
