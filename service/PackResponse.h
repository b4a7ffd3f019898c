// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <optional>

struct MHD_Response;

// A pack that is open for reading. The descriptor is owned by whoever holds the
// object, until it is passed to MakePackResponse.
struct OpenPack {
    int Descriptor;
    quint64 Size; // bytes
};

// Opens EXAM.exe in the folder; empty if it cannot be read, or is anything but a
// regular file (a symbolic link, a folder ...). The exam must be valid
// (Store::IsExamId), because it becomes a part of the path.
std::optional<OpenPack> OpenPackOf(const QString &folder, const QString &exam);

// A response that sends the pack and closes the descriptor; the descriptor is also
// closed if the response cannot be created, which gives a null pointer. A rate
// other than 0 limits the bytes that are sent in a second, for trials; each
// sending then blocks its thread of the server.
MHD_Response *MakePackResponse(const OpenPack &pack, quint32 bytesPerSecond);
