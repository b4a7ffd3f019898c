// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/Program.h"

#include <memory>
#include <string>

// What packs leave in the exams folder, and runs of packs.

const Outcome Done;
// The pack of that exam has failed.
Outcome Failed(const QString &name, const QString &reason);

using Tree = std::map<QString, QByteArray>;
// What an exams folder holds in which nothing but this package is installed.
Tree Installed(const QString &name, const QString &code);
// The code that the installed exam of that name says it has.
QString CodeOf(const QString &name);

// An empty exams folder.
QString FreshFolder();
// The folders of the packs' own, which are no exams.
QStringList HiddenNames(const QString &folder);

// Waits until a first file of a pack is there.
void AwaitUnpacking(const QString &exams);
// A run that has come to its unpacking.
std::unique_ptr<QProcess> Unpacking(const QString &program, const QString &exams);
// Stops a program where it is, and lets it go on.
void Freeze(const QProcess &process);
void Thaw(const QProcess &process);

// Runs the pack inside the test's own program, where a sanitizer looks on: the
// exit code, a blank and the error output.
std::string InstallHere(const QString &pack);

// So much that unpacking takes a while.
constexpr qsizetype LargeBytes = 64'000'000;
