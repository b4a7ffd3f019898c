// SPDX-License-Identifier: Apache-2.0
#include "model/IO.h"

#include "handles/Handle_unix.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

#include <fnmatch.h>
#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;

namespace IO {

const QChar Separator = u'/';

namespace {

UniqueListing OpenFolder(const QString &folder)
{
    return UniqueListing(opendir(QFile::encodeName(folder).constData()));
}

QString Standard(QStandardPaths::StandardLocation location)
{
    return QStandardPaths::writableLocation(location);
}

}

// The nearest personal (XDG base directory) or system folder. Packs install
// without root, so "program files" is the user's own data folder.
QString GetSpecialFolder(const QString &Macro)
{
    switch (GetFolderID(Macro)) {
    case 0:
    case 16: return Standard(QStandardPaths::DesktopLocation);
    case 2:
    case 11: return Standard(QStandardPaths::ApplicationsLocation);
    case 5: return Standard(QStandardPaths::DocumentsLocation);
    case 6: return Standard(QStandardPaths::GenericConfigLocation) + u"/favorites"_s;
    case 7: return Standard(QStandardPaths::GenericConfigLocation) + u"/autostart"_s;
    case 8: return Standard(QStandardPaths::GenericDataLocation) + u"/RecentDocuments"_s;
    case 9: return Standard(QStandardPaths::GenericDataLocation) + u"/sendto"_s;
    case 18:
    case 19: return Standard(QStandardPaths::GenericDataLocation) + u"/remoteview"_s;
    case 20: return Standard(QStandardPaths::FontsLocation);
    case 21: return Standard(QStandardPaths::TemplatesLocation);
    case 22:
    case 23: return u"/usr/share/applications"_s;
    case 24: return u"/etc/xdg/autostart"_s;
    case 25: return u"/usr/share/desktop-directories"_s;
    case 26: return Standard(QStandardPaths::GenericConfigLocation);
    case 27: return Standard(QStandardPaths::GenericDataLocation) + u"/printers"_s;
    case 28:
    case 38: return Standard(QStandardPaths::GenericDataLocation);
    case 31: return u"/etc/xdg/favorites"_s;
    case 32:
    case 33: return Standard(QStandardPaths::GenericCacheLocation);
    case 34: return Standard(QStandardPaths::GenericDataLocation) + u"/history"_s;
    case 35: return u"/etc/xdg"_s;
    case 36: return u"/usr"_s;
    case 37: return u"/usr/lib"_s;
    case 39: return Standard(QStandardPaths::PicturesLocation);
    case 40: return QDir::homePath();
    case 43: return u"/usr/share"_s;
    case 45: return u"/usr/share/templates"_s;
    case 46: return u"/usr/share/doc"_s;
    case 47: return u"/usr/sbin"_s;
    default: return {};
    }
}

bool FileExists(const QString &Path)
{
    struct stat status = {};
    if (lstat(QFile::encodeName(Path).constData(), &status) == 0)
        return true;
    QString name = GetFileName(Path, false);
    if (!name.contains(u'*') && !name.contains(u'?'))
        return false;
    // "*.*" means every name, one without a dot too.
    if (name == "*.*"_L1)
        name = u"*"_s;
    // A bracket is an ordinary character here, to the matcher it is none.
    const QByteArray pattern = QFile::encodeName(QString(name).replace(u"["_s, u"[[]"_s));
    const QString folder = GetFolder(Path);
    const UniqueListing listing = OpenFolder(folder.isEmpty() ? (Path.startsWith(Separator) ? u"/"_s : u"."_s) : folder);
    while (const dirent *entry = listing ? readdir(listing.get()) : nullptr) {
        if (fnmatch(pattern.constData(), entry->d_name, FNM_NOESCAPE) == 0)
            return true;
    }
    return false;
}

QStringList GetSubFolders(const QString &Folder)
{
    QStringList names;
    const UniqueListing listing = OpenFolder(CombinePath(Folder, {}));
    while (const dirent *entry = listing ? readdir(listing.get()) : nullptr) {
        bool isFolder = entry->d_type == DT_DIR;
        if (entry->d_type == DT_LNK || entry->d_type == DT_UNKNOWN) {
            struct stat status = {};
            isFolder = fstatat(dirfd(listing.get()), entry->d_name, &status, 0) == 0 && S_ISDIR(status.st_mode);
        }
        if (isFolder)
            names.append(QFile::decodeName(entry->d_name));
    }
    return names;
}

QString GetTempFolder()
{
    return QDir::tempPath();
}

}
