// SPDX-License-Identifier: Apache-2.0
#include "pack/PackContents.h"

#include "common/Common.h"
#include "model/Exam.h"
#include "model/ExamFormat.h"
#include "model/Globals.h"
#include "model/IO.h"
#include "pack/FolderNames.h"
#include "packformat/PackFormat.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <QtEndian>

#include <set>
#include <string>

using namespace Qt::Literals::StringLiterals;

namespace PackContents {

namespace {

constexpr qint64 BlockBytes = 1 << 18;

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

QFileInfoList EntriesOf(const QString &folder)
{
    if (HoldsUnreadableName(folder))
        throw Refused(u"%1: a file in it has a name that is no UTF-8"_s.arg(folder));
    return QDir(folder).entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

Sources SourcesOf(const QString &folder, const QFileInfoList &entries)
{
    Sources sources;
    // Windows keeps one file under names that differ in nothing but letter case.
    std::set<std::string, Utf8::IsBefore> names;
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

Exam LoadedExam(const QString &path)
{
    try {
        Exam exam;
        exam.Load(path);
        return exam;
    } catch (const Error &error) {
        const QString text = Common::ShownText(error.Description()).trimmed();
        throw Error(error.Number(), path + u": "_s + text.section(u'\n', -1), error.Source());
    }
}

QString AbsolutePath(const QString &path)
{
    return QDir::toNativeSeparators(QDir::cleanPath(QDir::current().absoluteFilePath(path)));
}

// What is written, with its sum.
class Target {
public:
    // Unbuffered, so that every write reports its own failure.
    Target(QFileDevice &file, const std::function<void()> &step)
        : m_file(file)
        , m_step(step)
    {
    }

    void Put(QByteArrayView bytes)
    {
        m_step();
        Sum(bytes);
        // A nearly full disk takes a part of the block; only the next write fails.
        while (!bytes.isEmpty()) {
            const qint64 count = m_file.write(bytes.data(), bytes.size());
            if (count <= 0)
                throw Refused(m_file);
            bytes = bytes.sliced(count);
        }
    }

    void Sum(QByteArrayView bytes) { m_sum.addData(bytes); }
    qint64 Position() const { return m_file.pos(); }
    // Of all bytes up to now.
    QByteArray Digest() const { return m_sum.result(); }

private:
    QFileDevice &m_file;
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

}

Error Refused(const QString &text)
{
    return Error(InvalidCall, text, u"Packer::Write()"_s);
}

Error Refused(const QFileDevice &file)
{
    return Refused(u"%1: %2"_s.arg(file.fileName(), file.errorString()));
}

bool IsPack(const QString &path)
{
    if (QFileInfo(path).isDir())
        return false;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw Refused(u"%1: %2"_s.arg(path, file.errorString()));
    const QByteArray start = file.read(4);
    if (start.startsWith("MZ") || start == "\177ELF")
        return true;
    const qint64 trailer = file.size() - static_cast<qint64>(PackFormat::TrailerBytes);
    return trailer >= 0 && file.seek(trailer)
        && file.read(sizeof PackFormat::Magic) == QByteArrayView(PackFormat::Magic, sizeof PackFormat::Magic);
}

Package OfFolder(const QString &folder)
{
    const QString path = AbsolutePath(folder);
    const QByteArray name = IO::GetFileName(path, false).toUtf8();
    if (folder.isEmpty() || !IsPlain(name))
        throw Refused(u"%1: a pack cannot hold a folder of that name"_s.arg(folder));
    if (!QFileInfo(path).isDir())
        throw Refused(u"%1: it is no folder"_s.arg(folder));
    const QString exam = Globals::FindExamFile(path);
    if (exam.isEmpty())
        throw Refused(u"%1: there is no exam of the folder's name in it"_s.arg(path));
    LoadedExam(exam);
    return { name, SourcesOf(path, EntriesOf(path)) };
}

// The exam and those of its exhibits that stand beside it.
Package OfFile(const QString &path)
{
    const QFileInfo file(path);
    const QByteArray name = file.completeBaseName().toUtf8();
    if (!IsPlain(name) || file.suffix() != QStringView(ExamFormat::Extension))
        throw Refused(u"%1: a pack cannot hold an exam of that name"_s.arg(path));
    QFileInfoList files = { file };
    QSet<QString> names;
    const Exam exam = LoadedExam(AbsolutePath(path));
    for (const auto &item : exam.Questions()) {
        const QString exhibit = item->Exhibit();
        const QFileInfo picture(file.dir(), exhibit);
        if (IsPlain(exhibit.toUtf8()) && !names.contains(exhibit) && picture.isFile()) {
            names.insert(exhibit);
            files += picture;
        }
    }
    return { name, SourcesOf(file.path(), files) };
}

void Write(QFileDevice &file, QByteArrayView program, const Package &package, const std::function<void()> &step,
           const Signer &signer)
{
    QByteArray index;
    AppendName(index, package.Name);
    quint64 contentBytes = 0;
    for (const auto &[fileName, source] : package.Files) {
        AppendName(index, fileName);
        Append(index, static_cast<quint64>(source.Size));
        contentBytes += static_cast<quint64>(source.Size);
    }

    Target target(file, step);
    target.Put(program);
    const auto indexStart = static_cast<quint64>(target.Position());
    target.Put(index);
    for (const auto &[fileName, source] : package.Files)
        PutContent(target, source);

    QByteArray trailer(PackFormat::Magic, sizeof PackFormat::Magic);
    Append(trailer, signer ? PackFormat::SignedVersion : PackFormat::Version);
    Append(trailer, static_cast<quint32>(index.size()));
    Append(trailer, indexStart);
    Append(trailer, contentBytes);
    if (!signer) {
        target.Put(trailer);
        target.Put(target.Digest());
        return;
    }
    target.Sum(trailer);
    const QByteArray digest = target.Digest();
    const QByteArray signatures = signer(digest);
    if (signatures.isEmpty() || signatures.size() > static_cast<qsizetype>(PackFormat::MostSignatureBytes))
        throw Refused(u"%1: its signatures take %2 bytes, which is not between 1 and %3"_s.arg(file.fileName())
                          .arg(signatures.size())
                          .arg(PackFormat::MostSignatureBytes));
    target.Put(signatures);
    target.Put(trailer);
    target.Put(QCryptographicHash::hash(digest + signatures, QCryptographicHash::Sha256));
}

}
