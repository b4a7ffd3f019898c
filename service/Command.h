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

int Serve(const QStringList &arguments);
int AddUser(const QStringList &arguments);
int Grant(const QStringList &arguments);
int Revoke(const QStringList &arguments);
int ListUsers(const QStringList &arguments);
int ListReports(const QStringList &arguments);

// Runs the command that the arguments of the program name; its exit code.
int Run(const QStringList &arguments);

// Reads a command's arguments, among them --database, which every command
// needs, and between least and most others that are no options. Serves --help.
// The exit code when there is nothing more to do.
std::optional<int> Parse(QCommandLineParser &parser, const QStringList &arguments, qsizetype least, qsizetype most);

// Says what is wrong with the arguments; WrongUsage.
int Misused(const QString &text);

}
