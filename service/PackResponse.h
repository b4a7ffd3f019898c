// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "handles/Handle_unix.h"

#include <QString>

#include <optional>

struct MHD_Response;

// A pack that is open for reading.
struct OpenPack {
    UniqueHandle File;
    quint64 Size; // bytes
};

// Opens EXAM.exe in the folder; empty if it cannot be read, or is anything but a
// regular file (a symbolic link, a folder ...). The exam must be valid
// (Store::IsExamId), because it becomes a part of the path.
std::optional<OpenPack> OpenPackOf(const QString &folder, const QString &exam);

// A response that sends the pack and then closes its file; a null pointer if it
// cannot be created. A rate other than 0 limits the bytes that are sent in a
// second, for trials; each sending then blocks its thread of the server.
MHD_Response *MakePackResponse(OpenPack pack, quint32 bytesPerSecond);
