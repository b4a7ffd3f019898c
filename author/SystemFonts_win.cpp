// SPDX-License-Identifier: Apache-2.0
#include "author/SystemFonts.h"

#include <QFont>
#include <QStringList>

#include <shlobj.h>

using namespace Qt::Literals::StringLiterals;

// The platform plugin that needs no display reads fonts from a folder, which is
// empty unless it is told another, when the first text is painted. It knows no
// usual font, and would take the first one by name.
void UseSystemFonts()
{
    constexpr char variable[] = "QT_QPA_FONTDIR";
    wchar_t path[MAX_PATH];
    if (!qEnvironmentVariableIsSet(variable) && SHGetFolderPathW(nullptr, CSIDL_FONTS, nullptr, 0, path) == S_OK)
        qputenv(variable, QString::fromWCharArray(path).toLocal8Bit());
    const QStringList usual = { u"Segoe UI"_s, u"Arial"_s, u"Tahoma"_s, u"DejaVu Sans"_s };
    for (const QString &name : { u"Sans Serif"_s, u"sans-serif"_s })
        QFont::insertSubstitutions(name, usual);
}
