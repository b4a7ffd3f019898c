// SPDX-License-Identifier: Apache-2.0
#include "author/Sources.h"

#include "bank/Archive.h"
#include "common/Common.h"
#include "common/Error.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace Sources {

namespace {

const QString StandardInput = u"-"_s;

QByteArray BytesOf(const QString &path)
{
    QFile file(path);
    const bool isOpen = path == StandardInput ? file.open(stdin, QIODevice::ReadOnly) : file.open(QIODevice::ReadOnly);
    const auto refused
        = [&](const QString &why) { return Error(InvalidCall, u"%1: %2"_s.arg(path, why), u"Sources::ForEach()"_s); };
    if (!isOpen)
        throw refused(file.errorString());
    // A pipe has no size: one byte more than may be tells that there is more.
    const QByteArray bytes = file.read(Bank::MostFileBytes + 1);
    if (file.error() != QFile::NoError)
        throw refused(file.errorString());
    if (bytes.size() > Bank::MostFileBytes)
        throw refused(u"it is larger than %1 MB"_s.arg(Bank::MostFileBytes >> 20));
    return bytes;
}

// Files of a folder that belong to a bank without being one.
bool IsBeside(const QString &path)
{
    static const QStringList kinds = { u"png"_s, u"jpg"_s,  u"jpeg"_s, u"gif"_s, u"bmp"_s, u"ico"_s, u"svg"_s, u"webp"_s,
                                       u"tif"_s, u"tiff"_s, u"mp3"_s,  u"mp4"_s, u"css"_s, u"js"_s,  u"md"_s };
    return path.startsWith(u'.') || path.contains("/."_L1) || kinds.contains(QFileInfo(path).suffix().toLower());
}

// A file of a folder, or of an archive. An archive among them is looked into when a
// format suits it as a whole.
Bank::Source SourceOf(const Bank::Source &package, const QString &path, const QByteArray &bytes)
{
    Bank::Source source{ QDir(package.Name).filePath(path), bytes, {} };
    if (Bank::Archive::Suits(bytes))
        source.Files = std::make_shared<Bank::Archive>(bytes, source.Name);
    else if (!bytes.isEmpty())
        source.Files = std::make_shared<Bank::FilesBelow>(package.Files, path.section(u'/', 0, -2));
    return source;
}

void VisitEach(const Bank::Source &package, const Bank::Format *forced, const Visit &visit, const Refuse &refuse)
{
    for (const QString &path : package.Files->Paths()) {
        if (IsBeside(path))
            continue;
        const QString name = QDir(package.Name).filePath(path);
        try {
            if (const auto bytes = package.Files->Read(path)) {
                const Bank::Source source = SourceOf(package, path, *bytes);
                visit(source, forced && !Bank::IsPackage(source) ? forced : Bank::FormatOf(source));
            }
        } catch (const Error &error) {
            // One file of many is no reason to stop.
            if (error.Number() != InvalidCall)
                throw;
            refuse(name, Common::OneLine(error));
        }
    }
}

}

void ForEach(const QString &path, const Bank::Format *forced, const Visit &visit, const Refuse &refuse)
{
    Bank::Source source{ path, {}, {} };
    const bool isFolder = path != StandardInput && QFileInfo(path).isDir();
    if (isFolder) {
        source.Files = std::make_shared<Bank::FolderFiles>(path);
    } else {
        source.Bytes = BytesOf(path);
        try {
            if (Bank::Archive::Suits(source.Bytes))
                source.Files = std::make_shared<Bank::Archive>(source.Bytes, path);
        } catch (const Error &error) {
            refuse(path, Common::OneLine(error));
            return;
        }
        // A package is told from an empty file by its files.
        if (!source.Files && !source.Bytes.isEmpty())
            source.Files = std::make_shared<Bank::FolderFiles>(path == StandardInput ? u"."_s : QFileInfo(path).path());
    }
    const Bank::Format *format = Bank::FormatOf(source);
    const bool isPackage = Bank::IsPackage(source);
    // A spreadsheet is an archive too, but holds no banks.
    if (isPackage && !format && (isFolder || Bank::KindOf(source).contains("archive"_L1)))
        VisitEach(source, forced, visit, refuse);
    else
        visit(source, forced && !isPackage ? forced : format);
}

QString BaseName(const QString &path)
{
    if (path == StandardInput)
        return u"exam"_s;
    const QFileInfo info(QDir::cleanPath(QDir::current().absoluteFilePath(path)));
    return info.isDir() ? info.fileName() : info.completeBaseName();
}

}
