// SPDX-License-Identifier: Apache-2.0
#include "markup/TexParser.h"

#include "markup/Chemistry.h"
#include "markup/TexSymbols.h"

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace Tex {

using Formula::Part;
using Formula::Shape;

namespace {

constexpr int Deepest = 40;

template <size_t Size> bool IsOneOf(QStringView name, const std::array<QLatin1StringView, Size> &names)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

bool IsAsciiLetter(QChar c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

// The words of a text command without its escapes; null when it holds commands.
QString WordsOf(QStringView group)
{
    QString words = u""_s;
    for (qsizetype i = 0; i < group.size(); ++i) {
        const bool isEscape = group.at(i) == u'\\';
        if (isEscape && (i + 1 == group.size() || group.at(i + 1).isLetterOrNumber()))
            return {};
        words += group.at(isEscape ? ++i : i);
    }
    return words.replace(u'~', u' ').remove(u'{').remove(u'}');
}

}

Part Parser::Parse()
{
    const Part part = ReadRow({});
    return m_isFailed ? Part() : part;
}

void Parser::SkipBlanks()
{
    while (!AtEnd() && Here().isSpace())
        ++m_at;
}

void Parser::Fail()
{
    m_isFailed = true;
    m_at = m_text.size();
}

Part Parser::ReadRow(QChar end)
{
    Formula::Row row;
    if (++m_depth > Deepest)
        Fail();
    for (SkipBlanks(); !AtEnd() && (end.isNull() || Here() != end); SkipBlanks())
        row.Add(ReadTerm());
    if (!end.isNull()) {
        if (Here() != end)
            Fail();
        ++m_at;
    }
    --m_depth;
    return row.Whole();
}

// An atom with its scripts.
Part Parser::ReadTerm()
{
    const bool isBare = Here() == u'^' || Here() == u'_';
    const Part base = isBare ? Part() : ReadAtom();
    Part lowered;
    Part raised;
    while (SkipLimits() && (Here() == u'^' || Here() == u'_')) {
        Part &script = Here() == u'^' ? raised : lowered;
        ++m_at;
        const Part argument = ReadArgument();
        if (script.Shape != Shape::Empty)
            Fail();
        script = argument;
    }
    return lowered.Shape == Shape::Empty && raised.Shape == Shape::Empty ? base : Formula::WithScripts(base, lowered, raised);
}

// Always true.
bool Parser::SkipLimits()
{
    const qsizetype start = m_at;
    SkipBlanks();
    for (const QLatin1StringView command : { "\\limits"_L1, "\\nolimits"_L1 }) {
        if (m_text.mid(m_at).startsWith(command))
            m_at += command.size();
    }
    SkipBlanks();
    if (Here() != u'^' && Here() != u'_')
        m_at = start;
    return true;
}

Part Parser::ReadAtom()
{
    const QChar c = Here();
    if (c == u'\\')
        return ReadCommand();
    if (c.isDigit())
        return ReadNumber();
    ++m_at;
    if (c == u'{')
        return ReadRow(u'}');
    if (c == u'~')
        return { u" "_s, Shape::Blank };
    if (c == u'}' || c == u'&' || c == u'#' || c == u'$' || c == QChar::ObjectReplacementCharacter)
        Fail();
    if (c.isHighSurrogate() && Here().isLowSurrogate())
        return { QString(c) + m_text.at(m_at++), Shape::Letter };
    return c.isLetter() ? Part{ QString(c), Shape::Letter } : Formula::Sign(QString(c));
}

Part Parser::ReadNumber()
{
    const qsizetype start = m_at;
    const auto isDigit = [this](qsizetype at) { return at < m_text.size() && m_text.at(at).isDigit(); };
    while (isDigit(m_at) || (Here() == u'.' && isDigit(m_at + 1)))
        ++m_at;
    return { m_text.sliced(start, m_at - start).toString(), Shape::Number };
}

Part Parser::ReadArgument()
{
    SkipBlanks();
    if (AtEnd() || ++m_depth > Deepest) {
        Fail();
        return {};
    }
    // Without braces, one digit.
    const Part part = Here().isDigit() ? Part{ QString(m_text.at(m_at++)), Shape::Number } : ReadAtom();
    --m_depth;
    return part;
}

Part Parser::ReadOptional()
{
    SkipBlanks();
    if (Here() != u'[')
        return {};
    ++m_at;
    return ReadRow(u']');
}

QStringView Parser::ReadGroup()
{
    SkipBlanks();
    const qsizetype start = m_at + 1;
    int depth = 0;
    for (; Here() == u'{' || (depth > 0 && !AtEnd()); ++m_at) {
        if (Here() == u'\\')
            ++m_at;
        else
            depth += Here() == u'{' ? 1 : Here() == u'}' ? -1 : 0;
        if (depth == 0)
            return m_text.sliced(start, m_at++ - start);
    }
    Fail();
    return {};
}

Part Parser::ReadCommand()
{
    const qsizetype start = ++m_at;
    while (IsAsciiLetter(Here()))
        ++m_at;
    if (m_at == start)
        ++m_at;
    const QStringView name = m_text.mid(start, m_at - start);
    static constexpr std::array blanks
        = { ","_L1, ":"_L1, ";"_L1, ">"_L1, " "_L1, "quad"_L1, "qquad"_L1, "space"_L1, "thinspace"_L1 };
    static constexpr std::array nothing
        = { "!"_L1, "displaystyle"_L1, "textstyle"_L1, "scriptstyle"_L1, "rm"_L1, "bf"_L1, "it"_L1 };
    if (IsOneOf(name, blanks))
        return { u" "_s, Shape::Blank };
    if (IsOneOf(name, nothing))
        return {};
    const Part symbol = SymbolOf(name);
    return symbol.Shape != Shape::Empty ? symbol : ReadNamed(name);
}

Part Parser::ReadNamed(QStringView name)
{
    static constexpr std::array fractions = { "frac"_L1, "dfrac"_L1, "tfrac"_L1, "cfrac"_L1 };
    static constexpr std::array plain = { "underline"_L1, "boxed"_L1, "mathop"_L1, "mathrel"_L1, "mathbin"_L1 };
    static constexpr std::array delimiters = { "left"_L1, "right"_L1, "middle"_L1, "big"_L1,  "Big"_L1, "bigg"_L1,
                                               "Bigg"_L1, "bigl"_L1,  "bigr"_L1,   "Bigl"_L1, "Bigr"_L1 };
    if (IsOneOf(name, fractions)) {
        const Part above = ReadArgument();
        return Formula::Fraction(above, ReadArgument());
    }
    if (name == "sqrt"_L1)
        return ReadRoot();
    if (IsOneOf(name, plain))
        return ReadArgument();
    if (IsOneOf(name, delimiters))
        return ReadDelimiter();
    if (name == "not"_L1)
        return ReadNegated();
    if (name == "bmod"_L1)
        return Formula::Word(u"mod"_s);
    if (name == "pmod"_L1)
        return { u" (mod "_s + ReadArgument().Text + u')', Shape::Name };
    if (name == "ce"_L1) {
        const QString text = Chemistry::Read(ReadGroup());
        if (text.isEmpty())
            Fail();
        return { text, Shape::Name };
    }
    if (name == "binom"_L1 || name == "dbinom"_L1 || name == "tbinom"_L1) {
        const Part above = ReadArgument();
        return { u"C("_s + above.Text + u", "_s + ReadArgument().Text + u')', Shape::Letter };
    }
    return ReadScript(name);
}

// What stands above or below something else.
Part Parser::ReadScript(QStringView name)
{
    struct Accent {
        QLatin1StringView Name;
        char16_t Character;
    };
    static constexpr std::array accents
        = { Accent{ "bar"_L1, u'\u0304' },     Accent{ "overline"_L1, u'\u0304' }, Accent{ "hat"_L1, u'\u0302' },
            Accent{ "widehat"_L1, u'\u0302' }, Accent{ "vec"_L1, u'\u20D7' },      Accent{ "overrightarrow"_L1, u'\u20D7' },
            Accent{ "tilde"_L1, u'\u0303' },   Accent{ "dot"_L1, u'\u0307' },      Accent{ "ddot"_L1, u'\u0308' } };
    const auto *accent = std::find_if(accents.begin(), accents.end(), [name](const Accent &one) { return name == one.Name; });
    if (accent != accents.end()) {
        const Part part = Formula::WithAccent(ReadArgument(), accent->Character);
        if (part.Shape == Shape::Empty)
            Fail();
        return part;
    }
    if (name == "xrightarrow"_L1 || name == "xleftarrow"_L1) {
        const Part below = ReadOptional();
        const Part above = ReadArgument();
        return Formula::WithScripts(Formula::Sign(name == "xrightarrow"_L1 ? u"\u2192"_s : u"\u2190"_s), below, above);
    }
    if (name == "overset"_L1 || name == "stackrel"_L1 || name == "underset"_L1) {
        const Part script = ReadArgument();
        const Part base = ReadArgument();
        return name == "underset"_L1 ? Formula::WithScripts(base, script, {}) : Formula::WithScripts(base, {}, script);
    }
    return ReadLetters(name);
}

// Letters of another kind.
Part Parser::ReadLetters(QStringView name)
{
    static constexpr std::array words
        = { "text"_L1, "textrm"_L1, "textbf"_L1, "textit"_L1, "textsf"_L1, "texttt"_L1, "mbox"_L1, "hbox"_L1 };
    static constexpr std::array alphabets = { "mathrm"_L1,  "mathbf"_L1,  "mathit"_L1,     "mathsf"_L1, "mathtt"_L1,
                                              "mathcal"_L1, "mathscr"_L1, "boldsymbol"_L1, "bm"_L1,     "mathfrak"_L1 };
    if (IsOneOf(name, words)) {
        const QString text = WordsOf(ReadGroup());
        if (text.isNull())
            Fail();
        return { text, text.isEmpty() ? Shape::Empty : text.size() == 1 ? Shape::Letter : Shape::Name };
    }
    if (name == "operatorname"_L1) {
        m_at += Here() == u'*' ? 1 : 0;
        return { ReadGroup().toString().simplified(), Shape::Function };
    }
    if (name == "mathbb"_L1)
        return { DoubleStruck(ReadArgument().Text), Shape::Letter };
    if (!IsOneOf(name, alphabets)) {
        Fail();
        return {};
    }
    const Part part = ReadArgument();
    const bool isWord = std::all_of(part.Text.begin(), part.Text.end(), [](QChar c) { return c.isLetter(); });
    return isWord && part.Text.size() > 1 ? Formula::Word(part.Text) : part;
}

Part Parser::ReadDelimiter()
{
    SkipBlanks();
    if (Here() == u'.') {
        ++m_at;
        return {};
    }
    if (Here() == u'\\')
        return ReadCommand();
    return AtEnd() ? Part() : Formula::Sign(QString(m_text.at(m_at++)));
}

Part Parser::ReadNegated()
{
    const Part part = ReadArgument();
    if (part.Text.size() != 1)
        Fail();
    return { (part.Text + u'\u0338').normalized(QString::NormalizationForm_C), part.Shape };
}

Part Parser::ReadRoot()
{
    const Part index = ReadOptional();
    return Formula::Root(ReadArgument(), index);
}

}
