// SPDX-License-Identifier: Apache-2.0
#include "model/File_p.h"

#include "common/WidePath_win.h"

#include <algorithm>
#include <utility>

#include <windows.h>

namespace {

constexpr qint64 LargestTransfer = 1 << 30;

HANDLE AsHandle(qintptr descriptor)
{
    return reinterpret_cast<HANDLE>(descriptor);
}

// Where a read or a write takes place, whatever the file pointer says.
OVERLAPPED At(qint64 position)
{
    OVERLAPPED place = {};
    place.Offset = static_cast<DWORD>(position);
    place.OffsetHigh = static_cast<DWORD>(position >> 32);
    return place;
}

}

File::Handle::~Handle()
{
    Close();
}

bool File::Handle::Open(const QString &path, quint32 access, quint32 disposition, quint32 &attributes)
{
    const HANDLE handle
        = CreateFileW(Wide(WidePath(path)), access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, disposition, 0, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return false;
    m_descriptor = reinterpret_cast<qintptr>(handle);
    BY_HANDLE_FILE_INFORMATION information = {};
    DWORD code = ERROR_INVALID_PARAMETER;
    if (GetFileType(handle) == FILE_TYPE_DISK) {
        if (GetFileInformationByHandle(handle, &information)) {
            attributes = information.dwFileAttributes;
            return true;
        }
        code = GetLastError();
    }
    Close();
    SetLastError(code);
    return false;
}

bool File::Handle::Close()
{
    if (m_descriptor == -1)
        return true;
    return CloseHandle(AsHandle(std::exchange(m_descriptor, -1))) != FALSE;
}

bool File::Handle::Flush()
{
    return FlushFileBuffers(AsHandle(m_descriptor)) != FALSE;
}

qint64 File::Handle::Size() const
{
    LARGE_INTEGER size = {};
    return GetFileSizeEx(AsHandle(m_descriptor), &size) ? size.QuadPart : -1;
}

qint64 File::Handle::Read(char *out, qint64 count, qint64 position)
{
    OVERLAPPED place = At(position);
    DWORD got = 0;
    if (ReadFile(AsHandle(m_descriptor), out, static_cast<DWORD>(std::min(count, LargestTransfer)), &got, &place))
        return got;
    return GetLastError() == ERROR_HANDLE_EOF ? 0 : -1;
}

bool File::Handle::Write(const char *bytes, qint64 count, qint64 position)
{
    while (count > 0) {
        OVERLAPPED place = At(position);
        DWORD put = 0;
        if (!WriteFile(AsHandle(m_descriptor), bytes, static_cast<DWORD>(std::min(count, LargestTransfer)), &put, &place))
            return false;
        if (put == 0) {
            SetLastError(ERROR_DISK_FULL);
            return false;
        }
        bytes += put;
        count -= put;
        position += put;
    }
    return true;
}

bool File::Handle::ReadAttributes(const QString &path, quint32 &attributes)
{
    const DWORD word = GetFileAttributesW(Wide(WidePath(path)));
    if (word == INVALID_FILE_ATTRIBUTES)
        return false;
    attributes = word;
    return true;
}

bool File::Handle::WriteAttributes(const QString &path, quint32 attributes)
{
    return SetFileAttributesW(Wide(WidePath(path)), attributes) != FALSE;
}

qint32 File::Handle::RefusalCode(bool isOpen)
{
    return isOpen ? ERROR_ACCESS_DENIED : ERROR_INVALID_HANDLE;
}
