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
// No item that an exam can hold has as many; more are given up as one without an answer.
constexpr size_t MostLines = 10'000;

// The number of the option that the line begins, from 0, of "A. text" or "a) text".
// Nothing for another line.
std::optional<int> OptionOf(QStringView line)
{
    if (line.size() < 2 || (line[1] != u'.' && line[1] != u')') || (line.size() > 2 && !line[2].isSpace()))
        return {};
    const int number = (line[0].unicode() | 0x20) - u'a';
    return number >= 0 && number < Letters ? std::optional(number) : std::nullopt;
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

// The options that letters such as "B", "A, C" or "AC" name, from 0; none when
// anything else stands there.
std::vector<int> KeyOf(QStringView answer)
{
    std::vector<int> key;
    for (const QChar c : answer) {
        const int number = (c.unicode() | 0x20) - u'a';
        if (number >= 0 && number < Letters)
            key.push_back(number);
        else if (!c.isSpace() && c != u',' && c != u';' && c != u'.' && c != u')' && c != u'&')
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
        if (answer && (m_next >= 2 || !KeyOf(*answer).empty())) {
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
        const std::optional<int> option = OptionOf(line.Text);
        // Behind the options a new paragraph is the next question.
        if ((m_isBehindBlank && m_next >= 2 && option != m_next) || m_lines.size() == MostLines)
            Finish(line.Number, {});
        m_isBehindBlank = false;
        m_lines.push_back(line);
        Follow(option);
    }

    void End()
    {
        // The last question lacks its answer.
        if (!m_lines.empty())
            Finish(0, {});
        Give();
    }

private:
    // Notes where the options begin. "A. Smith wrote:" in a stem is none unless a
    // line of option B follows it before another of option A.
    void Follow(std::optional<int> option)
    {
        if (option == 0) {
            if (m_next < 2)
                m_starts = { m_lines.size() - 1 };
            else
                m_mayRestart = true;
            m_next = std::max(m_next, 1);
        } else if (option == 1 && m_mayRestart) {
            m_hasTwoLists = true;
        } else if (option && m_next > 0 && option == m_next) {
            m_starts.push_back(m_lines.size() - 1);
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
            item.Options.push_back({ { Joined(m_lines, m_starts[i], end), Markup::Kind::Plain }, {} });
        }
        if (item.Options.empty()) {
            item.Refusal = u"it has no options"_s;
            return;
        }
        int right = 0;
        bool areThere = true;
        for (const int number : KeyOf(answer)) {
            const bool isThere = number < static_cast<int>(item.Options.size());
            areThere = areThere && isThere;
            if (isThere && !std::exchange(item.Options[static_cast<size_t>(number)].IsRight, true))
                ++right;
        }
        if (right == 0)
            item.Refusal = u"no option is right"_s;
        else if (!areThere)
            item.Refusal = u"the key \"%1\" names an option that is not there"_s.arg(answer);
        item.IsMultiple = right > 1;
    }

    const Bank::Source &m_source;
    Bank::Receiver &m_receiver;
    std::optional<Bank::Item> m_item; // read, and not given before what follows it is seen
    std::vector<Line> m_lines;
    std::vector<size_t> m_starts; // of the options, in m_lines
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
        if (next < 2 && OptionOf(line) == next)
            ++next;
        else if (const auto answer = AnswerOf(line); answer && next == 2 && answer->size() <= 2 * Letters)
            return true;
    }
    return false;
}

void Read(const Bank::Source &source, const Bank::Options &options, Bank::Receiver &receiver)
{
    const QString text = Bank::Decode(source, options.Encoding);
    Reader reader(source, receiver);
    int number = 0;
    for (const QStringView line : QStringTokenizer(text, u'\n'))
        reader.Take({ ++number, line.trimmed() });
    reader.End();
}

}
