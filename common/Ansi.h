// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringView>

#include <array>
#include <memory>
#include <vector>

class QLocale;

// Texts in files and on the wire are bytes of the ANSI code page: the
// system's on Windows, elsewhere the Windows code page of the user's language.
// Tables are built once for each page; converting a text is a look-up.
namespace Ansi {

// The number of UTF-8 among the code pages.
constexpr int Utf8 = 65001;

class CodePage {
public:
    // A Windows code page by its number, UTF-8 too. A page that the system does not
    // know holds ASCII, and every other byte stands for the character of its number.
    explicit CodePage(int number);

    int Number() const { return m_number; }
    bool IsUtf8() const { return m_number == Utf8; }
    // The most bytes that a text takes for each of its UTF-16 units.
    int MostBytes() const { return IsUtf8() ? 3 : 2; }
    // Bytes that are not UTF-8 (RFC 3629) become lone surrogates, U+DC00 plus the
    // byte, and FromText makes them bytes again. A byte order mark is a character.
    QString ToText(QByteArrayView bytes) const;
    // A character that the page lacks becomes "?", each half of a pair one. A
    // byte without a meaning comes back from the character that ToText made.
    QByteArray FromText(QStringView text) const;
    // True when the page has every character of the text. A byte without a
    // meaning has none, though ToText and FromText keep it.
    bool CanHold(QStringView text) const;

private:
    // Into a buffer with room for as many characters as there are bytes; the number
    // of characters written.
    qsizetype ToText(const uchar *bytes, qsizetype count, char16_t *out) const;
    // 0 where the page lacks the character; a two-byte character has its first
    // byte in the upper half.
    const std::vector<quint16> &Encoding() const;

    int m_number;
    bool m_isSingleByte = true;
    std::array<char16_t, 256> m_single{};
    std::array<bool, 256> m_hasMeaning{};
    std::array<std::unique_ptr<std::array<char16_t, 256>>, 256> m_pairs;
    mutable std::vector<quint16> m_encoding;
};

// Whether texts can be in that page on every system: 874, 932, 936, 949, 950, 1250
// to 1258, and UTF-8.
bool IsSupported(int number);
// Such a page, built at its first use and kept. Raises InvalidCall for any other.
const CodePage &PageOf(int number);

// The code page of a language: 1252 for Western languages and by default.
int CodePageOf(const QLocale &locale);

// The number of the system's page, looked up anew. Outside Windows it follows
// the variable that decides on characters: the first of LC_ALL, LC_CTYPE and
// LANG that is set and not empty; the language of messages has no say.
int SystemPageNumber();
// The page that files are read and written with: the one of the first use.
const CodePage &SystemCodePage();

QString ToText(QByteArrayView bytes);
QByteArray FromText(QStringView text);

// What the system says of a page, filled by the system's own file: the
// character of one byte, or of a byte pair; 0xFFFF where there is none, and
// Lead where the byte begins a pair.
constexpr char16_t NoCharacter = 0xFFFF;
constexpr char16_t Lead = 0xFFFE;
class Decoder {
public:
    explicit Decoder(int codePage);
    ~Decoder();
    Decoder(const Decoder &) = delete;
    Decoder &operator=(const Decoder &) = delete;
    char16_t Single(uchar byte);
    char16_t Pair(uchar lead, uchar trail);

private:
    struct System;
    std::unique_ptr<System> m_system;
};

}
