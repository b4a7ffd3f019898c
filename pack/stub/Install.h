// SPDX-License-Identifier: Apache-2.0
#pragma once

// Installs a pack into the user's exams folder, which is created if necessary: the
// pack is unpacked into a folder of its own beside the exams, which then takes the
// place of the exam of its name by renaming. Leftovers of runs that were killed are
// removed before. file is a path in UTF-8, or nullptr for the program's own file.
//
// Returns 0, or 1 after one line on the error output. Everything is unchanged then,
// unless the line reports that the exam is in its place.
int InstallPack(const char *file);

class PackReader;

// Takes part in an installation.
class InstallPort {
public:
    virtual ~InstallPort() = default;
    // The pack has passed its check, and nothing on the disk has changed yet. What is
    // installed are the bytes that were checked, whatever is in the file by then. False
    // ends the installation.
    virtual bool Agrees(PackReader &pack) = 0;
    // Why nothing was installed: the name of the package folder or nullptr, what failed,
    // and the system's reason or nullptr; all of them UTF-8.
    virtual void Fail(const char *about, const char *text, const char *reason) = 0;
};

// The same with a port: 1 also after Agrees has returned false.
int InstallPack(const char *file, InstallPort &port);

// Prepares the process for InstallPack: on Linux signals that would end it are only
// noted, on Windows libraries are loaded from the system's folder alone.
void PrepareProgram();

// Writes the line "Exam pack: about: text: reason" to the error output, without the
// parts that are nullptr.
void Complain(const char *about, const char *text, const char *reason);
