// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <optional>

// Reads a password: the first line of the standard input, as UTF-8 and without
// its line end; empty at the end of the input. If the standard input is a
// terminal, the prompt is written to the standard error output and the terminal
// does not echo what is typed. The echo is restored afterwards, also when a
// signal ends the program meanwhile. Not to be called from several threads.
QString ReadPassword(const QString &prompt);
// The same for a new password: a terminal asks twice. Nothing when the two differ.
std::optional<QString> ReadNewPassword(const QString &prompt, const QString &again);
