// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Common.h"

#include <QString>

// The output of a program without a window, in UTF-8, one line at a time.
namespace Console {

// To the standard output. May be delayed until Flush.
void Print(const QString &line);
// To the error output.
void Complain(const QString &line);

// Writes what was printed; false when it cannot be written, because the disk is
// full or the pipe is closed.
bool Flush();

using Common::OneLine;
// A text as part of a line that people or programs read: in quotation marks, a
// backslash before each quotation mark and backslash in it, \uXXXX in place of
// invisible characters, and cut after 100 characters with "…".
QString Quoted(const QString &text);

}
