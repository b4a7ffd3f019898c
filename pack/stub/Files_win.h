// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "handles/Handle_win.h"

#include <string_view>

// Folders of the system, and paths that it takes literally: behind "\\?\" dots,
// blanks and names of devices have no other meaning.

// A path of up to 1,023 characters; one that grows longer becomes empty, and no
// file has that path.
class Path {
public:
    Path() = default;
    // The folder, a separator, the prefix and the name, both of them UTF-8. Empty
    // when they are not.
    Path(const Path &folder, std::string_view name, std::string_view prefix = {});
    // The folder, a separator and a name as the system lists it.
    Path(const Path &folder, const wchar_t *name);

    void Append(const wchar_t *text);
    operator const wchar_t *() const { return m_text; }
    // The part after the last separator.
    const wchar_t *Name() const;

private:
    static constexpr std::size_t Longest = 1024;
    wchar_t m_text[Longest] = {};
    std::size_t m_length = 0;
};

// Calls visit(const WIN32_FIND_DATAW &entry) for each entry of the folder but "."
// and "..", until it returns false. False when the folder cannot be listed, with
// the code for GetLastError.
template <class Visit> bool ForEach(const Path &folder, Visit visit)
{
    FileSearch search(Path(folder, L"*"));
    if (!search.IsFound())
        return GetLastError() == ERROR_FILE_NOT_FOUND;
    do {
        const std::wstring_view name = search.Entry.cFileName;
        if (name != L"." && name != L".." && !visit(search.Entry))
            break;
    } while (search.Next());
    return true;
}

// Whether the entry is a folder or a link to one.
bool IsFolder(const WIN32_FIND_DATAW &entry);
// Whether the folder contains a folder; also true when it cannot be listed.
bool HoldsFolder(const Path &folder);
// Removes a folder and the files in it. A link, a folder that contains a folder and
// one that is locked are left unchanged. Errors are ignored.
void Remove(const Path &folder);

// Opens a folder, which locks it until the handle is closed. The lock shows other
// runs that the one that unpacks into the folder has not ended. The folder cannot
// be removed or renamed meanwhile unless share is FILE_SHARE_DELETE.
UniqueHandle Lock(const Path &folder, DWORD share);
