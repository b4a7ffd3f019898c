// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <deque>
#include <vector>

// Tables as text: fields parted by a separator, records by line breaks, as RFC 4180
// describes them for commas.
namespace Csv {

constexpr qsizetype MostCharacters = 1'000'000; // of a field
constexpr size_t MostFields = 1'000; // of a record

struct Record {
    int Line = 0; // its first line, 1-based
    // Without quotation marks; gone with the next record. White space is kept.
    std::vector<QStringView> Fields;
    // A field begins with a quotation mark that does not enclose all of it. It stands
    // as it was written.
    bool HasOddQuote = false;

    // Whether there is nothing but white space.
    bool IsBlank() const;
};

// The separator that a first line such as "sep=;" names, which spreadsheets write and
// which is then taken off the text; 0 when there is none.
QChar TakeSeparatorLine(QStringView &text);

// Gives the records one by one. Lines end with a line feed.
class Parser {
public:
    // The text begins at that line of its source.
    Parser(QStringView text, QChar separator, int line = 1);

    // False at the end. Raises InvalidCall for a quotation mark that is never closed
    // and for a record beyond the limits.
    bool Next(Record &record);

private:
    QStringView Field(Record &record);
    QStringView Quoted(Record &record, qsizetype quote);
    qsizetype EndOfField(qsizetype from) const;
    void Skip(qsizetype to);

    QStringView m_text;
    QChar m_separator;
    int m_line;
    qsizetype m_at = 0;
    // Fields of the record that hold doubled quotation marks.
    std::deque<QString> m_unquoted;
};

}
