// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "handles/Handle_unix.h"

#include <cstring>
#include <fcntl.h>

// Folders of the system. A folder is given by an open one, or by an open one and a
// name in it, so that renaming a folder above cannot lead elsewhere.

constexpr int FolderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

// Flushes a file or a folder to the disk. False when that fails; a file system
// that cannot flush folders at all is no failure.
bool Sync(int file);

// Calls visit(const char *name) for each name in the folder but "." and "..",
// until it returns false. False when the folder cannot be listed, with the code in errno.
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

// Whether the folder contains a folder; also true when it cannot be listed, unless
// it was removed meanwhile.
bool HoldsFolder(int folder);
// Removes a folder and the files in it. One that contains a folder, or that is a
// link, is left unchanged. Errors are ignored.
void Remove(int parent, const char *name);

// Locks an open folder without waiting, until it is closed. The lock shows other
// runs that the one that unpacks into the folder has not ended. False with
// EWOULDBLOCK when another run holds it.
bool Lock(int folder);
