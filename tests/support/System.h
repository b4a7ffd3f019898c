// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

// What differs between the systems that the tests run on.
namespace System {

// The system's codes for what the tests bring about.
extern const int NotFound; // no such file
extern const int FolderNotFound; // no such folder on the way to a file
extern const int Exists;
extern const int IsFolder; // a folder opened like a file
extern const int IsDevice; // a device or a pipe opened like a file
extern const int NotOpen;
extern const int NotAllowed; // a file opened for the other access alone

// The C library's code for a folder that is to be made below a file.
extern const int BelowAFile;

// Whether it is the ending of its name that makes a file a program.
extern const bool RunsByName;

// Always there, and no regular file.
extern const QString Device;

// The system's words for a code, as a program shows them in a line of its own.
QString TextOf(int code);

// The folder that packs are installed below.
QString ProgramFiles();

// Empties the user's and the machine's registry: everything on Unix, on Windows
// the key of that name.
void ForgetSettings(const QString &key);

// Whether Qt's library of widgets is part of this process.
bool HasWidgets();

// False where a folder can hold no such thing.
bool MakePipe(const QString &path);
bool MakeLink(const QString &target, const QString &path);

}
