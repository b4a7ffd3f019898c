// SPDX-License-Identifier: Apache-2.0
#include "bank/Archive.h"

#include "common/Error.h"

#include <QDir>
#include <QtEndian>

#include <zip.h>

using namespace Qt::Literals::StringLiterals;

namespace Bank {

namespace {

// A name as it is quoted in a message.
QString Quoted(const QString &name)
{
    return u'"' + name.left(200).simplified() + u'"';
}

// The path of a name in an archive; nothing when it is absolute or leads out.
// Some programs of Windows write backslashes between the parts.
std::optional<QString> PathOfName(QString name)
{
    name.replace(u'\\', u'/');
    const bool hasDrive = name.size() >= 2 && name.at(1) == u':' && name.at(0).isLetter();
    if (name.isEmpty() || name.startsWith(u'/') || hasDrive || name.split(u'/').contains(".."_L1))
        return {};
    return QDir::cleanPath(name);
}

QString Folded(const QString &path)
{
    return path.normalized(QString::NormalizationForm_C).toCaseFolded();
}

bool IsLink(struct zip *archive, quint64 index)
{
    constexpr quint32 kinds = 0170000;
    constexpr quint32 link = 0120000;
    quint8 system = 0;
    quint32 attributes = 0;
    if (zip_file_get_external_attributes(archive, index, 0, &system, &attributes) != 0)
        return false;
    // Whatever the system is said to be, an unpacker may believe the upper half.
    return ((attributes >> 16) & kinds) == link;
}

struct Closer {
    void operator()(zip_file_t *file) const { zip_fclose(file); }
};

}

bool Archive::Suits(QByteArrayView bytes)
{
    return bytes.startsWith("PK\3\4") || bytes.startsWith("PK\5\6");
}

Archive::Archive(const QByteArray &bytes, const QString &name)
    : m_bytes(bytes)
    , m_name(name)
{
    CheckEnds();
    Open();
    try {
        const qint64 count = zip_get_num_entries(m_zip, 0);
        if (count > MostEntries)
            Refuse(u"the archive has more than %1 entries"_s.arg(MostEntries));
        for (qint64 i = 0; i < count; ++i)
            AddEntry(i);
    } catch (...) {
        zip_discard(m_zip);
        throw;
    }
}

Archive::~Archive()
{
    zip_discard(m_zip);
}

void Archive::Refuse(const QString &text) const
{
    throw Error(InvalidCall, text, m_name);
}

// libzip reads the directory of every record at the end that looks like the last
// one, before it tells how many entries there are: time and memory are bounded
// here.
void Archive::CheckEnds() const
{
    constexpr qsizetype size = 22;
    constexpr qsizetype longestComment = 0xffff;
    constexpr int mostEnds = 4;
    int ends = 0;
    qsizetype at = std::max<qsizetype>(0, m_bytes.size() - size - longestComment);
    while ((at = m_bytes.indexOf("PK\5\6", at)) >= 0 && at + size <= m_bytes.size()) {
        if (++ends > mostEnds)
            Refuse(u"the archive has several ends"_s);
        if (qFromLittleEndian<quint16>(m_bytes.constData() + at + 10) > MostEntries)
            Refuse(u"the archive has more than %1 entries"_s.arg(MostEntries));
        ++at;
    }
}

void Archive::Open()
{
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t *source = zip_source_buffer_create(m_bytes.constData(), static_cast<quint64>(m_bytes.size()), 0, &error);
    m_zip = source ? zip_open_from_source(source, ZIP_RDONLY, &error) : nullptr;
    const QString text = QString::fromUtf8(zip_error_strerror(&error));
    zip_error_fini(&error);
    if (m_zip)
        return;
    zip_source_free(source);
    Refuse(u"a damaged zip archive (%1)"_s.arg(text));
}

void Archive::AddEntry(qint64 index)
{
    zip_stat_t entry;
    const quint64 needed = ZIP_STAT_NAME | ZIP_STAT_SIZE | ZIP_STAT_COMP_SIZE;
    if (zip_stat_index(m_zip, static_cast<quint64>(index), 0, &entry) != 0 || (entry.valid & needed) != needed)
        Refuse(u"a damaged zip archive (entry %1 cannot be read)"_s.arg(index + 1));
    const QString name = QString::fromUtf8(entry.name);
    const auto path = PathOfName(name);
    if (!path)
        Refuse(u"the entry %1 of the archive has a name that leads out of it"_s.arg(Quoted(name)));
    if (IsLink(m_zip, entry.index))
        Refuse(u"the entry %1 of the archive is a link"_s.arg(Quoted(name)));
    if ((entry.valid & ZIP_STAT_ENCRYPTION_METHOD) && entry.encryption_method != ZIP_EM_NONE)
        Refuse(u"the archive is encrypted"_s);
    const auto ratio = static_cast<quint64>(MostRatio);
    if (entry.size > static_cast<quint64>(FreeBytes) && entry.size / ratio >= entry.comp_size)
        Refuse(u"the entry %1 of the archive would grow to more than %2 times its size"_s.arg(Quoted(name)).arg(MostRatio));
    if (entry.size > static_cast<quint64>(MostBytes - m_announced))
        Refuse(u"the entries of the archive have more than %1 GB in all"_s.arg(MostBytes >> 30));
    m_announced += static_cast<qint64>(entry.size);
    if (name.endsWith(u'/') || name.endsWith(u'\\') || path->startsWith("__MACOSX/"_L1))
        return;
    // Of two entries of one name the later is the newer.
    m_indexes.insert(*path, index);
    const QString folded = Folded(*path);
    m_folded.insert(folded, m_folded.contains(folded) ? Ambiguous : index);
}

qint64 Archive::IndexOf(const QString &path) const
{
    return m_indexes.value(path, m_folded.value(Folded(path), Ambiguous));
}

std::optional<QByteArray> Archive::Read(const QString &path) const
{
    const qint64 index = IndexOf(path);
    if (index == Ambiguous)
        return {};
    const auto refuse = [&](const QString &text) { Refuse(u"%1: %2"_s.arg(Quoted(path), text)); };
    zip_stat_t entry;
    if (zip_stat_index(m_zip, static_cast<quint64>(index), 0, &entry) != 0)
        refuse(QString::fromUtf8(zip_strerror(m_zip)));
    const qint64 most = std::min(MostFileBytes, std::max(4 * qint64(m_bytes.size()), LeastEntryBytes));
    if (entry.size > static_cast<quint64>(most))
        refuse(u"it is larger than %1 MB"_s.arg(most >> 20));
    // The other methods are rare, and some let an entry of a few bytes ask for
    // gigabytes of memory.
    if (entry.comp_method != ZIP_CM_STORE && entry.comp_method != ZIP_CM_DEFLATE)
        refuse(u"it is packed by another method than deflate"_s);
    const std::unique_ptr<zip_file_t, Closer> file(zip_fopen_index(m_zip, static_cast<quint64>(index), 0));
    if (!file)
        refuse(QString::fromUtf8(zip_strerror(m_zip)));
    QByteArray bytes(static_cast<qsizetype>(entry.size), Qt::Uninitialized);
    qint64 at = 0;
    qint64 got = 0;
    do {
        got = zip_fread(file.get(), bytes.data() + at, static_cast<quint64>(bytes.size() - at));
        at += std::max<qint64>(got, 0);
    } while (got > 0 && at < bytes.size());
    // libzip compares size and checksum when the end is reached.
    char more = 0;
    if (got < 0 || at < bytes.size() || zip_fread(file.get(), &more, 1) != 0)
        refuse(u"it is damaged"_s);
    return bytes;
}

QStringList Archive::Paths() const
{
    QStringList paths = m_indexes.keys();
    paths.sort();
    return paths;
}

bool IsPackage(const Source &source)
{
    return source.Files && (source.Bytes.isEmpty() || Archive::Suits(source.Bytes));
}

}
