// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <cstdint>
#include <memory>

// The file that a pack is downloaded into and run from. It lies in a folder
// that is everybody's, so it is created anew for this user alone, never through
// a link and never over a file that is there, and it is run only if it is still
// the file that was created. Creating, writing and closing raise the system's
// error. Calls come in this order: Create, Write, Close, OpenForCheck, MakeRunnable,
// Run, Remove; after Abandon only Create or Remove. None of them runs events. Whether
// every byte has arrived is for the caller to know.
class PackFile {
public:
    PackFile();
    // Closes the file and leaves it where it is.
    ~PackFile();
    PackFile(const PackFile &) = delete;
    PackFile &operator=(const PackFile &) = delete;

    // A full path. A file that an earlier Create made is closed, and stays.
    void Create(const QString &path);
    // Collects bytes and hands them to the disk in larger pieces: an error of the
    // disk may be raised only by a later Write or by Close.
    void Write(const char *bytes, qint64 count);
    // Throws away all that was written since Create. Raises the system's error.
    void StartOver();
    // Nothing happens when none is open.
    void Close();
    // Closes the file without what has not been written yet; raises nothing.
    void Abandon();
    // As given to Create; empty before.
    const QString &Path() const { return m_path; }

    // The complete file, open for reading until MakeRunnable: a descriptor, or a handle that
    // keeps everybody from writing. Raises InvalidCall when the file is no longer
    // the one that was created, and the system's error.
    std::intptr_t OpenForCheck();
    // Makes the file a program and closes it if need be. Raises InvalidCall when it
    // is no longer the one that was created, when another user could exchange it
    // or when its disk allows no programs (the last two not on Windows), and the
    // system's error.
    void MakeRunnable();
    // The path to run it by, once it is runnable: it leads to the file that was
    // checked, on Windows whatever becomes of links in Path meanwhile.
    QString RunPath() const;
    // Runs it, blocks until its end and returns the exit code. Raises what
    // Common::SyncShell raises, with the system's reason behind the description.
    qint32 Run() const;
    // Removes the file that was created. Raises InvalidCall when it is gone, or
    // another one is at its place, which stays, and InvalidCall or the system's
    // error when it cannot be removed. On Windows it blocks for up to five seconds
    // while a program has it open.
    void Remove();

private:
    struct System;
    std::unique_ptr<System> m_system;
    QString m_path;
};

// Removes a regular file of this user's own; anything else stays as it is. It
// blocks as PackFile::Remove does. Raises nothing.
void RemoveOwnFile(const QString &path);

// Whether a name stays inside the folder that it is put into: it is not empty, has
// no separator and no NUL, is not the folder itself or the one above, and on
// Windows is no device's and means itself to the system.
bool IsPlainFileName(const QString &name);
