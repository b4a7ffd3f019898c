#pragma once

// Installs the pack in that file into the user's exams folder, which is made
// if need be: unpacked beside the exam of its name and swapped in by renaming,
// so that the old or the new exam is there whole at every moment. What earlier
// runs had to leave behind is cleared away.
//
// 0, or 1 after one line on the error output, with everything as it was.
int InstallPack(const char *file);

// How the program names its own file.
extern const char OwnFile[];

// Says one line on the error output. Parts may be nullptr.
void Complain(const char *about, const char *text, const char *reason);
