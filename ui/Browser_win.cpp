// SPDX-License-Identifier: Apache-2.0
#include "ui/Browser.h"

#include "common/WidePath_win.h"

#include <array>

#include <windows.h>

#include <shellapi.h>

namespace {

// The call gives the handle of a module where there is none any more: a number
// up to 32 is an error.
constexpr INT_PTR LargestError = 32;

}

QString FindDocumentProgram(const QString &Document)
{
    std::array<wchar_t, MAX_PATH + 1> program{};
    const HINSTANCE result = FindExecutableW(Wide(Document), nullptr, program.data());
    return reinterpret_cast<INT_PTR>(result) > LargestError ? QString::fromWCharArray(program.data()) : QString();
}

// Only a result of exactly 0 counts as failure here.
bool OpenWithProgram(const QString &Program, const QString &Url)
{
    return ShellExecuteW(nullptr, L"open", Wide(Program), Wide(Url), nullptr, SW_SHOWNORMAL) != nullptr;
}
