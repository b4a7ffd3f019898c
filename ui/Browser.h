// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

// Opens the address in the user's web browser; a failure is reported in a
// message box. Writes and deletes the file "temp.htm" in the current folder.
void LaunchBrowser(const QString &Url);

// The system's half.

// The program that opens a document; empty when there is none.
QString FindDocumentProgram(const QString &Document);
// Starts the program with the address as its parameter.
bool OpenWithProgram(const QString &Program, const QString &Url);
