// SPDX-License-Identifier: Apache-2.0
#include "bank/Files.h"

#include "common/Error.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QUrl>

using namespace Qt::Literals::StringLiterals;

namespace Bank {

FilesBelow::FilesBelow(std::shared_ptr<const Files> files, QString folder)
    : m_files(std::move(files))
    , m_folder(std::move(folder))
{
}

std::optional<QByteArray> FilesBelow::Read(const QString &path) const
{
    const QString whole = ResolvedPath(path, m_folder);
    return whole.isEmpty() ? std::nullopt : m_files->Read(whole);
}

FolderFiles::FolderFiles(const QString &folder)
    : m_folder(QFileInfo(folder).canonicalFilePath())
{
}

std::optional<QByteArray> FolderFiles::Read(const QString &path) const
{
    if (m_folder.isEmpty() || path.startsWith(u'/') || ResolvedPath(path).isEmpty())
        return {};
    // A link may lead out where the path does not.
    const QFileInfo info(QFileInfo(QDir(m_folder).filePath(path)).canonicalFilePath());
    const QString root = m_folder.endsWith(u'/') ? m_folder : m_folder + u'/';
    if (!info.isFile() || !info.filePath().startsWith(root))
        return {};
    QFile file(info.filePath());
    if (!file.open(QIODevice::ReadOnly))
        throw Error(InvalidCall, u"%1: %2"_s.arg(path, file.errorString()), u"Files::Read()"_s);
    if (file.size() > MostFileBytes)
        throw Error(InvalidCall, u"%1: it is larger than %2 MB"_s.arg(path).arg(MostFileBytes >> 20), u"Files::Read()"_s);
    return file.readAll();
}

QStringList FolderFiles::Paths() const
{
    QStringList paths;
    if (m_folder.isEmpty())
        return paths;
    const QDir folder(m_folder);
    QDirIterator files(m_folder, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext() && paths.size() < MostPaths)
        paths.append(folder.relativeFilePath(files.next()));
    paths.sort();
    return paths;
}

QString RelativePath(const QString &reference)
{
    const QUrl url(reference.trimmed());
    if (!url.isRelative() || !url.host().isEmpty())
        return {};
    const QString path = url.path(QUrl::FullyDecoded).replace(u'\\', u'/');
    return path.startsWith(u'/') || path.contains(u'\0') || path.contains(u':') ? QString() : path;
}

QString ResolvedPath(const QString &path, const QString &base)
{
    if (path.isEmpty())
        return {};
    const QString whole = QDir::cleanPath(base.isEmpty() ? path : base + u'/' + path);
    const bool leadsOut = whole == ".."_L1 || whole.startsWith("../"_L1) || whole.startsWith(u'/') || whole == "."_L1;
    return leadsOut ? QString() : whole;
}

QString PathOf(const QString &reference, const QString &base)
{
    return ResolvedPath(RelativePath(reference), base);
}

QString ShallowestOf(const QStringList &paths, const QString &name)
{
    constexpr qsizetype MostFolders = 1;
    QString shallowest;
    for (const QString &path : paths) {
        const bool isNamed = path.endsWith(name, Qt::CaseInsensitive)
            && (path.size() == name.size() || path.at(path.size() - name.size() - 1) == u'/');
        if (isNamed && path.count(u'/') <= MostFolders && (shallowest.isEmpty() || path.count(u'/') < shallowest.count(u'/')))
            shallowest = path;
    }
    return shallowest;
}

}
