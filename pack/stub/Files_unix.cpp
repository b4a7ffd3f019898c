// SPDX-License-Identifier: Apache-2.0
#include "pack/stub/Files_unix.h"

#include <sys/file.h>
#include <sys/stat.h>

bool Sync(int file)
{
    return Uninterrupted([&] { return fsync(file); }) == 0 || errno == EINVAL;
}

bool HoldsFolder(int folder)
{
    bool holds = false;
    const bool isListed = ForEach(folder, [&](const char *name) {
        struct stat status = {};
        holds = fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(status.st_mode);
        return !holds;
    });
    // One that was removed meanwhile holds nothing.
    return holds || (!isListed && errno != ENOENT);
}

void Remove(int parent, const char *name)
{
    const UniqueHandle folder(openat(parent, name, FolderFlags | O_NOFOLLOW));
    if (!folder.IsOpen() || HoldsFolder(folder))
        return;
    fchmod(folder, S_IRWXU);
    // A listing may miss names while others go.
    for (bool again = true; again;) {
        again = false;
        ForEach(folder, [&](const char *file) {
            again = unlinkat(folder, file, 0) == 0 || again;
            return true;
        });
    }
    unlinkat(parent, name, AT_REMOVEDIR);
}

bool Lock(int folder)
{
    return flock(folder, LOCK_EX | LOCK_NB) == 0;
}
