// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QStringList>

// Paths, folders and size texts. None of these raises for an ordinary miss.
namespace IO {

// The system's own separator, "/" or "\".
extern const QChar Separator;

// The number of a folder macro such as "$(PROGRAMFILES)", compared whole,
// without regard to case and surrounding blanks; 0, the desktop, for any
// other text. The numbers are the shell's CSIDL values.
qint32 GetFolderID(const QString &Macro);
// The real folder behind a macro; empty when the system has none.
QString GetSpecialFolder(const QString &Macro);

// Folder, trimmed, and Name with one separator between them.
QString CombinePath(const QString &Folder, const QString &Name);
// What stands before the last separator; empty when there is none.
QString GetFolder(const QString &Path);
// What stands behind the last separator, without the extension on request.
QString GetFileName(const QString &Path, bool StripExtension);
// What stands behind the last "." of the trimmed path; empty without one.
QString GetExtension(const QString &Path);
// Replaces the extension of Path, or appends one, behind a single dot:
// Extension may begin with dots or not. Returns the new path too.
QString ChangeExtension(QString &Path, const QString &Extension);

// True when anything of that name is there, a folder too; "*" and "?" in the
// last component stand for any characters and for one.
bool FileExists(const QString &Path);
// The names of the folders inside Folder, trimmed, "." and ".." included, in the order
// in which the system lists them; empty when it cannot be read.
QStringList GetSubFolders(const QString &Folder);
QString GetTempFolder();

// A byte count for people, such as "976.56 KB". The unit is chosen by powers
// of 1,000 of the whole kilobytes and the number divided by powers of 1,024.
QString FormatSize(double Size, qint16 Decimals);

}
