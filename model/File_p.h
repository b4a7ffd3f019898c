// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model/File.h"

// Every operation that can fail returns false or -1 and leaves the thread's
// last system error behind.
struct File::Handle {
    ~Handle();
    // Reads attributes and size too, which a system has for an open file at once.
    bool Open(const QString &path, quint32 access, quint32 disposition, quint32 &attributes, qint64 &size);
    bool Close();
    bool Flush();
    // -1 on failure.
    qint64 Size() const;
    qint64 Read(char *out, qint64 count, qint64 position);
    bool Write(const char *bytes, qint64 count, qint64 position);

    static bool ReadAttributes(const QString &path, quint32 &attributes);
    static bool WriteAttributes(const QString &path, quint32 attributes);

    // The system's code for a read or a write that the open file was not opened
    // for, or that comes while no file is open.
    static qint32 RefusalCode(bool isOpen);

    qintptr m_descriptor = -1;
};
