// SPDX-License-Identifier: Apache-2.0
#include "markup/Formula.h"

#include "markup/Scripts.h"

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace Formula {

namespace {

constexpr std::u16string_view Operators
    = u"+-*/\u00B1\u2213\u00B7\u00D7\u00F7\u2217\u2218\u2295\u2297\u2227\u2228\u2229\u222A\u2216\u22C5";
constexpr std::u16string_view Multiplying = u"*\u00B7\u00D7\u22C5\u2217\u2218\u2297";
constexpr std::u16string_view Dividing = u"/\u00F7";
constexpr std::u16string_view Relations
    = u"=<>~\u2190\u2191\u2192\u2193\u2194\u21A6\u21CC\u21D0\u21D2\u21D4\u2208\u2209\u220B"
      u"\u221D\u2223\u2225\u223C\u2243\u2245\u2248\u2260\u2261\u2264\u2265\u226A\u226B"
      u"\u227A\u227B\u2282\u2283\u2284\u2286\u2287\u2288\u22A2\u22A5\u22A8\u27F6\u27F5\u27F9\u27FA\u2262";
constexpr std::u16string_view Openings = u"([{\u2308\u230A\u27E8";
constexpr std::u16string_view Closings = u")]}\u2309\u230B\u27E9";
constexpr std::u16string_view Big = u"\u220F\u2210\u2211\u222B\u222C\u222D\u222E\u22C0\u22C1\u22C2\u22C3";

bool IsIn(QStringView text, std::u16string_view of)
{
    return text.size() == 1 && of.find(text.front().unicode()) != of.npos;
}

bool IsDigits(QStringView text)
{
    return !text.isEmpty() && std::all_of(text.begin(), text.end(), [](QChar c) { return c.isDigit(); });
}

bool IsAlphanumeric(Shape shape)
{
    return shape == Shape::Letter || shape == Shape::Number || shape == Shape::Name || shape == Shape::Function;
}

bool IsFactor(const Part &part)
{
    return IsAlphanumeric(part.Shape) || part.Shape == Shape::Root || part.Shape == Shape::Fraction
        || part.Shape == Shape::Product;
}

bool EndsFactor(const Part &part)
{
    return IsFactor(part) || part.Shape == Shape::Closing || part.Shape == Shape::Mark;
}

// Two plain numbers: "1/2" behind a number makes a mixed one.
bool IsNumeric(const Part &fraction)
{
    const qsizetype slash = fraction.Text.indexOf(u'/');
    return fraction.Shape == Shape::Fraction && IsDigits(QStringView(fraction.Text).first(std::max<qsizetype>(slash, 0)))
        && IsDigits(QStringView(fraction.Text).sliced(slash + 1));
}

}

bool IsOne(const Part &part)
{
    return part.Shape < Shape::Operator;
}

void Row::Put(const QString &text)
{
    if (m_hasBlank && !m_text.isEmpty() && m_text.back() != u' ')
        m_text += u' ';
    m_text += text;
    m_hasBlank = false;
}

// Whether a blank stands between the last part and this one.
bool Row::IsParted(const Part &part) const
{
    if (m_text.isEmpty() || part.Shape == Shape::Comma)
        return false;
    if (part.Shape == Shape::Relation || m_last.Shape == Shape::Relation)
        return true;
    if (m_last.Shape == Shape::Comma)
        return m_beforeLast != Shape::Number || part.Shape != Shape::Number;
    if (!IsFactor(part) && part.Shape != Shape::Opening)
        return false;
    const bool isApplied = m_last.Shape == Shape::Function && part.Shape == Shape::Opening;
    const bool hasName = m_last.Shape == Shape::Function
        || (part.Shape == Shape::Function && (EndsFactor(m_last) || m_last.Shape == Shape::Bar));
    const bool isMixed = part.Shape == Shape::Fraction && m_last.Shape == Shape::Number && IsNumeric(part);
    return (hasName && !isApplied) || isMixed || (IsAlphanumeric(part.Shape) && (m_last.IsOpen || m_last.Shape == Shape::Root));
}

void Row::Add(const Part &part)
{
    if (part.Shape == Shape::Empty)
        return;
    if (part.Shape == Shape::Blank) {
        m_hasBlank = true;
        return;
    }
    if (m_fraction >= 0 && part.Shape != Shape::Name
        && (IsFactor(part) || part.Shape == Shape::Opening || part.Shape == Shape::Mark)) {
        m_text.insert(m_fraction, u'(');
        m_text += u')';
    }
    m_hasBlank = m_hasBlank || IsParted(part);
    Part shown = part;
    if (part.Shape == Shape::Fraction && (IsIn(m_last.Text, Dividing) || (EndsFactor(m_last) && !m_hasBlank)))
        shown = { Bracketed(part), Shape::Letter };
    Count(shown);
    Put(shown.Text);
    m_fraction = shown.Shape == Shape::Fraction ? m_text.size() - shown.Text.size() : -1;
    m_beforeLast = m_last.Shape;
    m_last = shown;
}

void Row::Count(const Part &part)
{
    ++m_parts;
    m_only = part;
    m_depth += part.Shape == Shape::Opening ? 1 : part.Shape == Shape::Closing ? -1 : 0;
    const bool isGroup = part.Shape == Shape::Closing && m_depth == 0;
    if (m_depth > 0)
        return;
    if (isGroup || IsFactor(part))
        ++m_factors;
    m_isFraction = m_isFraction || part.Shape == Shape::Fraction || IsIn(part.Text, Dividing);
    if (IsIn(part.Text, Multiplying) || part.Shape == Shape::Product)
        m_factors += 2;
    else if (part.Shape == Shape::Sum || part.Shape == Shape::Relation || part.Shape == Shape::Comma || part.Shape == Shape::Bar
             || (part.Shape == Shape::Operator && !IsIn(part.Text, Dividing)))
        m_isSum = true;
}

Part Row::Whole() const
{
    if (m_parts == 1)
        return m_only;
    if (m_parts == 0)
        return {};
    const Shape shape = m_isSum || m_depth != 0 ? Shape::Sum
        : m_isFraction                          ? Shape::Fraction
        : m_factors > 1                         ? Shape::Product
                                                : Shape::Letter;
    return { m_text, shape, m_last.IsOpen };
}

Part Sign(const QString &text)
{
    if (text == u"\u2212"_s)
        return { u"-"_s, Shape::Operator };
    if (text == u"\u22C5"_s)
        return { u"\u00B7"_s, Shape::Operator };
    if (text == u"\u2032"_s)
        return { u"'"_s, Shape::Mark };
    if (text == u","_s || text == u";"_s)
        return { text, Shape::Comma };
    if (text == u"|"_s || text == u"\u2016"_s)
        return { text, Shape::Bar };
    if (IsIn(text, u"!'%\u00B0."))
        return { text, Shape::Mark };
    const Shape shape = IsIn(text, Operators) ? Shape::Operator
        : IsIn(text, Relations)               ? Shape::Relation
        : IsIn(text, Openings)                ? Shape::Opening
        : IsIn(text, Closings)                ? Shape::Closing
        : IsIn(text, Big)                     ? Shape::Function
                                              : Shape::Letter;
    return { text, shape };
}

Part Word(const QString &text)
{
    static constexpr std::array functions = {
        "arccos"_L1, "arcsin"_L1, "arctan"_L1, "arg"_L1, "cos"_L1, "cosh"_L1, "cot"_L1, "csc"_L1, "deg"_L1,
        "det"_L1,    "dim"_L1,    "exp"_L1,    "gcd"_L1, "hom"_L1, "inf"_L1,  "ker"_L1, "lcm"_L1, "lg"_L1,
        "lim"_L1,    "liminf"_L1, "limsup"_L1, "ln"_L1,  "log"_L1, "max"_L1,  "min"_L1, "mod"_L1, "Pr"_L1,
        "sec"_L1,    "sin"_L1,    "sinh"_L1,   "sup"_L1, "tan"_L1, "tanh"_L1,
    };
    const bool isFunction = std::find(functions.begin(), functions.end(), text) != functions.end();
    return { text, isFunction ? Shape::Function : text.size() > 1 ? Shape::Name : Shape::Letter };
}

QString Bracketed(const Part &part)
{
    return u'(' + part.Text + u')';
}

Part WithScripts(const Part &base, const Part &lowered, const Part &raised)
{
    const bool isWhole = IsOne(base) && base.Shape != Shape::Root;
    const bool isSign = base.Shape == Shape::Operator || base.Shape == Shape::Relation || base.Shape == Shape::Closing
        || base.Shape == Shape::Bar || base.Shape == Shape::Opening;
    QString text = isWhole || isSign ? base.Text : Bracketed(base);
    text += Scripts::Put(Scripts::Side::Lowered, lowered.Text, raised.Text.isEmpty() ? QChar() : QChar(u'1'));
    const bool isDegree = raised.Text == u"\u2218"_s;
    text += isDegree ? u"\u00B0"_s : Scripts::Put(Scripts::Side::Raised, raised.Text);
    const bool keepsShape = base.Shape == Shape::Function || isSign || base.Shape == Shape::Mark;
    const qsizetype sign = std::max(text.lastIndexOf(u'^'), text.lastIndexOf(u'_'));
    const bool isOpen = sign >= base.Text.size() && text.back() != u')';
    return { text, keepsShape ? base.Shape : Shape::Letter, isOpen };
}

Part Fraction(const Part &above, const Part &below)
{
    const auto isSimple = [](const Part &part) { return IsOne(part) && part.Shape != Shape::Empty; };
    const bool isAboveSimple = isSimple(above) || above.Shape == Shape::Product
        || (above.Text.startsWith(u'-') && QStringView(above.Text).sliced(1).indexOf(u'-') < 0 && above.Text.size() > 1
            && std::all_of(above.Text.begin() + 1, above.Text.end(), [](QChar c) { return c.isLetterOrNumber(); }));
    return { (isAboveSimple ? above.Text : Bracketed(above)) + u'/' + (isSimple(below) ? below.Text : Bracketed(below)),
             Shape::Fraction };
}

Part Root(const Part &radicand, const Part &index)
{
    const bool isBare = radicand.Text.size() == 1 || IsDigits(radicand.Text);
    const QString text = isBare ? radicand.Text : Bracketed(radicand);
    const QString sign = index.Text == u"3"_s ? u"\u221B"_s : index.Text == u"4"_s ? u"\u221C"_s : u"\u221A"_s;
    const bool hasSign = index.Text.isEmpty() || index.Text == u"2"_s || sign != u"\u221A"_s;
    if (!hasSign) {
        const QString raised = Scripts::Put(Scripts::Side::Raised, index.Text);
        if (raised.startsWith(u'^'))
            return { Bracketed(radicand) + u"^(1/"_s + index.Text + u')', Shape::Letter };
        return { raised + sign + text, isBare ? Shape::Root : Shape::Letter };
    }
    return { sign + text, isBare ? Shape::Root : Shape::Letter };
}

Part WithAccent(const Part &base, char16_t combining)
{
    const bool isLetter = base.Text.size() == 1 && base.Text.front().isLetter();
    if (!isLetter)
        return {};
    return { (base.Text + QChar(combining)).normalized(QString::NormalizationForm_C), Shape::Letter };
}

}
