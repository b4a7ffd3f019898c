// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "console/Command.h"

// The commands of practorium-service. Each gets its name and then its arguments,
// and returns the exit code (see Command::Entry). A failure is raised as Error.
namespace Command {

// Runs the service until a stop signal arrives (see Signals).
int Serve(const QStringList &arguments);

// Makes the database, or brings its tables up to date.
int Init(const QStringList &arguments);

// Change the accounts in the database, also while a service uses it. AddUser and Import
// create a database that is missing.
int Import(const QStringList &arguments);
int AddUser(const QStringList &arguments);
int RemoveUser(const QStringList &arguments);
int Grant(const QStringList &arguments);
int Revoke(const QStringList &arguments);

// Print to the standard output, one line per user or report.
int ListUsers(const QStringList &arguments);
int ListReports(const QStringList &arguments);

// Parse (see console/Command.h) with the option --database, which every command
// requires, and from "least" to "most" positional arguments. Returns the exit code
// if the command is done or was misused.
std::optional<int> ParseWithDatabase(QCommandLineParser &parser, const QStringList &arguments, qsizetype least, qsizetype most);

}
