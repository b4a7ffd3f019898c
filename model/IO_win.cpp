// SPDX-License-Identifier: Apache-2.0
#include "model/IO.h"

#include "common/WidePath_win.h"
#include "handles/Handle_win.h"

#include <array>

#include <windows.h>

#include <shlobj.h>

using namespace Qt::Literals::StringLiterals;

namespace IO {

const QChar Separator = u'\\';

namespace {

constexpr int LongestFolder = 260;

}

QString GetSpecialFolder(const QString &Macro)
{
    std::array<wchar_t, LongestFolder + 1> path{};
    const HRESULT result = SHGetFolderPathW(nullptr, GetFolderID(Macro), nullptr, SHGFP_TYPE_CURRENT, path.data());
    return SUCCEEDED(result) ? QString::fromWCharArray(path.data()) : QString();
}

bool FileExists(const QString &Path)
{
    return FileSearch(Wide(WidePath(Path))).IsFound();
}

QStringList GetSubFolders(const QString &Folder)
{
    QStringList names;
    FileSearch search(Wide(WidePath(CombinePath(Folder, u"*.*"_s))));
    for (bool isThere = search.IsFound(); isThere; isThere = search.Next()) {
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
