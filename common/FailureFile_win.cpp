// SPDX-License-Identifier: Apache-2.0
#include "common/FailureFile_p.h"

#include <QDir>

#include <csignal>
#include <cstdlib>

#include <windows.h>

using namespace Qt::Literals::StringLiterals;

namespace FailureFile {

namespace {

constexpr int MostFrames = 62;

// Never destroyed, because a crash may come while the program ends.
std::wstring &filePath = *new std::wstring;
std::wstring &fileFolder = *new std::wstring;
QByteArray &shownPath = *new QByteArray;
std::string_view fileHeader;

void Put(HANDLE file, std::string_view text)
{
    DWORD written = 0;
    WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

void PutNumber(HANDLE file, std::uint64_t number)
{
    char digits[16];
    for (int at = 15; at >= 0; --at, number >>= 4)
        digits[at] = "0123456789abcdef"[number & 0xF];
    Put(file, { digits, sizeof digits });
}

// The library that the address is in, and the distance from its start.
void PutFrame(HANDLE file, const void *address)
{
    HMODULE library = nullptr;
    wchar_t wide[MAX_PATH] = {};
    char name[MAX_PATH * 3] = {};
    const DWORD how = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (GetModuleHandleExW(how, static_cast<const wchar_t *>(address), &library)
        && GetModuleFileNameW(library, wide, MAX_PATH) > 0
        && WideCharToMultiByte(CP_UTF8, 0, wide, -1, name, sizeof name, nullptr, nullptr) > 0) {
        const std::string_view path(name);
        Put(file, path.substr(path.rfind('\\') + 1));
    }
    Put(file, " +");
    PutNumber(file, reinterpret_cast<std::uintptr_t>(address) - reinterpret_cast<std::uintptr_t>(library));
    Put(file, "\n");
}

LONG WINAPI OnException(EXCEPTION_POINTERS *exception)
{
    char line[] = "Exception 00000000";
    DWORD code = exception->ExceptionRecord->ExceptionCode;
    for (int at = sizeof line - 2; at > 9; --at, code >>= 4)
        line[at] = "0123456789abcdef"[code & 0xF];
    Write(line);
    return EXCEPTION_CONTINUE_SEARCH;
}

void OnAbort(int)
{
    Write("Aborted");
}

}

QString StateFolder()
{
    const QString data = qEnvironmentVariable("LOCALAPPDATA");
    return data.isEmpty() ? QString() : data + u"/Practorium"_s;
}

void Watch(const QString &path, std::string_view header)
{
    filePath = QDir::toNativeSeparators(path).toStdWString();
    fileFolder = filePath.substr(0, filePath.rfind(L'\\'));
    shownPath = path.toUtf8();
    fileHeader = header;
    SetUnhandledExceptionFilter(OnException);
    std::signal(SIGABRT, OnAbort);
}

void Write(std::string_view line)
{
    CreateDirectoryW(fileFolder.c_str(), nullptr);
    const HANDLE file
        = CreateFileW(filePath.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return;
    Put(file, fileHeader);
    Put(file, line);
    Put(file, "\n");
    void *frames[MostFrames];
    const int count = CaptureStackBackTrace(0, MostFrames, frames, nullptr);
    for (int at = 0; at < count; ++at)
        PutFrame(file, frames[at]);
    CloseHandle(file);
    const HANDLE error = GetStdHandle(STD_ERROR_HANDLE);
    Put(error, "What happened is described in ");
    Put(error, { shownPath.constData(), static_cast<size_t>(shownPath.size()) });
    Put(error, "\n");
}

}
