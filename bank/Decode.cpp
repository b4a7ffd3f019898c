// SPDX-License-Identifier: Apache-2.0
#include "bank/Decode.h"

#include "bank/Encoding.h"
#include "common/Ansi.h"
#include "common/Error.h"

#include <QStringDecoder>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace Bank {

namespace {

using Utf = QStringConverter::Encoding;

constexpr qsizetype BeginningBytes = 64 * 1024;
constexpr int Latin = 1252;
constexpr int Cyrillic = 1251;

// A code page, or else a form of Unicode.
struct Chosen {
    Utf Unicode = QStringConverter::Utf8;
    int Page = 0;

    QString Name() const
    {
        if (Page == 0)
            return QString::fromLatin1(QStringConverter::nameForEncoding(Unicode));
        return (Page > 1258 ? u"code page %1"_s : u"windows-%1"_s).arg(Page);
    }
};

Chosen EncodingOf(const QString &name)
{
    if (const auto unicode = UnicodeOf(name))
        return { *unicode };
    if (const auto page = PageOf(name))
        return { {}, *page };
    throw Error(InvalidCall,
                u"the encoding \"%1\" is not known (UTF-8, UTF-16, ISO-8859-1, windows-1251 and the like are)"_s.arg(name));
}

// UTF-16 without a mark: of a text in Latin letters every second byte is 0.
std::optional<Utf> WideWithoutMark(QByteArrayView bytes)
{
    const qsizetype pairs = std::min<qsizetype>(bytes.size(), 512) / 2;
    qsizetype zeros[2] = {};
    for (qsizetype i = 0; i < 2 * pairs; ++i)
        zeros[i % 2] += bytes[i] == 0 ? 1 : 0;
    const qsizetype most = std::max(zeros[0], zeros[1]);
    if (pairs < 2 || most * 2 < pairs || std::min(zeros[0], zeros[1]) > most / 8)
        return {};
    return zeros[1] == most ? QStringConverter::Utf16LE : QStringConverter::Utf16BE;
}

// No text of any length in a page is UTF-8 by chance. One of several sources may be.
bool IsSurelyUtf8(const QByteArray &bytes)
{
    constexpr qsizetype fewest = 8;
    const auto isHigh = [](char c) { return static_cast<uchar>(c) >= 0x80; };
    return std::count_if(bytes.begin(), bytes.end(), isHigh) >= fewest && bytes.isValidUtf8();
}

Chosen EncodingOf(const Source &source)
{
    // A name that is not known is wrong with a mark in the file too.
    const Chosen named = EncodingOf(source.Encoding);
    if (const auto marked = QStringConverter::encodingForData(source.Bytes))
        return { *marked };
    if (source.Encoding.isEmpty())
        return { WideWithoutMark(source.Bytes).value_or(QStringConverter::Utf8) };
    return named.Page != 0 && IsSurelyUtf8(source.Bytes) ? Chosen() : named;
}

// Whether all bytes have a meaning in the page.
bool HasMeaning(const Ansi::CodePage &page, QByteArrayView bytes, const QString &text)
{
    // "?" is no second byte in any page, and stands for a pair without a meaning.
    return page.CanHold(text) && std::count(bytes.begin(), bytes.end(), '?') == text.count(u'?');
}

// The text, and whether all bytes are of the encoding.
std::pair<QString, bool> Decoded(QByteArrayView bytes, const Chosen &encoding)
{
    if (encoding.Page != 0) {
        const Ansi::CodePage page(encoding.Page);
        QString text = page.ToText(bytes);
        const bool isWhole = HasMeaning(page, bytes, text);
        return { std::move(text), isWhole };
    }
    // Without a state, bytes that end within a character are an error too.
    QStringDecoder decoder(encoding.Unicode, QStringConverter::Flag::Stateless);
    QString text = decoder(bytes);
    const bool isWhole = !decoder.hasError() && (encoding.Unicode == QStringConverter::Utf8 || text.isValidUtf16());
    return { std::move(text), isWhole };
}

// The page that bytes which are not UTF-8 are likely to be in; 0 when they tell nothing.
// Letters that follow each other are no Latin ones, of which only some have an accent.
int LikelyPage(QByteArrayView bytes)
{
    constexpr uchar firstHigh = 0x80;
    constexpr uchar firstLetter = 0xC0; // of the pages with one byte for each
    qsizetype letters = 0;
    qsizetype signs = 0;
    qsizetype runs = 0;
    bool isInside = false;
    for (const char c : bytes.first(std::min(bytes.size(), BeginningBytes))) {
        const auto byte = static_cast<uchar>(c);
        letters += byte >= firstHigh ? 1 : 0;
        signs += byte >= firstHigh && byte < firstLetter ? 1 : 0;
        runs += byte >= firstHigh && !isInside ? 1 : 0;
        isInside = byte >= firstHigh;
    }
    const int own = Ansi::SystemPageNumber();
    const bool isOwnLatin = own == Latin || own == 1250 || own == 1254 || own == 1257 || own == 1258;
    const bool isLatin = letters < 2 * runs;
    // Pages of Chinese, Japanese and Korean, and those of DOS, have letters there.
    if (!isLatin && signs * 5 > letters)
        return 0;
    return isLatin == isOwnLatin ? own : isLatin ? Latin : Cyrillic;
}

// The first line with bytes that are not of the encoding; 0 where lines cannot be
// told from the bytes.
int FaultyLine(QByteArrayView bytes, const Chosen &encoding)
{
    if (encoding.Page == 0 && encoding.Unicode != QStringConverter::Utf8)
        return 0;
    const std::unique_ptr<Ansi::CodePage> page = encoding.Page != 0 ? std::make_unique<Ansi::CodePage>(encoding.Page) : nullptr;
    int number = 0;
    for (qsizetype at = 0; at < bytes.size();) {
        qsizetype end = bytes.indexOf('\n', at);
        if (end < 0)
            end = bytes.size();
        const QByteArrayView line = bytes.sliced(at, end - at);
        ++number;
        if (!(page ? HasMeaning(*page, line, page->ToText(line)) : Decoded(line, encoding).second))
            break;
        at = end + 1;
    }
    return number;
}

[[noreturn]] void Fail(const Source &source, const Chosen &encoding)
{
    const int line = FaultyLine(source.Bytes, encoding);
    const QString where = line > 0 ? u"line %1"_s.arg(line) : u"the text"_s;
    QString text = u"%1 holds bytes that are not %2"_s.arg(where, encoding.Name());
    if (encoding.Page == 0 && encoding.Unicode == QStringConverter::Utf8)
        text += u" ("_s + EncodingAdvice(source.Bytes) + u')';
    throw Error(InvalidCall, text, source.Name);
}

// Without byte order marks, and with line feeds at the ends of lines.
void Normalise(QString &text)
{
    if (!text.contains(u'\r') && !text.contains(QChar(QChar::ByteOrderMark)))
        return;
    QChar *out = text.data();
    const QChar *const begin = out;
    const QChar *const end = begin + text.size();
    for (const QChar *in = begin; in != end; ++in) {
        if (*in == QChar(QChar::ByteOrderMark) || (*in == u'\r' && in + 1 != end && in[1] == u'\n'))
            continue;
        *out++ = *in == u'\r' ? QChar(u'\n') : *in;
    }
    text.truncate(out - begin);
}

}

QString Decode(const Source &source)
{
    const Chosen chosen = EncodingOf(source);
    auto [text, isWhole] = Decoded(source.Bytes, chosen);
    if (!isWhole)
        Fail(source, chosen);
    Normalise(text);
    return std::move(text);
}

QString Beginning(const Source &source)
{
    if (!IsEncoding(source.Encoding))
        return {};
    const QByteArrayView bytes = QByteArrayView(source.Bytes).first(std::min(source.Bytes.size(), BeginningBytes));
    QString text = Decoded(bytes, EncodingOf(source)).first;
    Normalise(text);
    if (const qsizetype end = text.lastIndexOf(u'\n'); bytes.size() < source.Bytes.size() && end >= 0)
        text.truncate(end + 1);
    return text.contains(u'\0') ? QString() : text;
}

QString EncodingAdvice(QByteArrayView bytes)
{
    const int page = LikelyPage(bytes);
    return u"say its encoding with --encoding"_s + (page == 0 ? QString() : u", such as windows-%1"_s.arg(page));
}

}
