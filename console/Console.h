// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Common.h"

#include <QString>

// What a program without a window says, in UTF-8 and one line at a time.
namespace Console {

void Print(const QString &line);
void Complain(const QString &line);

// Brings what was printed out; false when it did not arrive, because a disk is
// full or nobody reads any more.
bool Flush();

using Common::OneLine;
// A text as a part of a line that others read, a program perhaps: between
// quotation marks, with a backslash before these and itself, with \uXXXX for
// what cannot be seen, and cut after 100 characters.
QString Quoted(const QString &text);

}
