// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "handles/Handle_unix.h"

#include <cstring>
#include <fcntl.h>

// Open files and folders of the system. Folders are named by an open one and a
// name in it, so that nothing leads elsewhere when paths change meanwhile.

constexpr int FolderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

// Has the system bring a file or a folder to the disk. Some file systems have
// nothing to do for a folder and say so.
bool Sync(int file);

// Shows every name in the folder to visit until that returns false. False when
// the folder cannot be listed, with the system's code left behind.
template <class Visit> bool ForEach(int folder, Visit visit)
{
    UniqueHandle own(openat(folder, ".", FolderFlags));
    const UniqueListing listing(own.IsOpen() ? fdopendir(own) : nullptr);
    if (!listing)
        return false;
    own.Release();
    while (const dirent *entry = readdir(listing.get())) {
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0 && !visit(entry->d_name))
            break;
    }
    return true;
}

// Whether a folder is in the folder; true too when it cannot be told.
bool HoldsFolder(int folder);
// Removes a folder and the files in it. One that holds a folder stays as it is.
void Remove(int parent, const char *name);

// A lock on a folder shows that the run that unpacks into it is alive; the
// system takes it away with the run. False when somebody else holds it.
bool Lock(int folder);
