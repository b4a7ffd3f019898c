// SPDX-License-Identifier: Apache-2.0
#include "pack/stub/PackReader.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

bool ReadFileAt(std::intptr_t file, std::uint64_t offset, void *out, std::size_t count)
{
    auto *bytes = static_cast<char *>(out);
    errno = 0;
    while (count > 0) {
        const ssize_t got = pread(static_cast<int>(file), bytes, count, static_cast<off_t>(offset));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        bytes += got;
        offset += static_cast<std::uint64_t>(got);
        count -= static_cast<std::size_t>(got);
    }
    return true;
}

bool SourceOf(std::intptr_t file, PackSource &source)
{
    struct stat status = {};
    if (fstat(static_cast<int>(file), &status) != 0)
        return false;
    source = { ReadFileAt, file, static_cast<std::uint64_t>(status.st_size) };
    return true;
}
