// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "handles/Handle_win.h"

#include <string_view>

// Open files and folders of the system, and paths that it takes as they are
// written: behind "\\?\" neither dots nor blanks nor names of devices mean
// anything else.

// A path; one that grows too long is empty, and nothing is there.
class Path {
public:
    Path() = default;
    // A name in a folder, the text being UTF-8. One that is not becomes an
    // empty path.
    Path(const Path &folder, std::string_view name, std::string_view prefix = {});
    // A name that the system has told, in a folder.
    Path(const Path &folder, const wchar_t *name);

    void Append(const wchar_t *text);
    operator const wchar_t *() const { return m_text; }
    // What stands behind the last separator.
    const wchar_t *Name() const;

private:
    static constexpr std::size_t Longest = 1024;
    wchar_t m_text[Longest] = {};
    std::size_t m_length = 0;
};

// Shows every entry of the folder, as WIN32_FIND_DATAW, to visit until that
// returns false. False when the folder cannot be listed, with the system's code
// left behind.
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
// Whether a folder is in the folder; true too when it cannot be told.
bool HoldsFolder(const Path &folder);
// Removes the files in a folder and then it. A link stays as it is, and so does a
// folder that holds a folder or that somebody has locked.
void Remove(const Path &folder);

// An open folder. It is a lock on it, too: it shows that the run that unpacks
// into it is alive, and the system takes it away with the run. Nobody can remove
// or rename the folder meanwhile unless FILE_SHARE_DELETE is shared.
UniqueHandle Lock(const Path &folder, DWORD share);
