// SPDX-License-Identifier: Apache-2.0
#include "model/TextEncoding.h"

#include "common/Ansi.h"
#include "model/ExamFormat.h"

#include <QList>
#include <QtEndian>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace TextEncoding {

namespace {

constexpr QByteArrayView Signature("Practorium text\x1A");
static_assert(Signature.size() == 16);
constexpr qint16 Version = 1;

// The fields of a block one after the other; nothing once one is not whole.
class Fields {
public:
    explicit Fields(QByteArrayView bytes)
        : m_left(bytes)
    {
    }

    QByteArrayView Left() const { return m_left; }

    std::optional<QByteArrayView> Bytes(qint32 count)
    {
        if (count < 0 || count > m_left.size())
            return {};
        const QByteArrayView bytes = m_left.first(count);
        m_left = m_left.sliced(count);
        return bytes;
    }

    template <class Number> std::optional<Number> Value()
    {
        const auto bytes = Bytes(sizeof(Number));
        if (!bytes)
            return {};
        return qFromLittleEndian<Number>(bytes->data());
    }

    std::optional<QString> Title()
    {
        const auto count = Value<qint32>();
        const auto bytes = count ? Bytes(*count) : std::nullopt;
        if (!bytes || !bytes->isValidUtf8())
            return {};
        const QString title = Ansi::PageOf(Ansi::Utf8).ToText(*bytes);
        if (title.size() > ExamFormat::MostTitleCharacters)
            return {};
        return title;
    }

private:
    QByteArrayView m_left;
};

template <class Number> QByteArray BytesOf(Number value)
{
    QByteArray bytes(sizeof value, Qt::Uninitialized);
    qToLittleEndian(value, bytes.data());
    return bytes;
}

QByteArray BytesOf(const QString &title)
{
    const QByteArray bytes = title.toUtf8();
    return BytesOf(static_cast<qint32>(bytes.size())) + bytes;
}

// ASCII for what Unicode does not take apart by itself.
QByteArray AsciiOf(char32_t character)
{
    static constexpr struct {
        char16_t Character;
        char Ascii[3];
    } letters[] = {
        { u'\u00C6', "AE" }, { u'\u00D0', "D" },  { u'\u00D7', "x" },  { u'\u00D8', "O" },  { u'\u00DE', "Th" },
        { u'\u00DF', "ss" }, { u'\u00E6', "ae" }, { u'\u00F0', "d" },  { u'\u00F8', "o" },  { u'\u00FE', "th" },
        { u'\u0110', "D" },  { u'\u0111', "d" },  { u'\u0131', "i" },  { u'\u0141', "L" },  { u'\u0142', "l" },
        { u'\u0152', "OE" }, { u'\u0153', "oe" }, { u'\u2010', "-" },  { u'\u2013', "-" },  { u'\u2014', "-" },
        { u'\u2018', "'" },  { u'\u2019', "'" },  { u'\u201C', "\"" }, { u'\u201D', "\"" }, { u'\u2212', "-" },
    };
    if (character < 0x80)
        return QByteArray(1, static_cast<char>(character));
    const auto found = std::find_if(std::begin(letters), std::end(letters),
                                    [&](const auto &letter) { return letter.Character == character; });
    return found == std::end(letters) ? QByteArray("?") : QByteArray(found->Ascii);
}

QByteArray Ascii(const QString &text)
{
    QByteArray ascii;
    for (const char32_t character : text.normalized(QString::NormalizationForm_KD).toUcs4()) {
        if (!QChar::isMark(character))
            ascii += AsciiOf(character);
    }
    return ascii;
}

}

std::optional<Block> Read(const QByteArray &bytes)
{
    if (!bytes.startsWith(Signature))
        return {};
    Fields fields(QByteArrayView(bytes).sliced(Signature.size()));
    const auto version = fields.Value<qint16>();
    const auto page = fields.Value<qint32>();
    const auto code = fields.Title();
    const auto name = fields.Title();
    const bool isWhole = name && (version == Version ? fields.Left().isEmpty() : version > Version);
    if (!isWhole || !page || !code || !Ansi::IsSupported(*page))
        return {};
    return Block{ *page, *code, *name };
}

QByteArray Write(const Block &block)
{
    return Signature.toByteArray() + BytesOf(Version) + BytesOf<qint32>(block.CodePage) + BytesOf(block.Code)
        + BytesOf(block.Name);
}

QByteArray Plain(const QString &text, int codePage)
{
    const Ansi::CodePage &page = Ansi::PageOf(codePage);
    const auto plain = [&](const QString &part) { return page.IsUtf8() ? Ascii(part) : page.FromText(part); };
    QByteArray bytes = plain(text);
    // The text is what is shortened: no character of two bytes is cut in half.
    for (qsizetype length = text.size(); bytes.size() > ExamFormat::MostTitleCharacters; bytes = plain(text.left(length)))
        length = length * ExamFormat::MostTitleCharacters / bytes.size();
    return bytes;
}

}
