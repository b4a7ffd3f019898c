// SPDX-License-Identifier: Apache-2.0
#include "pack/stub/Files_unix.h"

#include <cerrno>
#include <sys/file.h>
#include <sys/stat.h>

bool WriteAll(int file, const char *bytes, std::size_t count)
{
    while (count > 0) {
        const ssize_t put = write(file, bytes, count);
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0)
            return false;
        bytes += put;
        count -= static_cast<std::size_t>(put);
    }
    return true;
}

bool Sync(int file)
{
    int result = fsync(file);
    while (result != 0 && errno == EINTR)
        result = fsync(file);
    return result == 0 || errno == EINVAL;
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
    const Descriptor folder(openat(parent, name, FolderFlags | O_NOFOLLOW));
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
