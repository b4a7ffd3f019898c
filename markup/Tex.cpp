// SPDX-License-Identifier: Apache-2.0
#include "markup/Tex.h"

#include "markup/TexParser.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace Tex {

namespace {

constexpr qsizetype LongestFormula = 2000;
constexpr qsizetype MostWarnings = 20; // of one text
const QString Underlined = u"underlined text is shown like any other"_s;

bool IsLetterOrNumber(QStringView text, qsizetype at)
{
    return at >= 0 && at < text.size() && text.at(at).isLetterOrNumber();
}

bool IsSpaceAt(QStringView text, qsizetype at)
{
    return at >= 0 && at < text.size() && text.at(at).isSpace();
}

bool HasCommand(QStringView text)
{
    for (qsizetype at = text.indexOf(u'\\'); at >= 0; at = text.indexOf(u'\\', at + 1)) {
        // A new line between two others.
        if (at > 0 && text.at(at - 1).isSpace() && text.sliced(at).startsWith(u"\\\\ "))
            return true;
        if (at + 1 < text.size() && (text.at(at + 1).isLetter() || u",;:!{}%|$"_s.contains(text.at(at + 1))))
            return true;
    }
    return false;
}

// Whether a word at that place continues a sentence: "5, or 6".
bool IsInSentence(QStringView text, qsizetype start, qsizetype end)
{
    const QStringView before = text.first(start);
    return before.endsWith(u' ') && end < text.size() && text.at(end) == u' '
        && (before.trimmed().endsWith(u',') || IsLetterOrNumber(before.trimmed(), before.trimmed().size() - 1));
}

// The number of letters of the longest word that is no name of a function; a word
// of a sentence is longer than any.
qsizetype LongestWord(QStringView text)
{
    qsizetype longest = 0;
    for (qsizetype at = 0; at < text.size(); ++at) {
        const qsizetype start = at;
        while (at < text.size() && text.at(at).isLetter())
            ++at;
        const bool isFunction = at - start > 1 && at - start < 7
            && Formula::Word(text.sliced(start, at - start).toString()).Shape == Formula::Shape::Function;
        if (!isFunction)
            longest = std::max(longest, at - start > 1 && IsInSentence(text, start, at) ? text.size() : at - start);
    }
    return longest;
}

bool IsBalanced(QStringView text)
{
    int depth = 0;
    for (const QChar c : text)
        depth += c == u'(' || c == u'[' || c == u'{' ? 1 : c == u')' || c == u']' || c == u'}' ? -1 : 0;
    return depth == 0;
}

// "max_value" and "HOME_DIR", but not "x_1".
bool IsIdentifier(QStringView text)
{
    const qsizetype line = text.indexOf(u'_');
    return line > 1 && line + 2 < text.size()
        && std::all_of(text.begin(), text.end(), [](QChar c) { return c.isLetterOrNumber() || c == u'_'; });
}

// Whether it ends as a formula does, and begins so: what follows a sum of money
// begins with a comma or the like.
bool HasFormulaEnds(QStringView text)
{
    if (text.endsWith(u"\\right."))
        return true;
    const bool isAbsolute = text.back() == u'|' && text.size() > 2 && text.count(u'|') % 2 == 0;
    return !u",;:)?!%"_s.contains(text.front()) && (isAbsolute || !u"=+-*/,.:;([<|&\u2013\u2014"_s.contains(text.back()));
}

// Whether the text is in TeX and not a sum of money or a name in a program.
bool IsFormula(QStringView text, qsizetype longestWord)
{
    if (text.isEmpty() || text.size() > LongestFormula || text.contains(u"\n\n") || !HasFormulaEnds(text)
        || text.contains(QChar::ObjectReplacementCharacter))
        return false;
    if (HasCommand(text))
        return true;
    const bool hasScript = text.contains(u'^') || text.contains(u'_');
    const bool hasGroup = text.contains(u"^{") || text.contains(u"_{");
    // A formula that needs several lines has commands.
    if (text.contains(u'\n') || !IsBalanced(text) || (!hasGroup && LongestWord(text) > longestWord + (hasScript ? 1 : 0)))
        return false;
    if (text.front() == u'_' || text.contains(u"[^")
        || (text.front() == u'{' && !text.contains(u"}^") && !text.contains(u"}_")))
        return false;
    if (hasScript)
        return !IsIdentifier(text);
    const bool isSomething = std::any_of(text.begin(), text.end(), [](QChar c) { return c.isLetterOrNumber(); });
    return isSomething && std::all_of(text.begin(), text.end(), [](QChar c) {
               return c.isLetterOrNumber() || c.isSpace() || u"+-*/=<>()[]{}|,.!':;%"_s.contains(c)
                   || c.category() == QChar::Symbol_Math;
           });
}

// Whether it may be a pattern for a search, in which "\(" is a bracket of its own.
bool IsPattern(QStringView text, qsizetype start, qsizetype end, QStringView content)
{
    const QChar before = start > 0 ? text.at(start - 1) : u' ';
    const QChar behind = end < text.size() ? text.at(end) : u' ';
    const bool isQuoted
        = (before == u'\'' || before == u'"') && !HasCommand(content) && content.indexOf(u'^') < 1 && content.indexOf(u'_') < 1;
    return isQuoted || u"/`^*\\[]|"_s.contains(before) || u"/\\*{[|$+`"_s.contains(behind);
}

// Whether it ends with a digit and at most one blank.
bool EndsWithDigit(QStringView text)
{
    if (!text.isEmpty() && text.back().isSpace())
        text.chop(1);
    return !text.isEmpty() && text.back().isDigit();
}

// Whether an ending of an ordinal number or of a plural follows, as in "$n$th".
bool IsEnding(QStringView text, qsizetype at, QStringView formula)
{
    qsizetype end = at;
    while (end - at < 3 && IsLetterOrNumber(text, end))
        ++end;
    const QStringView word = text.sliced(at, end - at);
    const bool isWritten = formula.contains(u'_') || formula.contains(u'^') || HasCommand(formula);
    return word == u"th" || word == u"st" || word == u"nd" || word == u"rd" || (word == u"s" && isWritten);
}

class Replacer {
public:
    Replacer(const QString &text, Delimiters delimiters, QStringList &warnings, Escape escape)
        : m_text(text)
        , m_delimiters(delimiters)
        , m_warnings(warnings)
        , m_escape(escape)
    {
    }

    QString Replaced()
    {
        for (qsizetype at = 0; at < m_text.size();) {
            const QChar c = m_text.at(at);
            qsizetype end = -1;
            if (c == u'$' && m_delimiters != Delimiters::Brackets)
                end = TryDollar(at);
            else if (c == u'\\' && at + 1 < m_text.size())
                end = TryBracket(at);
            at = end < 0 ? at + 1 : end;
        }
        m_result += QStringView(m_text).sliced(m_done);
        return m_result;
    }

private:
    // The end of the formula that begins there, or of what is none; -1: the next
    // character.
    qsizetype TryDollar(qsizetype at)
    {
        const QStringView text = m_text;
        const bool isDisplay = text.sliced(at).startsWith(u"$$");
        const qsizetype inside = at + (isDisplay ? 2 : 1);
        if (IsLetterOrNumber(text, at - 1) || (at > 0 && text.at(at - 1) == u'\\') || (!isDisplay && IsSpaceAt(text, inside)))
            return inside;
        const qsizetype close = NextDollar(inside, isDisplay);
        if (close < 0)
            return inside;
        const qsizetype end = close + (isDisplay ? 2 : 1);
        const QStringView content = text.sliced(inside, close - inside);
        // "10 $" is a sum of money unless a formula clearly begins there.
        const bool isMoney = !isDisplay && !HasCommand(content) && EndsWithDigit(text.first(at)) && close > inside
            && !content.front().isLetterOrNumber() && !u"([{|"_s.contains(content.front());
        const bool isClosed = isDisplay
            || (!IsSpaceAt(text, close - 1) && !isMoney && (!IsLetterOrNumber(text, end) || IsEnding(text, end, content))
                && !u"{(["_s.contains(end < text.size() ? text.at(end) : u' '));
        constexpr qsizetype longestWord = 2;
        if (!isClosed || !IsFormula(content.trimmed(), longestWord))
            return isDisplay ? inside : close > inside ? close : inside;
        return Put(at, end, content);
    }

    // Where a formula closes whose dollar sign stands before that place.
    qsizetype NextDollar(qsizetype from, bool isDisplay)
    {
        if (m_nextDollar[isDisplay] < from && m_nextDollar[isDisplay] != -1) {
            qsizetype next = from - 1;
            do
                next = isDisplay ? m_text.indexOf("$$"_L1, next + 1) : m_text.indexOf(u'$', next + 1);
            while (next > 0 && m_text.at(next - 1) == u'\\');
            m_nextDollar[isDisplay] = next;
        }
        return m_nextDollar[isDisplay];
    }

    qsizetype TryBracket(qsizetype at)
    {
        const QStringView text = m_text;
        const bool isDouble = m_delimiters == Delimiters::Escaped && text.sliced(at).startsWith(u"\\\\");
        const qsizetype sign = at + (isDouble ? 2 : 1);
        const QChar open = sign < text.size() ? text.at(sign) : QChar();
        if (open != u'(' && open != u'[')
            return isDouble ? sign : at + 2;
        const QString closing = (isDouble ? u"\\\\"_s : u"\\"_s) + (open == u'(' ? u')' : u']');
        qsizetype &next = m_nextBracket[(isDouble ? 2 : 0) + (open == u'(' ? 1 : 0)];
        if (next < sign && next != -1)
            next = m_text.indexOf(closing, sign);
        if (next < 0 || next - sign > LongestFormula)
            return sign + 1;
        const qsizetype end = next + closing.size();
        const QStringView content = text.sliced(sign + 1, next - sign - 1);
        // In Markdown "\(" may be no more than a bracket.
        const qsizetype longestWord = m_delimiters == Delimiters::Escaped && !isDouble ? 1 : 4;
        const bool isClass = open == u'[' && !HasCommand(content)
            && std::none_of(content.begin(), content.end(), [](QChar c) { return c.isSpace() || u"=<>^_"_s.contains(c); });
        if (isClass || IsPattern(text, at, end, content) || !IsFormula(content.trimmed(), longestWord))
            return sign + 1;
        return Put(at, end, content);
    }

    qsizetype Put(qsizetype at, qsizetype end, QStringView content)
    {
        const QStringView written = QStringView(m_text).sliced(at, end - at);
        const std::optional<QString> readable = Read(content);
        if (m_warnings.size() < MostWarnings && !readable)
            m_warnings.append(TooComplex(written));
        else if (content.contains(u"\\underline") && !m_warnings.contains(Underlined))
            m_warnings.append(Underlined);
        const QString text = readable ? *readable : written.toString();
        m_result += QStringView(m_text).sliced(m_done, at - m_done);
        m_result += m_escape ? m_escape(text) : text;
        m_done = end;
        return end;
    }

    const QString &m_text;
    Delimiters m_delimiters;
    QStringList &m_warnings;
    Escape m_escape;
    QString m_result;
    qsizetype m_done = 0;
    // The next closing sign; -1: none.
    qsizetype m_nextDollar[2] = { -2, -2 };
    qsizetype m_nextBracket[4] = { -2, -2, -2, -2 };
};

}

std::optional<QString> Read(QStringView formula)
{
    if (formula.size() > LongestFormula)
        return {};
    const Formula::Part part = Parser(formula).Parse();
    const QString text = part.Text.simplified();
    return text.isEmpty() ? std::nullopt : std::optional(text);
}

QString ReplacedIn(const QString &text, Delimiters delimiters, QStringList &warnings, Escape escape)
{
    const bool mayHoldOne = text.contains(u'\\') || (delimiters != Delimiters::Brackets && text.contains(u'$'));
    return mayHoldOne ? Replacer(text, delimiters, warnings, escape).Replaced() : text;
}

QString TooComplex(QStringView formula)
{
    constexpr qsizetype longest = 60;
    const QString shown = formula.toString().simplified();
    return u"a formula that is too complex stays as it is written: %1"_s.arg(
        shown.size() > longest ? shown.first(longest) + u'\u2026' : shown);
}

}
