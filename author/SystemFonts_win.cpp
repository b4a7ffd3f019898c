// SPDX-License-Identifier: Apache-2.0
#include "author/SystemFonts.h"

#include <QString>

#include <shlobj.h>

// The platform plugin that needs no display reads fonts from a folder, which is
// empty unless it is told another. It reads them when the first text is painted.
void UseSystemFonts()
{
    constexpr char variable[] = "QT_QPA_FONTDIR";
    wchar_t path[MAX_PATH];
    if (!qEnvironmentVariableIsSet(variable) && SHGetFolderPathW(nullptr, CSIDL_FONTS, nullptr, 0, path) == S_OK)
        qputenv(variable, QString::fromWCharArray(path).toLocal8Bit());
}
