// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/FailureFile.h"

#include <string_view>

// The halves of FailureFile.
namespace FailureFile {

// The system's half.

// The folder for the file, which need not exist; empty when there is none.
QString StateFolder();
// Watches for crashes. header is what the file begins with and stays where it is, like
// path, which ends with a NUL.
void Watch(const QString &path, std::string_view header);
// Writes the file, with the folders on its way if need be, and its path to the error
// output: the header, the line, and the stack of the caller. Takes no memory, because
// there may be none.
void Write(std::string_view line);

}
