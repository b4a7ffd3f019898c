// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <memory>

// The file that a pack is downloaded into and run from. It lies in a folder
// that is everybody's, so it is created anew for this user alone, never through
// a link and never over a file that is there, and it is run only if it is still
// the file that was created. Creating, writing and closing raise the system's
// error.
class PackFile {
public:
    PackFile();
    // Closes the file and leaves it where it is.
    ~PackFile();
    PackFile(const PackFile &) = delete;
    PackFile &operator=(const PackFile &) = delete;

    void Create(const QString &path);
    void Write(const char *bytes, qint64 count);
    void Close();
    // Closes the file without what has not been written yet; raises nothing.
    void Abandon();
    const QString &Path() const { return m_path; }

    // Makes the closed file a program. Raises an Error when it is no longer the
    // one that was created or when another user could exchange it.
    void MakeRunnable();
    // The path to run it by, once it is runnable: it leads to the file that was
    // checked, on Windows whatever becomes of links in Path meanwhile.
    QString RunPath() const;
    // Runs it and waits for its end; the exit code does not matter. Raises what
    // SyncShell raises, with the system's reason behind the description.
    void Run() const;
    // Removes the file that was created. Raises an Error when it is gone, or
    // another one is at its place, which stays. On Windows it waits up to five
    // seconds for a program that has it open.
    void Remove();

private:
    struct System;
    std::unique_ptr<System> m_system;
    QString m_path;
};

// Removes a regular file of this user's own; anything else stays as it is. It
// waits as PackFile::Remove does.
void RemoveOwnFile(const QString &path);

// A name that stays inside the folder that it is put into.
bool IsPlainFileName(const QString &name);
