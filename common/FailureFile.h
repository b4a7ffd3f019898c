// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Error.h"

// The file that a crash or an unexpected error writes: version, system, what happened, and
// the stack as far as it goes. It holds nothing that a user has typed, no text of an exam
// and no path of a folder. It is failure.txt in the user's folder for the state of the
// program; the next failure replaces it.
namespace FailureFile {

// From now on a crash writes the file, names it on the error output and then ends the
// program as the system ends it. To be called once, at the start, with the application's
// name and version set. Without a folder to write into nothing is written.
void Prepare();

// Writes the file about an error that nothing trapped: its number and its source.
// Does nothing before Prepare.
void Report(const Error &error);

}
