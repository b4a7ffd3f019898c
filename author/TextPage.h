// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <bitset>

// What the texts of an exam can hold, and the code page they are stored in.
namespace TextPage {

// The characters of texts beyond ASCII.
class Repertoire {
public:
    void Add(QStringView text);
    bool IsAscii() const { return !m_isBeyond && m_characters.none(); }
    // The page with the fewest characters that holds all of these, apart from
    // those that can be written otherwise without a loss: the system's, one of
    // 874 and 1250 to 1258, or else UTF-8.
    int NarrowestPage() const;

private:
    bool IsHeldBy(int page) const;

    std::bitset<0x10000> m_characters;
    bool m_isBeyond = false; // characters above U+FFFF
};

// The text as the page can hold it: what it lacks is written otherwise where
// that is possible.
QString Fitted(const QString &text, int page);

// What stands in the text and not in the page, such as "\"→\" (U+2192)"; empty
// when the page holds everything.
QString Lacking(const QString &text, int page);

// Whether a page of that number can be chosen.
bool IsKnown(int page);

// The first control character of the text, such as "U+000B"; empty when there is
// none. Tabs, line feeds and carriage returns before a line feed do not count.
QString ControlCharacter(QStringView text);

// A page as a sentence names it, such as "UTF-8" or "code page 1251".
QString NameOf(int page);

}
