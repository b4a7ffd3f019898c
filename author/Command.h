#pragma once

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

// The commands of the program.
namespace Command {

enum ExitCode : int { Success = 0, Failure = 1, WrongUsage = 2 };

struct Entry {
    QString Name;
    QString Summary; // one line
    // The first argument is how the command is called, the others are the user's.
    int (*Run)(const QStringList &arguments);
};

const std::vector<Entry> &All();

int Build(const QStringList &arguments);
int DumpExam(const QStringList &arguments);
int CheckPaths(const QStringList &arguments);
int Pack(const QStringList &arguments);

// Runs the command that the arguments of the program name; its exit code.
int Run(const QStringList &arguments);

// Reads a command's arguments and serves --help, with notes below the list of
// options. The exit code when there is nothing more to do.
std::optional<int> Parse(QCommandLineParser &parser, const QStringList &arguments, const QString &notes = {});

// Says what is wrong with the arguments; WrongUsage.
int Misused(const QString &text);

}
