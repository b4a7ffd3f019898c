// SPDX-License-Identifier: Apache-2.0
#include "bank/Archive.h"
#include "bank/Decode.h"
#include "bank/Formats.h"
#include "bank/Table.h"
#include "bank/Xml.h"

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace Bank {

namespace {

constexpr qsizetype BeginningLength = 4096;

const QString Spreadsheet = u"a spreadsheet (export it as CSV)"_s;
const QString Document = u"a text document (save its questions as plain text, in Aiken or GIFT)"_s;
const QString Presentation = u"a presentation"_s;
const QString Picture = u"a picture"_s;
const QString Recording = u"an audio or video file"_s;
const QString Program = u"a program"_s;
const QString Database = u"a database (export its questions as CSV)"_s;
const QString Backup = u"a course backup (export its question bank as Moodle XML)"_s;
const QString Packed = u"an archive that is not zip (unpack it; instead of a course backup export the question bank)"_s;

struct Mark {
    qsizetype Place;
    QByteArray Bytes;
    QString Kind;
};

// What files of a kind begin with; empty for a kind without such a mark.
QString MarkedKind(const QByteArray &bytes)
{
    static const std::vector<Mark> marks = {
        { 0, "%PDF-", u"a PDF document (copy its questions into a text file, as Aiken or GIFT)"_s },
        { 0, "{\\rtf", Document },
        { 0, "SQLite format 3", Database },
        { 0, "\x89PNG", Picture },
        { 0, "GIF8", Picture },
        { 0, "\xff\xd8\xff", Picture },
        { 0, "II*"_ba + '\0', Picture },
        { 0, "MM"_ba + '\0' + '*', Picture },
        { 8, "WEBP", Picture },
        { 0, "RIFF", Recording },
        { 0, "ID3\3", Recording },
        { 0, "OggS", Recording },
        { 4, "ftyp", Recording },
        { 0, "\x1a\x45\xdf\xa3", Recording },
        { 0, "MZ", Program },
        { 0, "\x7f\x45LF", Program },
        { 0, "\xcf\xfa\xed\xfe", Program },
        { 0, "#!/", Program },
        { 0, "\x1f\x8b", Packed },
        { 0, "7z\xbc\xaf", Packed },
        { 0, "Rar!\x1a", Packed },
        { 0, "\xfd\x37zXZ", Packed },
        { 0, "BZh", Packed },
        { 0, "\x28\xb5\x2f\xfd", Packed },
        { 257, "ustar", Packed },
    };
    const auto found = std::find_if(marks.begin(), marks.end(),
                                    [&](const Mark &mark) { return bytes.mid(mark.Place, mark.Bytes.size()) == mark.Bytes; });
    return found == marks.end() ? QString() : found->Kind;
}

// The container of the older office programs tells by the names of its streams.
QString OfficeKind(const QByteArray &bytes)
{
    const auto holds = [&](const QString &name) {
        return bytes.contains(QByteArray(reinterpret_cast<const char *>(name.utf16()), name.size() * 2));
    };
    if (holds(u"Workbook"_s) || holds(u"Book"_s))
        return Spreadsheet;
    if (holds(u"WordDocument"_s))
        return Document;
    return holds(u"PowerPoint Document"_s) ? Presentation : u"a document of an office program"_s;
}

QString ZipKind(const Source &source)
{
    if (!source.Files)
        return u"a zip archive"_s;
    const QStringList paths = source.Files->Paths();
    static const std::pair<QString, QString> rows[] = {
        { u"xl/workbook.xml"_s, Spreadsheet },  { u"xl/workbook.bin"_s, Spreadsheet },
        { u"word/document.xml"_s, Document },   { u"ppt/presentation.xml"_s, Presentation },
        { u"moodle_backup.xml"_s, Backup },     { u"collection.anki2"_s, u"a deck of cards (export its notes as CSV)"_s },
        { u"META-INF/MANIFEST.MF"_s, Program },
    };
    for (const auto &[path, kind] : rows) {
        if (paths.contains(path))
            return kind;
    }
    // What OpenDocument and e-books begin with, so that it need not be inflated.
    const QByteArray begin = source.Bytes.first(std::min<qsizetype>(source.Bytes.size(), 200));
    if (begin.contains("opendocument.spreadsheet"))
        return Spreadsheet;
    if (begin.contains("opendocument.presentation"))
        return Presentation;
    if (begin.contains("opendocument.text"))
        return Document;
    if (begin.contains("application/epub"))
        return u"an e-book"_s;
    return ShallowestOf(paths, u"imsmanifest.xml"_s).isEmpty() ? u"a zip archive"_s
                                                               : u"a course package without questions in QTI"_s;
}

QString XmlKind(const Xml::Beginning &beginning)
{
    const QString root = beginning.Root.toLower();
    if (root == "svg"_L1)
        return Picture;
    if (root == "workbook"_L1)
        return Spreadsheet;
    if (root == "worddocument"_L1)
        return Document;
    if (root == "moodle_backup"_L1 || root == "question_categories"_L1)
        return Backup;
    return u"an XML file of another kind (its root element is \"%1\")"_s.arg(beginning.Root.left(50));
}

bool IsPage(const QByteArray &begin)
{
    const QByteArray text = begin.trimmed().toLower();
    return text.startsWith("<!doctype html") || text.startsWith("<html") || text.startsWith("<head");
}

QString TextKind(const QString &text)
{
    const QString begin = text.trimmed().toLower();
    if (begin.startsWith("<?xml"_L1))
        return begin.contains("<!doctype"_L1) ? u"an XML file with a document type, which is not read"_s
                                              : u"a damaged XML file"_s;
    if (begin.startsWith("\\documentclass"_L1))
        return u"a LaTeX document"_s;
    if (begin.startsWith("{\""_L1) || begin.startsWith("[{"_L1) || begin.startsWith("{\n"_L1) || begin.startsWith("[\n"_L1))
        return u"a JSON file"_s;
    return begin.isEmpty() ? u"an empty file"_s : u"a text"_s;
}

}

QString KindOf(const Source &source)
{
    const QByteArray &bytes = source.Bytes;
    if (bytes.isEmpty())
        return u"an empty file"_s;
    if (Archive::Suits(bytes))
        return ZipKind(source);
    if (bytes.startsWith("\xd0\xcf\x11\xe0"))
        return OfficeKind(bytes);
    if (const QString kind = MarkedKind(bytes); !kind.isEmpty())
        return kind;
    const QByteArray begin = bytes.first(std::min(bytes.size(), BeginningLength));
    if (IsPage(begin))
        return u"a web page"_s;
    if (const auto beginning = Xml::BeginningOf(bytes))
        return XmlKind(*beginning);
    if (bytes.startsWith("BM") && begin.mid(6, 4) == QByteArray(4, '\0'))
        return Picture;
    const QString text = Beginning(source);
    if (text.isEmpty() && begin.contains('\0'))
        return u"a binary file"_s;
    if (source.Encoding.isEmpty() && text.contains(QChar::ReplacementCharacter))
        return u"a text that is not UTF-8 (%1)"_s.arg(EncodingAdvice(bytes));
    if (Table::IsTable(source))
        return u"a table without the names of known columns (--format csv reads it with --columns)"_s;
    return TextKind(text);
}

}
