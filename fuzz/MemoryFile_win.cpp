// SPDX-License-Identifier: Apache-2.0
#include "fuzz/MemoryFile.h"

#include <windows.h>

using namespace Qt::Literals::StringLiterals;

// In the temporary folder, where it stays.
MemoryFile::MemoryFile()
{
    wchar_t folder[MAX_PATH + 2] = {};
    wchar_t path[MAX_PATH + 1] = {};
    GetTempPathW(MAX_PATH + 1, folder);
    Require(GetTempFileNameW(folder, L"exa", 0, path) != 0, "a temporary file");
    m_path = QString::fromWCharArray(path);
}
