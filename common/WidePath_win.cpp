// SPDX-License-Identifier: Apache-2.0
#include "common/WidePath_win.h"

#include <windows.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// A folder needs room for a name of 12 characters, so its limit is lower.
constexpr qsizetype LongestPlainPath = MAX_PATH - 13;

}

QString WidePath(const QString &path)
{
    const DWORD room = GetFullPathNameW(Wide(path), 0, nullptr, nullptr);
    if (room <= LongestPlainPath)
        return path;
    QString whole(room, Qt::Uninitialized);
    whole.truncate(GetFullPathNameW(Wide(path), room, reinterpret_cast<wchar_t *>(whole.data()), nullptr));
    if (whole.startsWith("\\\\?\\"_L1) || whole.startsWith("\\\\.\\"_L1))
        return whole;
    return whole.startsWith("\\\\"_L1) ? u"\\\\?\\UNC"_s + whole.mid(1) : u"\\\\?\\"_s + whole;
}
