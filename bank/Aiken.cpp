// SPDX-License-Identifier: Apache-2.0
#include "bank/Aiken.h"

#include "bank/Decode.h"

#include <QStringTokenizer>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace Aiken {

namespace {

constexpr QStringView AnswerMark = u"ANSWER";
constexpr int Letters = 26;
// What may stand between the letters of a key.
constexpr QStringView Separators = u",;&";
// No item that an exam can hold has as many; more are given up as one without an answer.
constexpr size_t MostLines = 10'000;

// The number of the option that a letter names, from 0; -1 for another character.
int NumberOf(QChar letter)
{
    const int number = (letter.unicode() | 0x20) - u'a';
    return number >= 0 && number < Letters ? number : -1;
}

// What the beginning of "A. text" or "a) text" names.
struct Mark {
    int Number; // of the option, from 0
    bool IsTight; // "A.text": perhaps the initial of a name
};

// Nothing for a line that begins no option.
std::optional<Mark> MarkOf(QStringView line)
{
    if (line.size() < 2 || (line[1] != u'.' && line[1] != u')'))
        return {};
    const int number = NumberOf(line[0]);
    const bool isTight = line[1] == u'.' && line.size() > 2 && !line[2].isSpace();
    if (number < 0 || (isTight && !line[0].isUpper()))
        return {};
    return Mark{ number, isTight };
}

// What stands behind "ANSWER:"; nothing for another line.
std::optional<QStringView> AnswerOf(QStringView line)
{
    if (!line.startsWith(AnswerMark, Qt::CaseInsensitive))
        return {};
    const QStringView rest = line.sliced(AnswerMark.size()).trimmed();
    return rest.startsWith(u':') ? std::optional(rest.sliced(1).trimmed()) : std::nullopt;
}

// What stands behind "EXPLANATION:" or "FEEDBACK:", which some programs write below
// the answer; nothing for another line.
std::optional<QStringView> ExplanationOf(QStringView line)
{
    for (const QStringView mark : { QStringView(u"EXPLANATION:"), QStringView(u"FEEDBACK:") }) {
        if (line.startsWith(mark, Qt::CaseInsensitive))
            return line.sliced(mark.size()).trimmed();
    }
    return {};
}

// Takes what parts letters from the beginning: blanks, "," and the like, "and".
// Returns whether it was more than blanks.
bool TakeSeparators(QStringView &rest)
{
    bool isMark = false;
    while (true) {
        rest = rest.trimmed();
        const bool isWord = rest.startsWith(u"and", Qt::CaseInsensitive) && rest.size() > 3 && rest[3].isSpace();
        if (!isWord && (rest.isEmpty() || !Separators.contains(rest[0])))
            return isMark;
        rest = rest.sliced(isWord ? 3 : 1);
        isMark = true;
    }
}

// What an answer names.
struct Key {
    std::vector<int> Options; // from 0; none when the answer is no key
    QStringView Text; // behind a single letter: what the option must read; empty for none
};

// Of "B", "A, C", "AC" or "B. text".
Key KeyOf(QStringView answer)
{
    Key key;
    const auto isCapital = [](QChar c) { return c >= u'A' && c <= u'Z'; };
    if (answer.size() > 1 && std::all_of(answer.begin(), answer.end(), isCapital)) {
        std::transform(answer.begin(), answer.end(), std::back_inserter(key.Options), NumberOf);
        return key;
    }
    for (QStringView rest = answer; !rest.isEmpty();) {
        const int number = NumberOf(rest[0]);
        if (number < 0)
            return {};
        key.Options.push_back(number);
        const bool isMarked = rest.size() > 1 && (rest[1] == u'.' || rest[1] == u')' || rest[1] == u':');
        const QStringView behind = rest.sliced(isMarked ? 2 : 1);
        rest = behind;
        if (TakeSeparators(rest) || rest.isEmpty())
            continue;
        if (isMarked) {
            key.Text = rest;
            return key.Options.size() == 1 ? key : Key();
        }
        if (rest.size() == behind.size())
            return {};
    }
    return key;
}

struct Line {
    int Number;
    QStringView Text; // trimmed
};

QString Joined(const std::vector<Line> &lines, size_t begin, size_t end)
{
    while (begin < end && lines[begin].Text.isEmpty())
        ++begin;
    while (end > begin && lines[end - 1].Text.isEmpty())
        --end;
    QString text;
    for (size_t i = begin; i < end; ++i) {
        if (i > begin)
            text += u'\n';
        text += lines[i].Text;
    }
    return text;
}

// White space aside.
bool IsText(const Bank::Option &option, QStringView text)
{
    return option.Statement.Source.simplified() == text.toString().simplified();
}

// Gathers the lines of one question after the other.
class Reader {
public:
    Reader(const Bank::Source &source, Bank::Receiver &receiver)
        : m_source(source)
        , m_receiver(receiver)
    {
    }

    void Take(const Line &line)
    {
        const auto answer = AnswerOf(line.Text);
        // Before the options it is a line of the stem, unless it names some.
        if (answer && (m_next >= 2 || !KeyOf(*answer).Options.empty())) {
            Finish(line.Number, answer);
            return;
        }
        if (TakeExplanation(line.Text))
            return;
        if (line.Text.isEmpty()) {
            m_isBehindBlank = true;
            if (!m_lines.empty() && !m_lines.back().Text.isEmpty())
                m_lines.push_back(line);
            return;
        }
        const std::optional<Mark> mark = MarkOf(line.Text);
        // Behind the options a new paragraph is the next question.
        if ((m_isBehindBlank && m_next >= 2 && (!mark || mark->Number != m_next)) || m_lines.size() == MostLines)
            Finish(line.Number, {});
        m_isBehindBlank = false;
        m_lines.push_back(line);
        Follow(mark);
    }

    void End()
    {
        // The last question lacks its answer.
        if (!m_lines.empty())
            Finish(0, {});
        Give();
    }

private:
    // A tight mark counts where option B follows option A at once, and behind these.
    void Follow(std::optional<Mark> mark)
    {
        const bool isTight = mark && mark->IsTight;
        const std::optional<size_t> tightA = std::exchange(m_tightA, {});
        if (isTight && mark->Number == 0) {
            m_tightA = m_lines.size() - 1;
            return;
        }
        const bool isBehindA = tightA && mark && mark->Number == 1;
        if (isBehindA)
            Begin(0, *tightA);
        if (mark && (!isTight || isBehindA || m_next >= 2))
            Begin(mark->Number, m_lines.size() - 1);
    }

    // Notes where an option begins. "A. Smith wrote:" in a stem is none unless a line
    // of option B follows it before another of option A.
    void Begin(int option, size_t line)
    {
        if (option == 0) {
            if (m_next < 2)
                m_starts = { line };
            else
                m_mayRestart = true;
            m_next = std::max(m_next, 1);
        } else if (option == 1 && m_mayRestart) {
            m_hasTwoLists = true;
        } else if (m_next > 0 && option == m_next) {
            m_starts.push_back(line);
            ++m_next;
        }
    }

    // The lines below an answer up to a blank one.
    bool TakeExplanation(QStringView line)
    {
        if (!m_item || !m_lines.empty())
            return false;
        const auto begin = ExplanationOf(line);
        if (line.isEmpty() || (!begin && m_item->Feedback.Source.isEmpty())) {
            Give();
            return false;
        }
        QString &text = m_item->Feedback.Source;
        if (!text.isEmpty())
            text += u'\n';
        text += begin.value_or(line);
        return true;
    }

    void Finish(int line, std::optional<QStringView> answer)
    {
        Give();
        m_item.emplace();
        m_item->Files = m_source.Files;
        m_item->Line = m_lines.empty() ? line : m_lines.front().Number;
        m_item->Feedback.Kind = Markup::Kind::Plain;
        if (!answer || m_hasTwoLists)
            m_item->Refusal = u"the ANSWER line is missing"_s;
        else
            Fill(*m_item, *answer);
        m_lines.clear();
        m_starts.clear();
        m_tightA.reset();
        m_next = 0;
        m_isBehindBlank = m_mayRestart = m_hasTwoLists = false;
    }

    void Give()
    {
        if (m_item)
            m_receiver.Add(std::move(*m_item));
        m_item.reset();
    }

    void Fill(Bank::Item &item, QStringView answer)
    {
        const size_t begin = m_next < 2 ? m_lines.size() : m_starts.front();
        item.Problem = { Joined(m_lines, 0, begin), Markup::Kind::Plain };
        for (size_t i = 0; begin < m_lines.size() && i < m_starts.size(); ++i) {
            Line &first = m_lines[m_starts[i]];
            first.Text = first.Text.sliced(2).trimmed();
            const size_t end = i + 1 < m_starts.size() ? m_starts[i + 1] : m_lines.size();
            WarnOfMarks(item, m_starts[i] + 1, end);
            item.Options.push_back({ { Joined(m_lines, m_starts[i], end), Markup::Kind::Plain }, {} });
        }
        if (item.Options.empty()) {
            item.Refusal = u"it has no options"_s;
            return;
        }
        const Key key = KeyOf(answer);
        int right = 0;
        bool areThere = true;
        bool isText = key.Text.isEmpty();
        for (const int number : key.Options) {
            const bool isThere = number < static_cast<int>(item.Options.size());
            areThere = areThere && isThere;
            isText = isText || (isThere && IsText(item.Options[static_cast<size_t>(number)], key.Text));
            if (isThere && !std::exchange(item.Options[static_cast<size_t>(number)].IsRight, true))
                ++right;
        }
        if (right == 0)
            item.Refusal = u"no option is right"_s;
        else if (!areThere)
            item.Refusal = u"the key \"%1\" names an option that is not there"_s.arg(answer);
        else if (!isText)
            item.Refusal = u"the key \"%1\" has another text than its option"_s.arg(
                answer.first(std::min<qsizetype>(answer.size(), 40)));
        item.IsMultiple = right > 1;
    }

    // Letters of another alphabet begin no option, and some look like those that do.
    void WarnOfMarks(Bank::Item &item, size_t begin, size_t end) const
    {
        for (size_t i = begin; i < end; ++i) {
            const QStringView text = m_lines[i].Text;
            const bool isMark = text.size() > 2 && text[0].isLetter() && text[0].unicode() > 0x7F
                && (text[1] == u')' || (text[1] == u'.' && text[2].isSpace()));
            if (isMark)
                item.Warnings += u"\"%1\" begins no option, because its letter is not A to Z"_s.arg(text.first(2));
        }
    }

    const Bank::Source &m_source;
    Bank::Receiver &m_receiver;
    std::optional<Bank::Item> m_item; // read, and not given before what follows it is seen
    std::vector<Line> m_lines;
    std::vector<size_t> m_starts; // of the options, in m_lines
    std::optional<size_t> m_tightA; // "A.text" in the line before, in m_lines
    int m_next = 0; // the option that comes next, from 0
    bool m_isBehindBlank = false;
    bool m_mayRestart = false; // a line of option A stands behind option B
    bool m_hasTwoLists = false;
};

}

bool Suits(const Bank::Source &source)
{
    const QString text = Bank::Beginning(source);
    int next = 0;
    for (const QStringView each : QStringTokenizer(text, u'\n')) {
        const QStringView line = each.trimmed();
        if (const auto mark = MarkOf(line); next < 2 && mark && mark->Number == next)
            ++next;
        else if (const auto answer = AnswerOf(line);
                 answer && next == 2 && (answer->size() <= 2 * Letters || !KeyOf(*answer).Text.isEmpty()))
            return true;
    }
    return false;
}

void Read(const Bank::Source &source, const Bank::Options &, Bank::Receiver &receiver)
{
    const QString text = Bank::Decode(source);
    Reader reader(source, receiver);
    int number = 0;
    for (const QStringView line : QStringTokenizer(text, u'\n'))
        reader.Take({ ++number, line.trimmed() });
    reader.End();
}

}
