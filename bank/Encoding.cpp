// SPDX-License-Identifier: Apache-2.0
#include "bank/Encoding.h"

#include "common/Ansi.h"

#include <QStringDecoder>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace Bank {

namespace {

struct NamedPage {
    QLatin1StringView Name;
    int Page;
};

// Names in which no number of the page stands, without signs.
constexpr NamedPage NamedPages[] = {
    { "latin1"_L1, 1252 }, { "latin2"_L1, 28592 },  { "tis620"_L1, 874 },    { "koi8r"_L1, 20866 },
    { "koi8u"_L1, 21866 }, { "shiftjis"_L1, 932 },  { "sjis"_L1, 932 },      { "windows31j"_L1, 932 },
    { "gb2312"_L1, 936 },  { "gbk"_L1, 936 },       { "euckr"_L1, 949 },     { "ksc56011987"_L1, 949 },
    { "big5"_L1, 950 },    { "iso88591"_L1, 1252 }, { "iso88599"_L1, 1254 }, { "iso885911"_L1, 874 },
};
constexpr int NumberedPages[]
    = { 437, 850, 852, 866, 874, 932, 936, 949, 950, 1250, 1251, 1252, 1253, 1254, 1255, 1256, 1257, 1258 };
// The number of the page of part 0, if there were one.
constexpr int IsoPages = 28590;

// Letters and digits alone, in lower case.
QString Plain(const QString &name)
{
    QString plain = name.toLower();
    plain.removeIf([](QChar c) { return !c.isLetterOrNumber(); });
    return plain;
}

bool IsPartOfIso(int part)
{
    return part >= 2 && part <= 16 && part != 12;
}

}

std::optional<QStringConverter::Encoding> UnicodeOf(const QString &encoding)
{
    static const std::pair<QLatin1StringView, QStringConverter::Encoding> names[] = {
        { ""_L1, QStringConverter::Utf8 },           { "utf8"_L1, QStringConverter::Utf8 },
        { "usascii"_L1, QStringConverter::Utf8 },    { "ascii"_L1, QStringConverter::Utf8 },
        { "utf16"_L1, QStringConverter::Utf16 },     { "utf16le"_L1, QStringConverter::Utf16LE },
        { "utf16be"_L1, QStringConverter::Utf16BE }, { "utf32"_L1, QStringConverter::Utf32 },
        { "utf32le"_L1, QStringConverter::Utf32LE }, { "utf32be"_L1, QStringConverter::Utf32BE },
    };
    const QString plain = Plain(encoding);
    const auto found = std::find_if(std::begin(names), std::end(names), [&](const auto &each) { return plain == each.first; });
    return found == std::end(names) ? std::nullopt : std::optional(found->second);
}

std::optional<int> PageOf(const QString &encoding)
{
    QString plain = Plain(encoding);
    const auto found
        = std::find_if(std::begin(NamedPages), std::end(NamedPages), [&](const NamedPage &each) { return plain == each.Name; });
    if (found != std::end(NamedPages))
        return found->Page;
    if (const int part = plain.startsWith("iso8859"_L1) ? plain.sliced(7).toInt() : 0; IsPartOfIso(part))
        return IsoPages + part;
    for (const auto prefix : { "x"_L1, "windows"_L1, "cp"_L1, "ansi"_L1, "ibm"_L1 }) {
        if (plain.startsWith(prefix))
            plain.remove(0, prefix.size());
    }
    const int page = plain.toInt();
    const bool isKnown = std::find(std::begin(NumberedPages), std::end(NumberedPages), page) != std::end(NumberedPages);
    return isKnown ? std::optional(page) : std::nullopt;
}

bool IsEncoding(const QString &name)
{
    return UnicodeOf(name) || PageOf(name);
}

std::optional<QByteArray> ToUtf8(const QByteArray &bytes, const QString &encoding)
{
    if (bytes.startsWith("\xEF\xBB\xBF"))
        return bytes.sliced(3);
    const auto mark = QStringConverter::encodingForData(bytes);
    const auto unicode = mark ? mark : UnicodeOf(encoding);
    if (unicode == QStringConverter::Utf8)
        return bytes;
    if (unicode) {
        QStringDecoder decoder(*unicode);
        return QString(decoder(bytes)).toUtf8();
    }
    const std::optional<int> page = PageOf(encoding);
    return page ? std::optional(Ansi::CodePage(*page).ToText(bytes).toUtf8()) : std::nullopt;
}

qsizetype ValidUtf8(const QByteArray &bytes)
{
    if (bytes.isValidUtf8())
        return bytes.size();
    qsizetype good = 0;
    for (qsizetype length = 1; length <= std::min<qsizetype>(4, bytes.size() - good); ++length) {
        if (QByteArrayView(bytes).sliced(good, length).isValidUtf8()) {
            good += length;
            length = 0;
        }
    }
    return good;
}

}
