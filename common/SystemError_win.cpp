// SPDX-License-Identifier: Apache-2.0
#include "common/Common.h"

#include <array>

#include <windows.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int BufferLength = 256;
constexpr qint32 FirstNetworkError = 2100;
constexpr qint32 BehindNetworkErrors = 3000;

}

namespace Common {

QString SystemErrorText(qint32 code)
{
    HMODULE library = nullptr;
    if (code >= FirstNetworkError && code < BehindNetworkErrors)
        library = LoadLibraryExW(L"netmsg.dll", nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_SEARCH_SYSTEM32);
    const DWORD sources = FORMAT_MESSAGE_FROM_SYSTEM | (library ? FORMAT_MESSAGE_FROM_HMODULE : 0);
    std::array<wchar_t, BufferLength> buffer{};
    const DWORD length = FormatMessageW(sources | FORMAT_MESSAGE_IGNORE_INSERTS, library, static_cast<DWORD>(code), 0,
                                        buffer.data(), BufferLength, nullptr);
    if (library)
        FreeLibrary(library);
    return length == 0 ? u"Unknown error"_s : QString::fromWCharArray(buffer.data(), BufferLength);
}

qint32 LastSystemError()
{
    return static_cast<qint32>(GetLastError());
}

void SetLastSystemError(qint32 code)
{
    SetLastError(static_cast<DWORD>(code));
}

}
