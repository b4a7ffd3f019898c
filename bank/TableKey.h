// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Bank.h"

#include <array>

// How the rows of a table say which options are right.
namespace TableKey {

// The options of a row by their columns; an empty one is none.
using Options = std::vector<QStringView>;

// "true" or "false" in one of some languages, or as the user calls them.
std::optional<bool> TruthOf(QStringView text, const Bank::Options &words);

// Reads keys after it has seen those of the whole file: what they mean together tells
// what one alone does not.
class Reader {
public:
    explicit Reader(const Bank::Options &words, bool hasCyrillicLetters)
        : m_words(words)
        , m_hasCyrillicColumns(hasCyrillicLetters)
    {
    }

    // First each key of the file with its options.
    void Learn(QStringView key, const Options &options);
    // Then whether the keys are numbers of which nobody can tell if they begin at 0 or
    // 1. They are read as if at 1.
    bool IsFirstUnknown() const;
    // And what each means: the right options, from 0 and in ascending order; empty
    // when it names none. A doubt about it is added to the warnings.
    std::vector<int> RightOptions(QStringView key, const Options &options, QStringList &warnings) const;
    // Whether it names none because a letter may be a Latin or a Cyrillic one.
    bool IsOfTwoScripts(QStringView key) const;

private:
    enum Style { Letters, FromOne, FromZero, Texts, Styles };
    std::vector<int> Read(Style style, QStringView key, const Options &options) const;
    QChar Meant(QChar letter) const;
    std::vector<int> ReadLetters(QStringView key, const Options &options) const;
    std::vector<int> ReadTexts(QStringView key, const Options &options) const;
    int OptionOfText(QStringView text, const Options &options) const;
    Style Usual() const;

    const Bank::Options &m_words;
    bool m_hasCyrillicColumns;
    // Letters that only one of the scripts has are among the keys.
    bool m_hasCyrillicKeys = false;
    bool m_hasLatinKeys = false;
    // How many keys name options when they are read in each style.
    std::array<int, Styles> m_readable{};
    // Each of these keys is the text of exactly one of its options.
    bool m_areTexts = true;
};

}
