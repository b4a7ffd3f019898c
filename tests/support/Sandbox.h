// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QTemporaryDir>

// A home folder of a test program's own, made before anything asks for the
// real one: HOME, the XDG folders, the temporary and the current folder all
// lie inside it and go with it. A warning of Qt ends the program as failed.
class Sandbox {
public:
    Sandbox();
    ~Sandbox();
    Sandbox(const Sandbox &) = delete;
    Sandbox &operator=(const Sandbox &) = delete;

    // An absolute path inside the sandbox, with the system's separators.
    static QString Path(const QString &name);
    // The exams folder of the sandbox, made if need be.
    static QString ExamsFolder();
    // Writes a file, with its folders.
    static void WriteFile(const QString &path, const QByteArray &bytes);
    static QByteArray ReadFile(const QString &path);

private:
    QTemporaryDir m_folder;
};
