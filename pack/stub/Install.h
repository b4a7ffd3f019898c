// SPDX-License-Identifier: Apache-2.0
#pragma once

// Installs a pack into the user's exams folder, which is made if need be:
// unpacked beside the exam of its name and swapped in by renaming. What earlier
// runs had to leave behind is cleared away. The path is UTF-8; without one it
// is the program's own file.
//
// 0, or 1 after one line on the error output, with everything as it was unless
// the line says that the exam is there.
int InstallPack(const char *file);

// What a program that installs a pack does first: it puts off the signals that
// would end it, and takes libraries from nowhere but the system.
void PrepareProgram();

// Says one line on the error output. Parts may be nullptr.
void Complain(const char *about, const char *text, const char *reason);
