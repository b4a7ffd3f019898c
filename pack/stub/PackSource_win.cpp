// SPDX-License-Identifier: Apache-2.0
#include "handles/Handle_win.h"
#include "pack/stub/PackReader.h"

#include <algorithm>

bool ReadFileAt(std::intptr_t file, std::uint64_t offset, void *out, std::size_t count)
{
    auto *bytes = static_cast<char *>(out);
    SetLastError(ERROR_SUCCESS);
    while (count > 0) {
        OVERLAPPED place = AtOffset(offset);
        DWORD got = 0;
        const auto length = static_cast<DWORD>(std::min(count, LargestTransfer));
        if (!ReadFile(reinterpret_cast<HANDLE>(file), bytes, length, &got, &place) || got == 0)
            return false;
        bytes += got;
        offset += got;
        count -= got;
    }
    return true;
}

bool SourceOf(std::intptr_t file, PackSource &source)
{
    LARGE_INTEGER size = {};
    if (!GetFileSizeEx(reinterpret_cast<HANDLE>(file), &size))
        return false;
    source = { ReadFileAt, file, static_cast<std::uint64_t>(size.QuadPart) };
    return true;
}
