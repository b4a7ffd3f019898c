// SPDX-License-Identifier: Apache-2.0
#include "markup/Characters.h"
#include "markup/OptionLetters.h"
#include "tests/support/Rows.h"

namespace {

bool IsLatin1(char32_t c)
{
    return c < 0x100;
}

bool IsLatin1OrDigit(char32_t c)
{
    return c < 0x100 || (c >= 0x2070 && c < 0x207A) || c == 0x2013;
}

}

TEST(CharactersTest, CharactersOfNoWidthGoWhereTheySayNothing)
{
    const std::vector<Row> rows = {
        { "in words", u"\uFEFFa\u200Bb\u00ADc\u2060d\u200De\u200Ef\u202Ag"_s, u"abcdefg"_s },
        { "from right to left", u"\u05D0\u200F!\u200B \u200E1"_s, u"\u05D0\u200F! \u200E1"_s },
        { "in a script that joins", u"\u0915\u094D\u200D\u0937 \u0645\u06CC\u200C\u062E\u0648\u200C"_s,
          u"\u0915\u094D\u200D\u0937 \u0645\u06CC\u200C\u062E\u0648"_s },
        { "in emoji", u"\U0001F469\u200D\U0001F4BB \u2764\uFE0F\u200D\U0001F525\u200D"_s,
          u"\U0001F469\u200D\U0001F4BB \u2764\uFE0F\u200D\U0001F525"_s },
    };
    ExpectRows(Characters::Clean, rows);
}

TEST(CharactersTest, OthersStandForWhatIsNotHeld)
{
    const std::vector<Row> latin1 = {
        { "typography", u"\u2018a\u2019\u2009\u2013 \u201Cb\u201D\u2026 \uFB01x \u2212\u20111 \uFF21\uFF11"_s,
          u"'a' - \"b\"... fix --1 A1"_s },
        { "held", u"\u00AB\u00E9\u00BB\u00A0\u00BD\u00B7 x\u00B2"_s, u"\u00AB\u00E9\u00BB\u00A0\u00BD\u00B7 x\u00B2"_s },
        { "fractions", u"2\u2153 \u215B"_s, u"2 1/3 1/8"_s },
        { "scripts",
          u"x\u00B2\u2070, 10\u207B\u00B3m, 2\u207F, 2\u207Fm, 2\u207F\u207A\u00B9, H\u2082O, x\u2081\u2080, x\u2081\u20802, SO\u2084\u00B2\u207B"_s,
          u"x^20, 10^-3m, 2^n, 2^(n)m, 2^(n+1), H_2O, x_10, x_(10)2, SO_4^(2-)"_s },
        { "neither", u"\u0416 \u2264 \U0001F600"_s, u"\u0416 \u2264 \U0001F600"_s },
    };
    ExpectRows([](const QString &text) { return Characters::Fit(text, IsLatin1); }, latin1);
    EXPECT_EQ(Characters::Fit(u"a\u2013b x\u00B2\u2070 x\u207B\u2070 \u22C5"_s, IsLatin1OrDigit),
              u"a\u2013b x\u00B2\u2070 x^-0 \u00B7"_s);
    EXPECT_TRUE(Characters::IsSoft(0x2003) && Characters::IsSoft(0x2212) && Characters::IsSoft(0xFB01)
                && Characters::IsSoft(0xFF21));
    EXPECT_FALSE(Characters::IsSoft(0x2070) || Characters::IsSoft(0x2264) || Characters::IsSoft(U'a')
                 || Characters::IsSoft(0x1F600));
}

TEST(CharactersTest, SignsInAscii)
{
    const std::vector<Row> rows = {
        { "arrows and relations", u"a \u2192 b \u2190 c \u2194 d \u21D2 e \u21D4 f \u2264 \u2265 \u2260 \u2248"_s,
          u"a -> b <- c <-> d => e <=> f <= >= != ~="_s },
        { "operators", u"2\u00D73\u00F74\u00B15\u00B7\u221A(x\u00B2)\u22C5\u00BD"_s, u"2*3/4+/-5*sqrt(x^2)*1/2"_s },
        { "ordinals are no products", u"10\u00AA 2\u00BAb"_s, u"10^a 2^(o)b"_s },
        { "letters stay", u"\u00E9 \u0416 90\u00B0 \u201Ca\u201D"_s, u"\u00E9 \u0416 90\u00B0 \"a\""_s },
    };
    ExpectRows(Characters::Ascii, rows);
}

TEST(OptionLettersTest, LettersGoOnlyWhenAllHaveThem)
{
    const std::vector<Row> rows = {
        { "letters", u"a) x|b)  y|c) a) z"_s, u"x|y|a) z"_s },
        { "capitals", u"A. x|B. y"_s, u"x|y"_s },
        { "brackets", u"(a) x\ny|(b) z"_s, u"x\ny|z"_s },
        { "numbers", u"1) x|2) y|3) z"_s, u"x|y|z"_s },
        { "ordinals", u"1. Mai|2. Juni"_s, {} },
        { "equal behind them", u"a) x|b) y|c) x"_s, {} },
        { "Roman numbers", u"I) x|II) y|III) z|IV) a"_s, u"x|y|z|a"_s },
        { "Cyrillic letters", u"\u0430) x|\u0431) y"_s, u"x|y"_s },
        { "a gap", u"a) x|c) y"_s, {} },
        { "not from the first", u"b) x|c) y"_s, {} },
        { "two styles", u"a) x|b. y"_s, {} },
        { "two cases", u"a) x|B) y"_s, {} },
        { "one without", u"a) x|b) y|z"_s, {} },
        { "nothing behind", u"a) x|b) "_s, {} },
        { "no blank", u"1.5|2.5"_s, {} },
        { "words", u"A x|B y"_s, {} },
        { "one option", u"a) x"_s, {} },
    };
    for (const Row &row : rows) {
        QStringList options = row.Source.split(u'|');
        EXPECT_EQ(OptionLetters::Remove(options), !row.Expected.isNull()) << row.Name;
        EXPECT_EQ(options.join(u'|'), row.Expected.isNull() ? row.Source : row.Expected) << row.Name;
    }
}
