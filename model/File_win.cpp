// SPDX-License-Identifier: Apache-2.0
#include "model/File_p.h"

#include "common/WidePath_win.h"
#include "handles/Handle_win.h"

#include <algorithm>
#include <utility>

#include <windows.h>

namespace {

HANDLE AsHandle(qintptr descriptor)
{
    return reinterpret_cast<HANDLE>(descriptor);
}

}

File::Handle::~Handle()
{
    Close();
}

bool File::Handle::Open(const QString &path, quint32 access, quint32 disposition, quint32 &attributes, qint64 &size)
{
    UniqueHandle file(
        CreateFileW(Wide(WidePath(path)), access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, disposition, 0, nullptr));
    if (!file.IsOpen())
        return false;
    BY_HANDLE_FILE_INFORMATION information = {};
    DWORD code = ERROR_INVALID_PARAMETER;
    if (GetFileType(file) == FILE_TYPE_DISK) {
        if (GetFileInformationByHandle(file, &information)) {
            attributes = information.dwFileAttributes;
            size = static_cast<qint64>(static_cast<quint64>(information.nFileSizeHigh) << 32 | information.nFileSizeLow);
            m_descriptor = reinterpret_cast<qintptr>(file.Release());
            return true;
        }
        code = GetLastError();
    }
    file.Close();
    SetLastError(code);
    return false;
}

bool File::Handle::Close()
{
    return UniqueHandle(AsHandle(std::exchange(m_descriptor, -1))).Close();
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
    OVERLAPPED place = AtOffset(static_cast<quint64>(position));
    const auto length = static_cast<DWORD>(std::min(static_cast<size_t>(count), LargestTransfer));
    DWORD got = 0;
    if (ReadFile(AsHandle(m_descriptor), out, length, &got, &place))
        return got;
    return GetLastError() == ERROR_HANDLE_EOF ? 0 : -1;
}

bool File::Handle::Write(const char *bytes, qint64 count, qint64 position)
{
    return WriteAllAt(AsHandle(m_descriptor), bytes, static_cast<size_t>(count), static_cast<quint64>(position));
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
