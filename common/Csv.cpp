// SPDX-License-Identifier: Apache-2.0
#include "common/Csv.h"

#include "common/Error.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace Csv {

namespace {

constexpr QChar Quote = u'"';

[[noreturn]] void Fail(const QString &text)
{
    throw Error(InvalidCall, text, u"Csv::Parser::Next()"_s);
}

qsizetype BehindBlanks(QStringView text, qsizetype at)
{
    while (at < text.size() && text[at] == u' ')
        ++at;
    return at;
}

}

bool Record::IsBlank() const
{
    return std::all_of(Fields.begin(), Fields.end(), [](QStringView field) { return field.trimmed().isEmpty(); });
}

QChar TakeSeparatorLine(QStringView &text)
{
    const bool isThere = text.size() >= 5 && text.first(4).compare("sep="_L1, Qt::CaseInsensitive) == 0
        && (text.size() == 5 || text[5] == u'\n');
    if (!isThere)
        return {};
    const QChar separator = text[4];
    text = text.sliced(std::min<qsizetype>(6, text.size()));
    return separator;
}

Parser::Parser(QStringView text, QChar separator, int line)
    : m_text(text)
    , m_separator(separator)
    , m_line(line)
{
}

bool Parser::Next(Record &record)
{
    if (m_at >= m_text.size())
        return false;
    record.Line = m_line;
    record.Fields.clear();
    record.HasOddQuote = false;
    m_unquoted.clear();
    for (;;) {
        if (record.Fields.size() == MostFields)
            Fail(u"line %1 has more than %2 columns"_s.arg(record.Line).arg(MostFields));
        const QStringView field = Field(record);
        if (field.size() > MostCharacters)
            Fail(u"line %1 has a field of more than %2 characters (is a quotation mark missing?)"_s.arg(record.Line)
                     .arg(MostCharacters));
        record.Fields.push_back(field);
        if (m_at >= m_text.size())
            return true;
        const bool isEnd = m_text[m_at] == u'\n';
        Skip(m_at + 1);
        if (isEnd)
            return true;
    }
}

QStringView Parser::Field(Record &record)
{
    const qsizetype quote = BehindBlanks(m_text, m_at);
    if (quote < m_text.size() && m_text[quote] == Quote)
        return Quoted(record, quote);
    const qsizetype begin = m_at;
    m_at = EndOfField(m_at);
    return m_text.sliced(begin, m_at - begin);
}

QStringView Parser::Quoted(Record &record, qsizetype quote)
{
    const qsizetype begin = m_at;
    bool isDoubled = false;
    qsizetype end = m_text.indexOf(Quote, quote + 1);
    while (end >= 0 && end + 1 < m_text.size() && m_text[end + 1] == Quote) {
        isDoubled = true;
        end = m_text.indexOf(Quote, end + 2);
    }
    if (end < 0)
        Fail(u"the quotation mark in line %1 is not closed"_s.arg(m_line));
    const qsizetype behind = BehindBlanks(m_text, end + 1);
    if (behind < m_text.size() && m_text[behind] != m_separator && m_text[behind] != u'\n') {
        record.HasOddQuote = true;
        Skip(EndOfField(behind));
        return m_text.sliced(begin, m_at - begin);
    }
    Skip(behind);
    const QStringView field = m_text.sliced(quote + 1, end - quote - 1);
    if (!isDoubled)
        return field;
    m_unquoted.push_back(field.toString().replace(u"\"\""_s, u"\""_s));
    return m_unquoted.back();
}

qsizetype Parser::EndOfField(qsizetype from) const
{
    const auto end = std::find_if(m_text.begin() + from, m_text.end(), [&](QChar c) { return c == m_separator || c == u'\n'; });
    return end - m_text.begin();
}

void Parser::Skip(qsizetype to)
{
    m_line += static_cast<int>(m_text.sliced(m_at, to - m_at).count(u'\n'));
    m_at = to;
}

}
