// SPDX-License-Identifier: Apache-2.0
#include "model/IO.h"

#include "common/WidePath_win.h"

#include <array>

#include <windows.h>

#include <shlobj.h>

using namespace Qt::Literals::StringLiterals;

namespace IO {

const QChar Separator = u'\\';

namespace {

constexpr int LongestFolder = 260;

// The entries that a path with or without wildcards names, one after the other.
class Search {
public:
    explicit Search(const QString &pattern)
        : m_handle(FindFirstFileW(Wide(WidePath(pattern)), &Entry))
    {
    }
    ~Search()
    {
        if (Found())
            FindClose(m_handle);
    }
    Search(const Search &) = delete;
    Search &operator=(const Search &) = delete;

    bool Found() const { return m_handle != INVALID_HANDLE_VALUE; }
    bool Next() { return FindNextFileW(m_handle, &Entry) != FALSE; }

    WIN32_FIND_DATAW Entry = {};

private:
    HANDLE m_handle;
};

}

QString GetSpecialFolder(const QString &Macro)
{
    std::array<wchar_t, LongestFolder + 1> path{};
    const HRESULT result = SHGetFolderPathW(nullptr, GetFolderID(Macro), nullptr, SHGFP_TYPE_CURRENT, path.data());
    return SUCCEEDED(result) ? QString::fromWCharArray(path.data()) : QString();
}

bool FileExists(const QString &Path)
{
    return Search(Path).Found();
}

QStringList GetSubFolders(const QString &Folder)
{
    QStringList names;
    Search search(CombinePath(Folder, u"*.*"_s));
    for (bool isThere = search.Found(); isThere; isThere = search.Next()) {
        if (search.Entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
            names.append(QString::fromWCharArray(search.Entry.cFileName));
    }
    return names;
}

QString GetTempFolder()
{
    std::array<wchar_t, MAX_PATH + 2> path{};
    return GetTempPathW(MAX_PATH + 1, path.data()) > MAX_PATH + 1 ? QString() : QString::fromWCharArray(path.data());
}

}
