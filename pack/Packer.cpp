// SPDX-License-Identifier: Apache-2.0
#include "pack/Packer.h"

#include "common/Common.h"
#include "common/Error.h"
#include "model/Exam.h"
#include "model/Globals.h"
#include "model/IO.h"
#include "pack/FolderNames.h"
#include "pack/StubBytes.h"
#include "packformat/PackFormat.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QSaveFile>
#include <QtEndian>

#include <map>
#include <set>
#include <string>

using namespace Qt::Literals::StringLiterals;

namespace Packer {

namespace {

constexpr qint64 BlockBytes = 1 << 18;

Error Refused(const QString &text)
{
    return Error(InvalidCall, text, u"Packer::Write()"_s);
}

struct Source {
    QString Path;
    qint64 Size = 0;
};
// By the bytes of the name, which is the order of the index.
using Sources = std::map<QByteArray, Source>;

template <class Number> void Append(QByteArray &bytes, Number number)
{
    const Number little = qToLittleEndian(number);
    bytes.append(reinterpret_cast<const char *>(&little), sizeof little);
}

void AppendName(QByteArray &bytes, const QByteArray &name)
{
    Append(bytes, static_cast<quint16>(name.size()));
    bytes += name;
}

bool IsPlain(const QByteArray &name)
{
    return PackFormat::IsPlainName({ name.constData(), static_cast<size_t>(name.size()) });
}

Sources SourcesOf(const QString &folder)
{
    Sources sources;
    if (HoldsUnreadableName(folder))
        throw Refused(u"%1: a file in it has a name that is no UTF-8"_s.arg(folder));
    // Windows keeps one file under names that differ in nothing but letter case.
    std::set<std::string, Utf8::IsBefore> names;
    const QFileInfoList entries
        = QDir(folder).entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    for (const QFileInfo &entry : entries) {
        const QByteArray name = entry.fileName().toUtf8();
        if (entry.isSymLink() || !entry.isFile())
            throw Refused(u"%1: it is no regular file"_s.arg(entry.filePath()));
        if (!IsPlain(name))
            throw Refused(u"%1: a pack cannot hold a file of that name"_s.arg(entry.filePath()));
        const auto [twin, isNew] = names.insert(name.toStdString());
        if (!isNew)
            throw Refused(u"%1: its name differs from %2 in nothing but letter case"_s.arg(entry.filePath(),
                                                                                           QString::fromStdString(*twin)));
        sources.insert({ name, { entry.filePath(), entry.size() } });
    }
    if (sources.size() > PackFormat::MostFiles)
        throw Refused(u"%1: %2 files are more than %3"_s.arg(folder).arg(sources.size()).arg(PackFormat::MostFiles));
    return sources;
}

void CheckExam(const QString &folder)
{
    const QString path = Globals::FindExamFile(folder);
    if (path.isEmpty())
        throw Refused(u"%1: there is no exam of the folder's name in it"_s.arg(folder));
    try {
        Exam().Load(path);
    } catch (const Error &error) {
        const QString text = Common::ShownText(error.Description()).trimmed();
        throw Error(error.Number(), path + u": "_s + text.section(u'\n', -1), error.Source());
    }
}

// The file while it is made. Without Commit nothing of it stays.
class Target {
public:
    Target(const QString &path, const std::function<void()> &step)
        : m_file(path)
        , m_step(step)
    {
        // Unbuffered, so that every write reports its own failure.
        if (!m_file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
            throw Fault();
    }

    void Put(QByteArrayView bytes)
    {
        m_step();
        m_sum.addData(bytes);
        // A nearly full disk takes a part of the block; only the next write fails.
        while (!bytes.isEmpty()) {
            const qint64 count = m_file.write(bytes.data(), bytes.size());
            if (count <= 0)
                throw Fault();
            bytes = bytes.sliced(count);
        }
    }

    qint64 Position() const { return m_file.pos(); }
    QByteArray Digest() const { return m_sum.result(); }

    void Commit()
    {
        const QFile::Permissions read = m_file.permissions() & (QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther);
        // The bit to run stands two places below the bit to read.
        const auto run = QFile::Permissions::fromInt(read.toInt() >> 2);
        m_step();
        if (!m_file.setPermissions(m_file.permissions() | run) || !m_file.commit())
            throw Fault();
    }

private:
    Error Fault() const { return Refused(u"%1: %2"_s.arg(m_file.fileName(), m_file.errorString())); }

    QSaveFile m_file;
    const std::function<void()> &m_step;
    QCryptographicHash m_sum{ QCryptographicHash::Sha256 };
};

void PutContent(Target &target, const Source &source)
{
    QFile file(source.Path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        throw Refused(u"%1: %2"_s.arg(source.Path, file.errorString()));
    QByteArray block(BlockBytes, Qt::Uninitialized);
    qint64 left = source.Size;
    while (left > 0) {
        const qint64 count = file.read(block.data(), qMin(left, BlockBytes));
        if (count < 0)
            throw Refused(u"%1: %2"_s.arg(source.Path, file.errorString()));
        if (count == 0)
            break;
        target.Put(QByteArrayView(block).first(count));
        left -= count;
    }
    if (left > 0 || file.read(block.data(), 1) != 0)
        throw Refused(u"%1: it changed while it was read"_s.arg(source.Path));
}

void CheckTarget(const QString &file, bool replace)
{
    const QFileInfo info(file);
    if (!info.exists() && !info.isSymLink())
        return;
    if (info.isSymLink() || !info.isFile())
        throw Refused(u"%1: it is there already and no regular file"_s.arg(file));
    if (!replace)
        throw Refused(u"%1: it exists already (--replace replaces it)"_s.arg(file));
}

}

void Write(const QString &folder, const QString &file, Platform platform, bool replace, const std::function<void()> &step)
{
    const QByteArrayView stub = StubBytes(platform);
    if (stub.isEmpty()) {
        const QString name = platform == Platform::Windows ? u"Windows"_s : u"Linux"_s;
        throw Refused(u"this program was built without what packs for %1 need"_s.arg(name));
    }
    const QString package = QDir::toNativeSeparators(QDir::cleanPath(QDir::current().absoluteFilePath(folder)));
    const QByteArray name = IO::GetFileName(package, false).toUtf8();
    if (folder.isEmpty() || !IsPlain(name))
        throw Refused(u"%1: a pack cannot hold a folder of that name"_s.arg(folder));
    if (!QFileInfo(package).isDir())
        throw Refused(u"%1: it is no folder"_s.arg(folder));
    CheckTarget(file, replace);
    CheckExam(package);
    const Sources sources = SourcesOf(package);

    QByteArray index;
    AppendName(index, name);
    quint64 contentBytes = 0;
    for (const auto &[fileName, source] : sources) {
        AppendName(index, fileName);
        Append(index, static_cast<quint64>(source.Size));
        contentBytes += static_cast<quint64>(source.Size);
    }

    Target target(file, step);
    target.Put(stub);
    const auto indexStart = static_cast<quint64>(target.Position());
    target.Put(index);
    for (const auto &[fileName, source] : sources)
        PutContent(target, source);

    QByteArray trailer(PackFormat::Magic, sizeof PackFormat::Magic);
    Append(trailer, PackFormat::Version);
    Append(trailer, static_cast<quint32>(index.size()));
    Append(trailer, indexStart);
    Append(trailer, contentBytes);
    target.Put(trailer);
    target.Put(target.Digest());
    target.Commit();
}

}
