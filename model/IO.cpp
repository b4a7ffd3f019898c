// SPDX-License-Identifier: Apache-2.0
#include "model/IO.h"

#include "common/Common.h"

#include <QLocale>

#include <algorithm>
#include <array>
#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace IO {

namespace {

struct FolderMacro {
    QLatin1StringView Name;
    qint32 ID;
};

constexpr std::array FolderMacros = {
    FolderMacro{ "$(DESKTOP)"_L1, 0 },
    FolderMacro{ "$(PROGRAMSMENU)"_L1, 2 },
    FolderMacro{ "$(MYDOCUMENTS)"_L1, 5 },
    FolderMacro{ "$(FAVORITES)"_L1, 6 },
    FolderMacro{ "$(STARTUP)"_L1, 7 },
    FolderMacro{ "$(RECENT)"_L1, 8 },
    FolderMacro{ "$(SENDTO)"_L1, 9 },
    FolderMacro{ "$(STARTMENU)"_L1, 11 },
    FolderMacro{ "$(DESKTOPFOLDER)"_L1, 16 },
    FolderMacro{ "$(NETWORK)"_L1, 18 },
    FolderMacro{ "$(NETHOOD)"_L1, 19 },
    FolderMacro{ "$(FONTS)"_L1, 20 },
    FolderMacro{ "$(TEMPLATES)"_L1, 21 },
    FolderMacro{ "$(ALLUSERSSTARTMENU)"_L1, 22 },
    FolderMacro{ "$(ALLUSERSPROGRAMSMENU)"_L1, 23 },
    FolderMacro{ "$(ALLUSERSSTARTUP)"_L1, 24 },
    FolderMacro{ "$(ALLUSERSDESKTOP)"_L1, 25 },
    FolderMacro{ "$(APPDATA)"_L1, 26 },
    FolderMacro{ "$(PRINTHOOD)"_L1, 27 },
    FolderMacro{ "$(LOCALAPPDATA)"_L1, 28 },
    FolderMacro{ "$(ALLUSERSFAVORITES)"_L1, 31 },
    FolderMacro{ "$(INTERNETCACHE)"_L1, 32 },
    FolderMacro{ "$(COOKIES)"_L1, 33 },
    FolderMacro{ "$(HISTORY)"_L1, 34 },
    FolderMacro{ "$(ALLUSERSAPPDATA)"_L1, 35 },
    FolderMacro{ "$(WINDOWS)"_L1, 36 },
    FolderMacro{ "$(SYSTEM)"_L1, 37 },
    FolderMacro{ "$(PROGRAMFILES)"_L1, 38 },
    FolderMacro{ "$(MYPICTURES)"_L1, 39 },
    FolderMacro{ "$(PROFILE)"_L1, 40 },
    FolderMacro{ "$(COMMONFILES)"_L1, 43 },
    FolderMacro{ "$(ALLUSERSTEMPLATES)"_L1, 45 },
    FolderMacro{ "$(ALLUSERSDOCUMENTS)"_L1, 46 },
    FolderMacro{ "$(ALLUSERSADMINTOOLS)"_L1, 47 },
};

// The position of the last "." of the trimmed path, or -1.
qsizetype ExtensionDot(const QString &trimmed)
{
    return trimmed.lastIndexOf(u'.');
}

}

qint32 GetFolderID(const QString &Macro)
{
    const QString name = Common::TrimBlanks(Macro).toUpper();
    for (const FolderMacro &macro : FolderMacros) {
        if (name == macro.Name)
            return macro.ID;
    }
    return 0;
}

QString CombinePath(const QString &Folder, const QString &Name)
{
    QString path = Common::TrimBlanks(Folder);
    if (!path.endsWith(Separator))
        path += Separator;
    return path + Name;
}

QString GetFolder(const QString &Path)
{
    return Path.left(std::max<qsizetype>(Path.lastIndexOf(Separator), 0));
}

QString GetFileName(const QString &Path, bool StripExtension)
{
    const QString name = Path.mid(Path.lastIndexOf(Separator) + 1);
    if (!StripExtension)
        return name;
    const qsizetype dot = ExtensionDot(name);
    return dot < 0 ? name : name.left(dot);
}

QString GetExtension(const QString &Path)
{
    const QString trimmed = Common::TrimBlanks(Path);
    const qsizetype dot = ExtensionDot(trimmed);
    return dot < 0 ? QString() : trimmed.mid(dot + 1);
}

QString ChangeExtension(QString &Path, const QString &Extension)
{
    const qsizetype dot = ExtensionDot(Path);
    if (dot >= 0)
        Path.truncate(dot);
    const auto *letter = std::find_if(Extension.begin(), Extension.end(), [](QChar c) { return c != u'.'; });
    Path += u'.';
    Path += QStringView(letter, Extension.end());
    return Path;
}

QString FormatSize(double Size, qint16 Decimals)
{
    struct Unit {
        double Limit; // of the whole kilobytes
        double Divisor;
        QLatin1StringView Name;
    };
    static constexpr std::array units = {
        Unit{ 1e3, 0x1p10, " KB"_L1 },  Unit{ 1e6, 0x1p20, " MB"_L1 },  Unit{ 1e9, 0x1p30, " GB"_L1 },
        Unit{ 1e12, 0x1p40, " TB"_L1 }, Unit{ 1e15, 0x1p50, " PB"_L1 },
    };
    QLocale locale = QLocale::system();
    locale.setNumberOptions(QLocale::DefaultNumberOptions);
    const double kilobytes = std::trunc(Size / 1024);
    if (kilobytes < 1)
        return locale.toString(Size, 'f', 0) + " bytes"_L1;
    for (const Unit &unit : units) {
        if (kilobytes < unit.Limit)
            return locale.toString(Size / unit.Divisor, 'f', Decimals) + unit.Name;
    }
    return locale.toString(Size / 0x1p60, 'f', Decimals) + " EB"_L1;
}

}
