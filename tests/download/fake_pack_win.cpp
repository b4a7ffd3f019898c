// SPDX-License-Identifier: Apache-2.0
#include <windows.h>

// A small program, without the language's library. The four lines behind it, in
// UTF-16, say what it does: the mark that it leaves, what it copies and where
// to, and whether it tries to remove itself.

namespace {

constexpr DWORD LongestText = 4096;
wchar_t text[LongestText];
wchar_t own[MAX_PATH];

wchar_t *NextLine(wchar_t *&at)
{
    wchar_t *line = at;
    while (*at != 0 && *at != L'\n')
        ++at;
    if (*at != 0)
        *at++ = 0;
    return line;
}

void MakeFolders(wchar_t *path)
{
    for (wchar_t *at = path + 3; *at != 0; ++at) {
        if (*at != L'\\')
            continue;
        *at = 0;
        CreateDirectoryW(path, nullptr);
        *at = L'\\';
    }
}

// Where the last section of the program ends in its file.
DWORD EndOfProgram()
{
    const auto *base = reinterpret_cast<const BYTE *>(GetModuleHandleW(nullptr));
    const auto *header
        = reinterpret_cast<const IMAGE_NT_HEADERS *>(base + reinterpret_cast<const IMAGE_DOS_HEADER *>(base)->e_lfanew);
    const IMAGE_SECTION_HEADER *section = IMAGE_FIRST_SECTION(header);
    DWORD end = 0;
    for (int i = 0; i < header->FileHeader.NumberOfSections; ++i) {
        const DWORD its = section[i].PointerToRawData + section[i].SizeOfRawData;
        end = section[i].SizeOfRawData > 0 && its > end ? its : end;
    }
    return end;
}

}

extern "C" void Start()
{
    GetModuleFileNameW(nullptr, own, MAX_PATH);
    const HANDLE file = CreateFileW(own, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING, 0, nullptr);
    SetFilePointer(file, static_cast<LONG>(EndOfProgram()), nullptr, FILE_BEGIN);
    DWORD got = 0;
    ReadFile(file, text, (LongestText - 1) * sizeof(wchar_t), &got, nullptr);
    CloseHandle(file);
    wchar_t *at = text;
    const wchar_t *mark = NextLine(at);
    const wchar_t *from = NextLine(at);
    wchar_t *to = NextLine(at);
    const bool removes = *NextLine(at) != 0;

    const HANDLE marked = CreateFileW(mark, GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, 0, nullptr);
    SetFilePointer(marked, 0, nullptr, FILE_END);
    DWORD put = 0;
    const bool isMarked = WriteFile(marked, "run\n", 4, &put, nullptr);
    CloseHandle(marked);
    bool isCopied = true;
    if (*from != 0) {
        MakeFolders(to);
        isCopied = CopyFileW(from, to, FALSE);
    }
    if (removes)
        DeleteFileW(own);
    ExitProcess(isMarked && isCopied ? 0 : 1);
}
