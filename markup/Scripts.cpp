// SPDX-License-Identifier: Apache-2.0
#include "markup/Scripts.h"

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace Scripts {

namespace {

struct Alphabet {
    std::u16string_view Plain;
    std::u16string_view Forms;
};

constexpr Alphabet Raised = {
    u"0123456789+-=()abcdefghijklmnoprstuvwxyz"
    u"ABDEGHIJKLMNOPRTUVW\u03B2\u03B3\u03B4\u03B8\u03C6\u03C7",
    u"\u2070\u00B9\u00B2\u00B3\u2074\u2075\u2076\u2077\u2078\u2079\u207A\u207B\u207C\u207D\u207E"
    u"\u1D43\u1D47\u1D9C\u1D48\u1D49\u1DA0\u1D4D\u02B0\u2071\u02B2\u1D4F\u02E1\u1D50\u207F\u1D52\u1D56\u02B3\u02E2\u1D57\u1D58"
    u"\u1D5B\u02B7\u02E3\u02B8\u1DBB"
    u"\u1D2C\u1D2E\u1D30\u1D31\u1D33\u1D34\u1D35\u1D36\u1D37\u1D38\u1D39\u1D3A\u1D3C\u1D3E\u1D3F\u1D40\u1D41\u2C7D\u1D42"
    u"\u1D5D\u1D5E\u1D5F\u1DBF\u1D60\u1D61",
};

constexpr Alphabet Lowered = {
    u"0123456789+-=()aehijklmnoprstuvx\u03B2\u03B3\u03C1\u03C6\u03C7",
    u"\u2080\u2081\u2082\u2083\u2084\u2085\u2086\u2087\u2088\u2089\u208A\u208B\u208C\u208D\u208E"
    u"\u2090\u2091\u2095\u1D62\u2C7C\u2096\u2097\u2098\u2099\u2092\u209A\u1D63\u209B\u209C\u1D64\u1D65\u2093"
    u"\u1D66\u1D67\u1D68\u1D69\u1D6A",
};

static_assert(Raised.Plain.size() == Raised.Forms.size() && Lowered.Plain.size() == Lowered.Forms.size());

constexpr std::u16string_view RaisedAnyway = u"\u00B0\u00AE\u2122\u2120\u00AA\u00BA'\u2032\u2033\u2034\u201D\u2019";
constexpr std::u16string_view Operators = u"+-=<>*/,\u00B1\u00B7\u00D7\u00F7\u2212\u2190\u2192\u2208\u2260\u2264\u2265";

const Alphabet &AlphabetOf(Side side)
{
    return side == Side::Raised ? Raised : Lowered;
}

bool IsAll(QStringView text, std::u16string_view of)
{
    return std::all_of(text.begin(), text.end(), [of](QChar c) { return of.find(c.unicode()) != of.npos; });
}

QString WithoutBlanks(QStringView text)
{
    const QString simple = text.toString().simplified();
    QString result;
    for (qsizetype i = 0; i < simple.size(); ++i) {
        const bool isBeside = simple.at(i) == u' '
            && (Operators.find(simple.at(i - 1).unicode()) != Operators.npos
                || Operators.find(simple.at(i + 1).unicode()) != Operators.npos);
        if (!isBeside)
            result += simple.at(i);
    }
    return result;
}

// Whether it can stand behind "^" or "_" without brackets.
bool IsSimple(Side side, QStringView text, QChar next)
{
    const auto isDigit = [](QChar c) { return c.isDigit(); };
    const auto isLetter = [](QChar c) { return c.isLetter(); };
    const bool isSigned = side == Side::Raised && text.size() > 1 && (text.front() == u'-' || text.front() == u'+');
    const QStringView digits = text.sliced(isSigned ? 1 : 0);
    if (std::all_of(digits.begin(), digits.end(), isDigit))
        return !next.isDigit();
    if (text.size() == 1)
        return !(next.isLetter() && text.front().isLetter());
    return side == Side::Lowered && std::all_of(text.begin(), text.end(), isLetter) && !next.isLetter();
}

bool IsBracketed(QStringView text)
{
    return text.size() > 2 && text.front() == u'[' && text.back() == u']';
}

}

char16_t Form(Side side, char16_t plain)
{
    const Alphabet &alphabet = AlphabetOf(side);
    const size_t found = alphabet.Plain.find(plain == u'\u2212' ? u'-' : plain);
    return found == std::u16string_view::npos ? u'\0' : alphabet.Forms.at(found);
}

Plain PlainOf(char16_t character)
{
    // Nearly every text has none.
    if (character < 0xB2 || (character > 0xB9 && character < 0x2B0))
        return {};
    for (const Side side : { Side::Raised, Side::Lowered }) {
        const Alphabet &alphabet = AlphabetOf(side);
        if (const size_t found = alphabet.Forms.find(character); found != std::u16string_view::npos)
            return { alphabet.Plain.at(found), side };
    }
    return {};
}

QString Put(Side side, QStringView text, QChar next)
{
    const QString content = WithoutBlanks(text);
    if (content.isEmpty() || (side == Side::Raised && IsAll(content, RaisedAnyway)) || IsBracketed(content))
        return content;
    if (!IsAll(content, AlphabetOf(side).Plain) && !content.contains(u'\u2212'))
        return PutWithSign(side, content, next);
    QString result;
    for (const QChar c : content) {
        const char16_t form = Form(side, c.unicode());
        if (form == 0)
            return PutWithSign(side, content, next);
        result += QChar(form);
    }
    return result;
}

QString PutWithSign(Side side, QStringView text, QChar next)
{
    const QChar sign = side == Side::Raised ? u'^' : u'_';
    const QString content = text.toString();
    return IsSimple(side, text, next) ? sign + content : sign + u"("_s + content + u')';
}

bool IsOrdinal(QStringView text)
{
    static constexpr std::array endings = {
        "st"_L1, "nd"_L1, "rd"_L1, "th"_L1, "e"_L1, "er"_L1, "re"_L1, "ers"_L1, "res"_L1, "es"_L1, "nde"_L1, "eme"_L1,
    };
    const QStringView word = text.trimmed();
    return word == u"\u00E8re" || word == u"\u00E8me"
        || std::any_of(endings.begin(), endings.end(),
                       [word](QLatin1StringView one) { return word.compare(one, Qt::CaseInsensitive) == 0; });
}

}
