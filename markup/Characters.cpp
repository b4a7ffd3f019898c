// SPDX-License-Identifier: Apache-2.0
#include "markup/Characters.h"

#include "markup/Scripts.h"

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace Characters {

namespace {

struct Substitute {
    char16_t Character;
    QLatin1StringView Text;
};

// Without loss of meaning; in order.
constexpr std::array Soft = {
    Substitute{ u'\u00A0', " "_L1 },   Substitute{ u'\u00AB', "\""_L1 },   Substitute{ u'\u00BB', "\""_L1 },
    Substitute{ u'\u02B9', "'"_L1 },   Substitute{ u'\u02BC', "'"_L1 },    Substitute{ u'\u2010', "-"_L1 },
    Substitute{ u'\u2011', "-"_L1 },   Substitute{ u'\u2012', "-"_L1 },    Substitute{ u'\u2013', "-"_L1 },
    Substitute{ u'\u2014', "-"_L1 },   Substitute{ u'\u2015', "-"_L1 },    Substitute{ u'\u2018', "'"_L1 },
    Substitute{ u'\u2019', "'"_L1 },   Substitute{ u'\u201A', "'"_L1 },    Substitute{ u'\u201B', "'"_L1 },
    Substitute{ u'\u201C', "\""_L1 },  Substitute{ u'\u201D', "\""_L1 },   Substitute{ u'\u201E', "\""_L1 },
    Substitute{ u'\u201F', "\""_L1 },  Substitute{ u'\u2022', "*"_L1 },    Substitute{ u'\u2024', "."_L1 },
    Substitute{ u'\u2026', "..."_L1 }, Substitute{ u'\u2027', "\xB7"_L1 }, Substitute{ u'\u202F', " "_L1 },
    Substitute{ u'\u2032', "'"_L1 },   Substitute{ u'\u2033', "\""_L1 },   Substitute{ u'\u2039', "'"_L1 },
    Substitute{ u'\u203A', "'"_L1 },   Substitute{ u'\u2043', "-"_L1 },    Substitute{ u'\u2044', "/"_L1 },
    Substitute{ u'\u205F', " "_L1 },   Substitute{ u'\u2212', "-"_L1 },    Substitute{ u'\u2215', "/"_L1 },
    Substitute{ u'\u2217', "*"_L1 },   Substitute{ u'\u2219', "\xB7"_L1 }, Substitute{ u'\u2223', "|"_L1 },
    Substitute{ u'\u2236', ":"_L1 },   Substitute{ u'\u223C', "~"_L1 },    Substitute{ u'\u22C5', "\xB7"_L1 },
    Substitute{ u'\u3000', " "_L1 },   Substitute{ u'\uFB00', "ff"_L1 },   Substitute{ u'\uFB01', "fi"_L1 },
    Substitute{ u'\uFB02', "fl"_L1 },  Substitute{ u'\uFB03', "ffi"_L1 },  Substitute{ u'\uFB04', "ffl"_L1 },
    Substitute{ u'\uFB05', "st"_L1 },  Substitute{ u'\uFB06', "st"_L1 },
};

// For Ascii alone; in order.
constexpr std::array Signs = {
    Substitute{ u'\u00A9', "(c)"_L1 },  Substitute{ u'\u00AC', "not "_L1 }, Substitute{ u'\u00AE', "(R)"_L1 },
    Substitute{ u'\u00B1', "+/-"_L1 },  Substitute{ u'\u00B5', "u"_L1 },    Substitute{ u'\u00B7', "*"_L1 },
    Substitute{ u'\u00D7', "*"_L1 },    Substitute{ u'\u00F7', "/"_L1 },    Substitute{ u'\u2122', "(TM)"_L1 },
    Substitute{ u'\u2190', "<-"_L1 },   Substitute{ u'\u2192', "->"_L1 },   Substitute{ u'\u2194', "<->"_L1 },
    Substitute{ u'\u21A6', "|->"_L1 },  Substitute{ u'\u21CC', "<=>"_L1 },  Substitute{ u'\u21D0', "<="_L1 },
    Substitute{ u'\u21D2', "=>"_L1 },   Substitute{ u'\u21D4', "<=>"_L1 },  Substitute{ u'\u2213', "-/+"_L1 },
    Substitute{ u'\u221A', "sqrt"_L1 }, Substitute{ u'\u221B', "cbrt"_L1 }, Substitute{ u'\u2248', "~="_L1 },
    Substitute{ u'\u2260', "!="_L1 },   Substitute{ u'\u2261', "=="_L1 },   Substitute{ u'\u2264', "<="_L1 },
    Substitute{ u'\u2265', ">="_L1 },   Substitute{ u'\u226A', "<<"_L1 },   Substitute{ u'\u226B', ">>"_L1 },
    Substitute{ u'\u27F5', "<-"_L1 },   Substitute{ u'\u27F6', "->"_L1 },   Substitute{ u'\u27F9', "=>"_L1 },
    Substitute{ u'\u27FA', "<=>"_L1 },  Substitute{ u'\u2A7D', "<="_L1 },   Substitute{ u'\u2A7E', ">="_L1 },
};

constexpr auto IsBefore = [](const Substitute &one, const Substitute &other) { return one.Character < other.Character; };
static_assert(std::is_sorted(Soft.begin(), Soft.end(), IsBefore) && std::is_sorted(Signs.begin(), Signs.end(), IsBefore));

template <size_t Size> QString Find(const std::array<Substitute, Size> &table, char16_t character)
{
    const auto found = std::lower_bound(table.begin(), table.end(), Substitute{ character, {} }, IsBefore);
    return found != table.end() && found->Character == character ? QString(found->Text) : QString();
}

// What can stand for a character without loss of meaning; null: nothing.
QString SoftText(char16_t c)
{
    constexpr char16_t fullWidthOffset = 0xFEE0;
    if (c >= u'\uFF01' && c <= u'\uFF5E')
        return QString(QChar(static_cast<char16_t>(c - fullWidthOffset)));
    if (c >= u'\u2000' && c <= u'\u200A')
        return u" "_s;
    return Find(Soft, c);
}

// "1/2" for the character; null when it is no fraction.
QString FractionText(char16_t c)
{
    const bool isFraction = (c >= u'\u00BC' && c <= u'\u00BE') || (c >= u'\u2150' && c <= u'\u215E');
    return isFraction ? QString(QChar(c)).normalized(QString::NormalizationForm_KD).replace(u'\u2044', u'/') : QString();
}

bool IsAscii(const QString &text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x80; });
}

// The end of the run of superscripts, or of subscripts, that begins there.
qsizetype ScriptEnd(const QString &text, qsizetype start)
{
    const Scripts::Plain first = Scripts::PlainOf(text.at(start).unicode());
    qsizetype end = start + (first.Character != 0 ? 1 : 0);
    while (end > start && end < text.size()) {
        const Scripts::Plain plain = Scripts::PlainOf(text.at(end).unicode());
        if (plain.Character == 0 || plain.Side != first.Side)
            break;
        ++end;
    }
    return end;
}

QString ScriptText(const QString &text, qsizetype start, qsizetype end)
{
    QString plain;
    for (const QChar c : QStringView(text).sliced(start, end - start))
        plain += QChar(Scripts::PlainOf(c.unicode()).Character);
    return Scripts::PutWithSign(Scripts::PlainOf(text.at(start).unicode()).Side, plain,
                                end < text.size() ? text.at(end) : QChar());
}

// The text with all characters replaced that are not held; "more" replaces what
// nothing else does.
QString Replaced(const QString &text, const std::function<bool(char32_t)> &holds, QString (*more)(char16_t))
{
    if (IsAscii(text))
        return text;
    QString result;
    for (qsizetype at = 0; at < text.size();) {
        const char16_t c = text.at(at).unicode();
        const qsizetype scriptEnd = ScriptEnd(text, at);
        if (scriptEnd > at) {
            const bool isHeld = std::all_of(text.begin() + at, text.begin() + scriptEnd,
                                            [&holds](QChar one) { return holds(one.unicode()); });
            result += isHeld ? text.sliced(at, scriptEnd - at) : ScriptText(text, at, scriptEnd);
            at = scriptEnd;
            continue;
        }
        ++at;
        if (c < 0x80 || QChar::isSurrogate(c) || holds(c)) {
            result += QChar(c);
            continue;
        }
        QString other = more(c);
        // Without its sign "10ª" would be read as a product.
        if (c == u'\u00AA' || c == u'\u00BA')
            other = Scripts::PutWithSign(Scripts::Side::Raised, c == u'\u00AA' ? u"a"_s : u"o"_s,
                                         at < text.size() ? text.at(at) : QChar());
        if (const QString fraction = FractionText(c); other.isNull() && !fraction.isNull())
            other = !result.isEmpty() && result.back().isDigit() ? u' ' + fraction : fraction;
        if (other.isNull())
            other = SoftText(c);
        // The middle dot is the only one that need not be held itself.
        if (other == u"\u00B7"_s && !holds(u'\u00B7'))
            other = u"*"_s;
        if (other.isNull())
            other = QChar(c);
        result += other;
    }
    return result;
}

bool IsEmojiPart(const QString &text, qsizetype at)
{
    if (at < 0 || at >= text.size())
        return false;
    const QChar c = text.at(at);
    return c.isSurrogate() || c == u'\uFE0F' || c.category() == QChar::Symbol_Other;
}

// Whether a joiner beside that character can change how it is written.
bool IsJoined(const QString &text, qsizetype at)
{
    if (at < 0 || at >= text.size())
        return false;
    const QChar c = text.at(at);
    const QChar::Script script = c.script();
    const bool isMark = c.isMark() && c.unicode() >= 0x300;
    return isMark || script == QChar::Script_Arabic || script == QChar::Script_Syriac || script == QChar::Script_Nko
        || script == QChar::Script_Mongolian || (script >= QChar::Script_Devanagari && script <= QChar::Script_Sinhala)
        || script == QChar::Script_Khmer || script == QChar::Script_Myanmar || script == QChar::Script_Tibetan;
}

bool IsDirection(char16_t c)
{
    return c == 0x200E || c == 0x200F || c == 0x061C || (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

bool IsRightToLeft(const QString &text)
{
    return std::any_of(text.begin(), text.end(), [](QChar c) {
        return c.unicode() >= 0x590 && (c.direction() == QChar::DirR || c.direction() == QChar::DirAL) && c.isLetter();
    });
}

}

QString Clean(const QString &text)
{
    const auto mayGo = [](QChar character) {
        const char16_t c = character.unicode();
        return c == 0xAD || c == 0x61C || (c >= 0x200B && c <= 0x200F) || (c >= 0x202A && c <= 0x202E)
            || (c >= 0x2060 && c <= 0x206F) || c == 0xFEFF || c == 0x180E;
    };
    const auto first = std::find_if(text.begin(), text.end(), mayGo);
    if (first == text.end())
        return text;
    const bool isRightToLeft = IsRightToLeft(text);
    QString result = text.first(first - text.begin());
    for (qsizetype at = first - text.begin(); at < text.size(); ++at) {
        const char16_t c = text.at(at).unicode();
        const bool isJoiner = c == 0x200C || c == 0x200D;
        const qsizetype last = result.size() - 1;
        const bool isNeeded = (isJoiner && IsJoined(result, last) && (c == 0x200D || IsJoined(text, at + 1)))
            || (c == 0x200D && IsEmojiPart(result, last) && IsEmojiPart(text, at + 1)) || (IsDirection(c) && isRightToLeft);
        if (isNeeded || !mayGo(text.at(at)))
            result += text.at(at);
    }
    return result;
}

bool IsSoft(char32_t character)
{
    return character >= 0xA0 && character <= 0xFFFF && !SoftText(static_cast<char16_t>(character)).isNull();
}

QString Fit(const QString &text, const std::function<bool(char32_t)> &holds)
{
    return Replaced(text, holds, [](char16_t) { return QString(); });
}

QString Ascii(const QString &text)
{
    return Replaced(
        text, [](char32_t c) { return c < 0x80; }, [](char16_t c) { return Find(Signs, c); });
}

}
