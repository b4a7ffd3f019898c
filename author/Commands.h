// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "console/Command.h"

// The commands of practorium-author.
namespace Command {

int Build(const QStringList &arguments);
int DumpExam(const QStringList &arguments);
int CheckPaths(const QStringList &arguments);
int Print(const QStringList &arguments);
int Pack(const QStringList &arguments);
int Key(const QStringList &arguments);

}
