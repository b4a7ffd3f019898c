// SPDX-License-Identifier: Apache-2.0
#include "tests/model/MemoryRequests.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include <windows.h>

size_t largestRequest = 0;

namespace {

void *Malloc(size_t size)
{
    largestRequest = std::max(largestRequest, size);
    return std::malloc(size);
}

void *Realloc(void *memory, size_t size)
{
    largestRequest = std::max(largestRequest, size);
    return std::realloc(memory, size);
}

// Has a library call the function of its own in place of that one of another
// library.
void Replace(const char *library, const char *name, void *function)
{
    auto *base = reinterpret_cast<unsigned char *>(GetModuleHandleA(library));
    const auto *header
        = reinterpret_cast<const IMAGE_NT_HEADERS *>(base + reinterpret_cast<const IMAGE_DOS_HEADER *>(base)->e_lfanew);
    const IMAGE_DATA_DIRECTORY &directory = header->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    auto *import = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR *>(base + directory.VirtualAddress);
    for (; import->Name != 0; ++import) {
        const auto *names = reinterpret_cast<const IMAGE_THUNK_DATA *>(base + import->OriginalFirstThunk);
        auto *places = reinterpret_cast<IMAGE_THUNK_DATA *>(base + import->FirstThunk);
        for (; names->u1.AddressOfData != 0; ++names, ++places) {
            if (IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal))
                continue;
            const auto *entry = reinterpret_cast<const IMAGE_IMPORT_BY_NAME *>(base + names->u1.AddressOfData);
            if (std::strcmp(reinterpret_cast<const char *>(entry->Name), name) != 0)
                continue;
            DWORD before = 0;
            VirtualProtect(places, sizeof *places, PAGE_READWRITE, &before);
            places->u1.Function = reinterpret_cast<ULONGLONG>(function);
            VirtualProtect(places, sizeof *places, before, &before);
        }
    }
}

const bool isCounting = [] {
    for (const char *library : { "Qt6Core.dll", "libstdc++-6.dll" }) {
        Replace(library, "malloc", reinterpret_cast<void *>(Malloc));
        Replace(library, "realloc", reinterpret_cast<void *>(Realloc));
    }
    return true;
}();

}
