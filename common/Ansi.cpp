// SPDX-License-Identifier: Apache-2.0
#include "common/Ansi.h"

#include "common/Error.h"
#include "common/Utf8.h"

#include <QLocale>

#include <algorithm>
#include <map>

namespace Ansi {

namespace {

// Bytes of the Japanese page that converters take for meaningless, and Windows
// for these characters, four of them for private use.
char16_t JapaneseSingle(int byte)
{
    switch (byte) {
    case 0x80: return 0x0080;
    case 0xA0: return 0xF8F0;
    case 0xFD:
    case 0xFE:
    case 0xFF: return static_cast<char16_t>(0xF8F1 + byte - 0xFD);
    default: return NoCharacter;
    }
}

}

CodePage::CodePage(int number)
    : m_number(number)
{
    if (IsUtf8())
        return;
    Decoder decoder(number);
    for (int byte = 0; byte < 256; ++byte) {
        const char16_t own = number == 932 ? JapaneseSingle(byte) : NoCharacter;
        const char16_t character = own == NoCharacter ? decoder.Single(static_cast<uchar>(byte)) : own;
        if (character == Lead) {
            m_isSingleByte = false;
            auto trail = std::make_unique<std::array<char16_t, 256>>();
            for (int second = 0; second < 256; ++second)
                (*trail)[second] = decoder.Pair(static_cast<uchar>(byte), static_cast<uchar>(second));
            m_pairs[byte] = std::move(trail);
        }
        // A byte without a meaning keeps its number, so that it survives a
        // way through a text and back.
        m_hasMeaning[byte] = character < Lead;
        m_single[byte] = m_hasMeaning[byte] ? character : static_cast<char16_t>(byte);
    }
}

qsizetype CodePage::ToText(const uchar *bytes, qsizetype count, char16_t *out) const
{
    if (m_isSingleByte) {
        const char16_t *table = m_single.data();
        for (qsizetype i = 0; i < count; ++i)
            out[i] = table[bytes[i]];
        return count;
    }
    qsizetype length = 0;
    for (qsizetype i = 0; i < count; ++i) {
        const auto &trail = m_pairs[bytes[i]];
        if (trail && i + 1 < count) {
            const char16_t character = (*trail)[bytes[++i]];
            out[length++] = character == NoCharacter ? u'?' : character;
        } else {
            out[length++] = m_single[bytes[i]];
        }
    }
    return length;
}

QString CodePage::ToText(QByteArrayView bytes) const
{
    if (IsUtf8())
        return Utf8Text::FromBytes(bytes);
    QString text(bytes.size(), Qt::Uninitialized);
    const qsizetype length
        = ToText(reinterpret_cast<const uchar *>(bytes.data()), bytes.size(), reinterpret_cast<char16_t *>(text.data()));
    text.truncate(length);
    return text;
}

const std::vector<quint16> &CodePage::Encoding() const
{
    if (m_encoding.empty()) {
        m_encoding.assign(65536, 0);
        const auto addLead = [this](int lead) {
            for (int trail = 0; m_pairs[lead] && trail < 256; ++trail) {
                const char16_t character = (*m_pairs[lead])[trail];
                if (character != NoCharacter && m_encoding[character] == 0)
                    m_encoding[character] = static_cast<quint16>(lead << 8 | trail);
            }
        };
        // The first place of a character counts. In the Japanese page Windows
        // reads the pairs behind ED and EE, and writes those behind FA to FC.
        const auto isLast = [this](int lead) { return m_number == 932 && (lead == 0xED || lead == 0xEE); };
        for (int lead = 0; lead < 256; ++lead) {
            if (!isLast(lead))
                addLead(lead);
        }
        for (int lead = 0; lead < 256; ++lead)
            addLead(lead);
        for (const bool hasMeaning : { false, true }) {
            for (int byte = 0; byte < 256; ++byte) {
                if (!m_pairs[byte] && m_hasMeaning[byte] == hasMeaning)
                    m_encoding[m_single[byte]] = static_cast<quint16>(byte);
            }
        }
    }
    return m_encoding;
}

QByteArray CodePage::FromText(QStringView text) const
{
    if (IsUtf8())
        return Utf8Text::ToBytes(text);
    const std::vector<quint16> &encoding = Encoding();
    QByteArray bytes;
    bytes.reserve(m_isSingleByte ? text.size() : text.size() * 2);
    for (const QChar c : text) {
        const quint16 code = encoding[c.unicode()];
        if (code > 0xFF)
            bytes.append(static_cast<char>(code >> 8));
        bytes.append(code == 0 && !c.isNull() ? '?' : static_cast<char>(code & 0xFF));
    }
    return bytes;
}

bool CodePage::CanHold(QStringView text) const
{
    if (IsUtf8())
        return text.isValidUtf16();
    const std::vector<quint16> &encoding = Encoding();
    return std::all_of(text.begin(), text.end(), [&](QChar c) {
        const quint16 code = encoding[c.unicode()];
        return c.isNull() || code > 0xFF || (code != 0 && m_hasMeaning[code]);
    });
}

bool IsSupported(int number)
{
    static constexpr int pages[] = { 874, 932, 936, 949, 950, Utf8 };
    return (1250 <= number && number <= 1258) || std::find(std::begin(pages), std::end(pages), number) != std::end(pages);
}

const CodePage &PageOf(int number)
{
    if (!IsSupported(number))
        throw Error::RunTime(InvalidCall);
    static std::map<int, CodePage> pages;
    return pages.try_emplace(number, number).first->second;
}

int CodePageOf(const QLocale &locale)
{
    switch (locale.language()) {
    case QLocale::Polish:
    case QLocale::Czech:
    case QLocale::Slovak:
    case QLocale::Hungarian:
    case QLocale::Slovenian:
    case QLocale::Croatian:
    case QLocale::Romanian:
    case QLocale::Albanian: return 1250;
    case QLocale::Bosnian:
    case QLocale::Serbian: return locale.script() == QLocale::CyrillicScript ? 1251 : 1250;
    case QLocale::Russian:
    case QLocale::Ukrainian:
    case QLocale::Belarusian:
    case QLocale::Bulgarian:
    case QLocale::Macedonian:
    case QLocale::Kazakh:
    case QLocale::Kirghiz:
    case QLocale::Mongolian:
    case QLocale::Tatar: return 1251;
    case QLocale::Greek: return 1253;
    case QLocale::Turkish: return 1254;
    case QLocale::Azerbaijani:
    case QLocale::Uzbek: return locale.script() == QLocale::CyrillicScript ? 1251 : 1254;
    case QLocale::Hebrew: return 1255;
    case QLocale::Arabic:
    case QLocale::Persian:
    case QLocale::Urdu: return 1256;
    case QLocale::Estonian:
    case QLocale::Latvian:
    case QLocale::Lithuanian: return 1257;
    case QLocale::Vietnamese: return 1258;
    case QLocale::Thai: return 874;
    case QLocale::Japanese: return 932;
    case QLocale::Korean: return 949;
    case QLocale::Chinese: return locale.script() == QLocale::TraditionalChineseScript ? 950 : 936;
    default: return 1252;
    }
}

QString ToText(QByteArrayView bytes)
{
    return SystemCodePage().ToText(bytes);
}

QByteArray FromText(QStringView text)
{
    return SystemCodePage().FromText(text);
}

}
