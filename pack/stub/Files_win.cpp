// SPDX-License-Identifier: Apache-2.0
#include "pack/stub/Files_win.h"

#include <algorithm>

namespace {

void RemoveFiles(const Path &folder)
{
    // A listing may miss names while others go.
    for (bool again = true; again;) {
        again = false;
        ForEach(folder, [&](const WIN32_FIND_DATAW &entry) {
            const Path file(folder, entry.cFileName);
            if (entry.dwFileAttributes & FILE_ATTRIBUTE_READONLY)
                SetFileAttributesW(file, FILE_ATTRIBUTE_NORMAL);
            again = DeleteFileW(file) || again;
            return true;
        });
    }
}

}

Path::Path(const Path &folder, std::string_view name, std::string_view prefix)
    : Path(folder, L"")
{
    for (const std::string_view part : { prefix, name }) {
        wchar_t wide[Longest] = {};
        const int length = part.empty()
            ? 0
            : MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, part.data(), static_cast<int>(part.size()), wide, Longest - 1);
        if (!part.empty() && length <= 0) {
            *this = Path();
            return;
        }
        Append(wide);
    }
}

Path::Path(const Path &folder, const wchar_t *name)
    : Path(folder)
{
    if (m_length > 0) {
        Append(L"\\");
        Append(name);
    }
}

void Path::Append(const wchar_t *text)
{
    const std::wstring_view more = text;
    if (more.size() >= Longest - m_length) {
        *this = Path();
        return;
    }
    std::copy(more.begin(), more.end(), m_text + m_length);
    m_length += more.size();
}

const wchar_t *Path::Name() const
{
    const std::size_t separator = std::wstring_view(m_text, m_length).rfind(L'\\');
    return separator == std::wstring_view::npos ? m_text : m_text + separator + 1;
}

bool IsFolder(const WIN32_FIND_DATAW &entry)
{
    return (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool HoldsFolder(const Path &folder)
{
    bool holds = false;
    const bool isListed = ForEach(folder, [&](const WIN32_FIND_DATAW &entry) {
        holds = IsFolder(entry);
        return !holds;
    });
    return holds || !isListed;
}

void Remove(const Path &folder)
{
    {
        // Cannot be opened while the folder is locked, and keeps the folder from
        // being replaced by a link.
        const UniqueHandle own(CreateFileW(folder, FILE_LIST_DIRECTORY, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                           FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
        BY_HANDLE_FILE_INFORMATION about = {};
        if (!own.IsOpen() || !GetFileInformationByHandle(own, &about) || (about.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT)
            || (about.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0 || HoldsFolder(folder))
            return;
        RemoveFiles(folder);
    }
    // Fails when another run has locked it since.
    RemoveDirectoryW(folder);
}

UniqueHandle Lock(const Path &folder, DWORD share)
{
    return UniqueHandle(CreateFileW(folder, FILE_LIST_DIRECTORY | FILE_ADD_FILE, FILE_SHARE_READ | FILE_SHARE_WRITE | share,
                                    nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT,
                                    nullptr));
}
