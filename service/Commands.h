// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "console/Command.h"

// The commands of practorium-service.
namespace Command {

int Serve(const QStringList &arguments);
int AddUser(const QStringList &arguments);
int RemoveUser(const QStringList &arguments);
int Grant(const QStringList &arguments);
int Revoke(const QStringList &arguments);
int ListUsers(const QStringList &arguments);
int ListReports(const QStringList &arguments);

// Parse for a command of this program: also reads --database, which every one
// needs, and needs between least and most arguments that are no options.
std::optional<int> ParseWithDatabase(QCommandLineParser &parser, const QStringList &arguments, qsizetype least, qsizetype most);

}
