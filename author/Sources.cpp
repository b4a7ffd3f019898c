// SPDX-License-Identifier: Apache-2.0
#include "author/Sources.h"

#include "bank/Archive.h"
#include "bank/Xml.h"
#include "common/Common.h"
#include "common/Error.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
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

// The format that a bank is read by; null when none suits. A format of single files has
// no meaning for a package.
const Bank::Format *FormatFor(const Bank::Source &source, const Hints &hints)
{
    const bool isNamed = hints.Format && (hints.Format->ReadsPackages || !Bank::IsPackage(source));
    return isNamed ? hints.Format : Bank::FormatOf(source);
}

// A file of a folder, or of an archive. An archive among them is looked into when a
// format suits it as a whole.
Bank::Source SourceOf(const Bank::Source &package, const QString &path, const QByteArray &bytes)
{
    Bank::Source source{ QDir(package.Name).filePath(path), bytes, {}, package.Encoding };
    if (Bank::Archive::Suits(bytes))
        source.Files = std::make_shared<Bank::Archive>(bytes, source.Name);
    else if (!bytes.isEmpty())
        source.Files = std::make_shared<Bank::FilesBelow>(package.Files, path.section(u'/', 0, -2));
    return source;
}

// One file of a folder or an archive.
void VisitFile(const Bank::Source &package, const QString &path, const Hints &hints, const Visit &visit, const Refuse &refuse)
{
    if (IsBeside(path))
        return;
    const QString name = QDir(package.Name).filePath(path);
    try {
        const auto bytes = package.Files->Read(path);
        if (!bytes) {
            refuse(name, u"it is no file, or leads out of the folder"_s);
            return;
        }
        const Bank::Source source = SourceOf(package, path, *bytes);
        visit(source, FormatFor(source, hints));
    } catch (const Error &error) {
        // One file of many is no reason to stop.
        if (error.Number() != InvalidCall)
            throw;
        refuse(name, Common::OneLine(error));
    }
}

// Whether the files are one package: what says so lies at the top, or in the one folder
// that holds all of an archive. A test without a package names its items, too.
bool IsOnePackage(const Bank::Source &source, bool isFolder)
{
    const QStringList paths = source.Files->Paths();
    const QString top = paths.value(0).section(u'/', 0, 0) + u'/';
    const bool isInFolder
        = !isFolder && std::all_of(paths.begin(), paths.end(), [&](const QString &path) { return path.startsWith(top); });
    for (const QString &path : paths) {
        const QString name = path.section(u'/', -1).toLower();
        if (path.count(u'/') > (isInFolder ? 1 : 0))
            continue;
        if (name == "imsmanifest.xml"_L1 || name == "h5p.json"_L1)
            return true;
        const auto bytes = name.endsWith(".xml"_L1) ? source.Files->Read(path) : std::nullopt;
        const auto beginning = bytes ? Xml::BeginningOf(*bytes) : std::nullopt;
        if (beginning && (beginning->Root == "assessmentTest"_L1 || beginning->Root == "qti-assessment-test"_L1))
            return true;
    }
    return false;
}

void VisitFolder(const QString &path, const Hints &hints, const Visit &visit, const Refuse &refuse, int depth)
{
    const Bank::Source folder{ path, {}, std::make_shared<Bank::FolderFiles>(path), hints.Encoding };
    if (IsOnePackage(folder, true)) {
        visit(folder, FormatFor(folder, hints));
        return;
    }
    constexpr int mostDepth = 32;
    for (const QFileInfo &entry : QDir(path).entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Name)) {
        const QString name = QDir(path).filePath(entry.fileName());
        if (!entry.isDir())
            VisitFile(folder, entry.fileName(), hints, visit, refuse);
        else if (entry.isSymLink() || depth == mostDepth)
            refuse(name, u"a link to a folder, or a folder too deep, is not looked into"_s);
        else
            VisitFolder(name, hints, visit, refuse, depth + 1);
    }
}

}

void ForEach(const QString &path, const Hints &hints, const Visit &visit, const Refuse &refuse)
{
    if (path != StandardInput && QFileInfo(path).isDir()) {
        VisitFolder(path, hints, visit, refuse, 0);
        return;
    }
    Bank::Source source{ path, BytesOf(path), {}, hints.Encoding };
    try {
        if (Bank::Archive::Suits(source.Bytes))
            source.Files = std::make_shared<Bank::Archive>(source.Bytes, path);
    } catch (const Error &error) {
        refuse(path, Common::OneLine(error));
        return;
    }
    const bool isArchive = source.Files != nullptr;
    // A spreadsheet is an archive too, but holds no banks.
    if (isArchive && !IsOnePackage(source, false) && Bank::KindOf(source).contains("archive"_L1)) {
        for (const QString &each : source.Files->Paths())
            VisitFile(source, each, hints, visit, refuse);
        return;
    }
    // A package is told from an empty file by its files.
    if (!isArchive && !source.Bytes.isEmpty())
        source.Files = std::make_shared<Bank::FolderFiles>(path == StandardInput ? u"."_s : QFileInfo(path).path());
    visit(source, FormatFor(source, hints));
}

QString BaseName(const QString &path)
{
    if (path == StandardInput)
        return u"exam"_s;
    const QFileInfo info(QDir::cleanPath(QDir::current().absoluteFilePath(path)));
    return info.isDir() ? info.fileName() : info.completeBaseName();
}

}
