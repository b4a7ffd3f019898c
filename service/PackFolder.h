// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "handles/Handle_unix.h"

#include <QByteArray>
#include <QString>

#include <compare>
#include <optional>

// What tells one version of a file from the next, as long as a new version is not
// written over the old one within a tick of the file system's clock.
struct PackVersion {
    quint64 Device;
    quint64 Node;
    quint64 Size; // bytes
    qint64 Seconds; // of the last change of content or attributes, which nobody can choose
    qint64 Nanoseconds;

    auto operator<=>(const PackVersion &) const = default;
};

// A pack that is open for reading. It stays the version that was opened when
// another file takes its name.
struct OpenPack {
    UniqueHandle File;
    PackVersion Version;
    QByteArray Path; // from the folder of packs
};

// The version that an open file has at this moment; empty if it is no regular file.
std::optional<PackVersion> VersionOf(int file);

// The folder inside the folder of packs with those for the system that a client
// names in its User-Agent: "windows" or "linux"; empty if it names neither.
QString SystemFolderOf(const QByteArray &userAgent);

// Opens EXAM.exe in the system's folder inside the folder, or if that has none,
// in the folder itself. Empty if it cannot be read, or is anything but a regular
// file (a symbolic link, a folder ...). The exam must be valid (Store::IsExamId),
// because it becomes a part of the path.
std::optional<OpenPack> OpenPackOf(const QString &folder, const QString &system, const QString &exam);
