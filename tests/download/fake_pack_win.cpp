// SPDX-License-Identifier: Apache-2.0
#include <windows.h>

// What FakePack.h says, without the language's library.
extern "C" void Start()
{
    const HANDLE mark = CreateFileW(L"mark", FILE_APPEND_DATA, 0, nullptr, OPEN_ALWAYS, 0, nullptr);
    DWORD put = 0;
    WriteFile(mark, "run\n", 4, &put, nullptr);
    CloseHandle(mark);
    static wchar_t own[MAX_PATH];
    GetModuleFileNameW(nullptr, own, MAX_PATH);
    if (GetFileAttributesW(L"removes") != INVALID_FILE_ATTRIBUTES)
        DeleteFileW(own);
    ExitProcess(7);
}
