// SPDX-License-Identifier: Apache-2.0
#include "markup/Lines.h"

#include <QStringList>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace Markup {

namespace {

constexpr size_t DeepestScript = 8;
constexpr size_t DeepestList = 20;

bool IsCollapsible(QChar c)
{
    if (c > u' ' && c < QChar::LineSeparator)
        return false;
    return c == u' ' || c == u'\n' || c == u'\t' || c == u'\r' || c == u'\f' || c == QChar::LineSeparator
        || c == QChar::ParagraphSeparator;
}

// Where the words end that single blanks part.
qsizetype RunEnd(QStringView text, qsizetype at)
{
    const auto isWord = [text](qsizetype place) {
        return place < text.size() && !IsCollapsible(text.at(place)) && text.at(place) != QChar::Nbsp;
    };
    while (isWord(at) || (at < text.size() && text.at(at) == u' ' && isWord(at + 1)))
        ++at;
    return at;
}

// 1 is "a", 27 is "aa".
QString InLetters(int number, char16_t first)
{
    QString letters;
    for (int rest = number; rest > 0; rest = (rest - 1) / 26)
        letters.prepend(QChar(static_cast<char16_t>(first + (rest - 1) % 26)));
    return letters;
}

QString InRoman(int number)
{
    struct Digit {
        int Value;
        QLatin1StringView Written;
    };
    static constexpr Digit digits[] = { { 1000, "m"_L1 }, { 900, "cm"_L1 }, { 500, "d"_L1 }, { 400, "cd"_L1 }, { 100, "c"_L1 },
                                        { 90, "xc"_L1 },  { 50, "l"_L1 },   { 40, "xl"_L1 }, { 10, "x"_L1 },   { 9, "ix"_L1 },
                                        { 5, "v"_L1 },    { 4, "iv"_L1 },   { 1, "i"_L1 } };
    QString roman;
    for (const Digit &digit : digits) {
        for (; number >= digit.Value; number -= digit.Value)
            roman += digit.Written;
    }
    return roman;
}

// Whether it is raised, or lowered, already: some editors write both an element
// and a style for it.
bool IsAllOf(Scripts::Side side, const QString &text)
{
    return std::all_of(text.begin(), text.end(), [side](QChar c) {
        const Scripts::Plain plain = Scripts::PlainOf(c.unicode());
        return plain.Character != 0 && plain.Side == side;
    });
}

// Whether the number that ends the text, with a dot behind it or not, stands
// alone, as ordinal numbers do, and not in a calculation.
bool EndsWithLoneNumber(QStringView text)
{
    if (text.endsWith(u'.'))
        text.chop(1);
    qsizetype start = text.size();
    while (start > 0 && text.at(start - 1).isDigit())
        --start;
    const QStringView before = text.first(start).trimmed();
    if (start == text.size() || before.isEmpty())
        return start < text.size();
    const QChar last = before.back();
    const bool isCalculated = last.category() == QChar::Symbol_Math || last.category() == QChar::Symbol_Modifier
        || u"*/\u00B7-.,_"_s.contains(last) || Scripts::PlainOf(last.unicode()).Character != 0;
    const bool isPart = before.size() == start && last.isLetterOrNumber();
    // "1, 2" but not "1,2"; a dash alone begins an entry of a list.
    const bool isParted = before.size() < start && (last == u',' || last == u'.' || before == u"-" || before == u"*");
    return (!isCalculated || isParted) && !isPart;
}

QString NumberText(int number, QChar type)
{
    constexpr int mostRoman = 3999;
    const bool isLetter = type == u'a' || type == u'A';
    const bool isRoman = (type == u'i' || type == u'I') && number <= mostRoman;
    if (number < 1 || (!isLetter && !isRoman))
        return QString::number(number);
    const QString text = isLetter ? InLetters(number, u'a') : InRoman(number);
    return type.isUpper() ? text.toUpper() : text;
}

}

QString Trimmed(const QString &text)
{
    QStringList lines = text.split(u'\n');
    for (QString &line : lines) {
        while (!line.isEmpty() && line.back().isSpace())
            line.chop(1);
    }
    return lines.join(u'\n').trimmed();
}

void Lines::PutCollapsed(QStringView text)
{
    qsizetype at = 0;
    while (at < text.size()) {
        const QChar c = text.at(at);
        if (IsCollapsible(c)) {
            if (!m_canBeBlank && !m_line.isEmpty())
                m_line += u' ';
            m_canBeBlank = true;
            m_bareScript = -1;
            ++at;
            continue;
        }
        if (c == QChar::Nbsp) {
            m_line += u' ';
            m_canBeBlank = false;
            m_bareScript = -1;
            ++at;
            continue;
        }
        const qsizetype start = at;
        at = RunEnd(text, at);
        EncloseBareScript(text.at(start));
        m_line += text.sliced(start, at - start);
        m_canBeBlank = false;
    }
}

void Lines::PutKept(QStringView text, bool isPreformatted)
{
    if (text.isEmpty())
        return;
    EncloseBareScript(text.front());
    qsizetype done = 0;
    for (qsizetype at = 0; at <= text.size(); ++at) {
        const bool isEnd = at == text.size();
        if (!isEnd && text.at(at) != u'\n' && text.at(at) != QChar::LineSeparator)
            continue;
        m_line += text.sliced(done, at - done);
        m_isPreformatted = m_isPreformatted || isPreformatted;
        done = at + 1;
        if (!isEnd)
            Break();
    }
    m_canBeBlank = false;
}

// A letter behind "^n" is not raised.
void Lines::EncloseBareScript(QChar next)
{
    if (m_bareScript >= 0 && next.isLetterOrNumber()) {
        const auto side = m_line.at(m_bareScript) == u'^' ? Scripts::Side::Raised : Scripts::Side::Lowered;
        ReplaceSince(m_bareScript, Scripts::PutWithSign(side, Since(m_bareScript + 1), next));
    }
    m_bareScript = -1;
}

QString Lines::Prefix() const
{
    if (!m_mark.isEmpty())
        return m_mark;
    return m_lists.empty() ? QString() : QString(m_lists.back().Indent, u' ');
}

void Lines::EndLine()
{
    for (size_t i = m_scripts.size(); i > 0; --i)
        CloseScript(m_scripts.at(i - 1));
    for (OpenScript &script : m_scripts)
        script.Start = 0;
    while (!m_line.isEmpty() && m_line.back().isSpace())
        m_line.chop(1);
    if (m_line.isEmpty() && m_mark.isEmpty()) {
        m_canBeBlank = false;
        return;
    }
    const bool isNextItem = m_wasItem && !m_mark.isEmpty();
    if (m_text.isEmpty())
        m_isFirstIndented = m_isPreformatted;
    else
        m_text += m_isBlankWanted && !isNextItem ? u"\n\n"_s : u"\n"_s;
    m_text += Prefix();
    m_text += m_line;
    while (m_text.back().isSpace())
        m_text.chop(1);
    m_wasItem = !m_lists.empty() || !m_mark.isEmpty();
    m_mark.clear();
    m_line.clear();
    m_bareScript = -1;
    m_isBlankWanted = false;
    m_canBeBlank = false;
    m_isPreformatted = false;
}

void Lines::Break()
{
    const bool isEmpty = std::all_of(m_line.begin(), m_line.end(), [](QChar c) { return c.isSpace(); });
    if (isEmpty && m_mark.isEmpty())
        m_isBlankWanted = !m_text.isEmpty();
    if (!isEmpty)
        EndLine();
    m_line.clear();
}

void Lines::EndBlock(bool hasMargin)
{
    const bool isEmpty = std::all_of(m_line.begin(), m_line.end(), [](QChar c) { return c.isSpace(); });
    if (isEmpty)
        m_line.clear();
    else
        EndLine();
    // A list is as close as its items are.
    if (hasMargin && m_mark.isEmpty() && !m_text.isEmpty())
        m_isBlankWanted = true;
}

void Lines::PutLine(const QString &line)
{
    EndBlock(line.isEmpty());
    m_line = line;
    EndLine();
}

void Lines::PutRule()
{
    EndBlock(false);
    m_line = u"-----"_s;
    EndLine();
}

void Lines::BeginList(bool isNumbered, int start, QChar type, bool isReversed)
{
    EndBlock(m_lists.empty());
    if (m_lists.size() == DeepestList)
        ++m_deepLists;
    else
        m_lists.push_back({ isNumbered, start, type, isReversed ? -1 : 1, Prefix().size() });
}

void Lines::EndList()
{
    EndBlock(false);
    if (m_deepLists > 0)
        --m_deepLists;
    else if (!m_lists.empty())
        m_lists.pop_back();
    m_mark.clear();
    if (m_lists.empty())
        EndBlock(true);
}

void Lines::BeginItem(const int *value)
{
    EndBlock(false);
    List alone;
    List &list = m_lists.empty() ? alone : m_lists.back();
    list.Number = value ? *value : list.Number;
    QString mark = list.IsNumbered ? NumberText(list.Number, list.Type) + u". "_s : u"- "_s;
    constexpr int most = 1'000'000'000;
    list.Number = std::clamp(list.Number + list.Step, -most, most);
    const auto depth = static_cast<qsizetype>(m_lists.size());
    // The mark of an item that begins with a list stands before the first mark
    // of that.
    const qsizetype indent = 2 * std::max<qsizetype>(depth - 1, 0);
    const bool isFirstInItem = !m_mark.isEmpty() && !list.HasItem;
    list.HasItem = true;
    m_mark = (isFirstInItem ? m_mark.leftJustified(indent) : QString(indent, u' ')) + mark;
    list.Indent = m_mark.size();
}

void Lines::EndItem()
{
    EndBlock(false);
}

void Lines::BeginScript(Scripts::Side side)
{
    if (m_scripts.size() == DeepestScript)
        ++m_lostScripts;
    else
        m_scripts.push_back({ side, m_line.size() });
}

void Lines::EndScript(Scripts::Side side)
{
    if (m_lostScripts > 0) {
        --m_lostScripts;
        return;
    }
    if (m_scripts.empty() || m_scripts.back().Side != side)
        return;
    const OpenScript script = m_scripts.back();
    m_scripts.pop_back();
    CloseScript(script);
}

void Lines::CloseScript(const OpenScript &script)
{
    const QString content = Since(script.Start).toString();
    const QString word = content.trimmed();
    if (word.isEmpty())
        return;
    const QChar before = script.Start > 0 ? m_line.at(script.Start - 1) : QChar();
    const bool isRaised = script.Side == Scripts::Side::Raised;
    const bool isNumbered = EndsWithLoneNumber(QStringView(m_line).first(script.Start));
    QString text;
    if (isRaised && ((isNumbered && Scripts::IsOrdinal(word)) || (!before.isNull() && word == u"th"_s)))
        text = word;
    else if (isRaised && (isNumbered || before == u'n' || before == u'N') && (word == u"o"_s || (word == u"a"_s && isNumbered)))
        text = word == u"o"_s ? u"\u00BA"_s : u"\u00AA"_s;
    else if (isRaised && word == u"TM"_s)
        text = u"\u2122"_s;
    else
        text = IsAllOf(script.Side, word) ? word : Scripts::Put(script.Side, word);
    m_line.truncate(script.Start);
    m_line += text;
    m_canBeBlank = content.back().isSpace();
    if (m_canBeBlank)
        m_line += u' ';
    const bool isBare = (text.startsWith(u'^') || text.startsWith(u'_')) && text.back() != u')';
    m_bareScript = isBare && !m_canBeBlank ? script.Start : -1;
}

void Lines::ReplaceSince(qsizetype place, const QString &text)
{
    m_line.truncate(std::min(place, m_line.size()));
    m_line += text;
    m_canBeBlank = false;
    m_bareScript = -1;
}

QString Lines::Finished()
{
    EndBlock(false);
    qsizetype start = 0;
    while (!m_isFirstIndented && start < m_text.size() && m_text.at(start).isSpace())
        ++start;
    return start > 0 ? m_text.sliced(start) : m_text;
}

}
