// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

// Reads GIFT, the text format of question banks.
namespace Gift {

// How a text is marked up. Moodle, the default, is plain text with line breaks
// in which HTML tags and entities may stand.
enum class Markup { Moodle, Html, Plain, Markdown };

struct Text {
    QString Source; // without escapes and surrounding white space
    Gift::Markup Markup = Markup::Moodle;
    bool operator==(const Text &) const = default;
};

struct Option {
    Text Statement;
    Text Feedback;
    bool IsRight = false;
};

struct Item {
    int Line = 0; // of the item's first line, 1-based
    // Why this is no item with options to choose from; empty when it is one.
    // Not empty: Options and Feedback have no meaning.
    QString Refusal;
    // The stem; "_____" stands where the options interrupt a sentence.
    Text Problem;
    std::vector<Option> Options;
    Text Feedback; // the general feedback
    // The options have weights: more than one may be correct.
    bool IsMultiple = false;
    // "// [nolimit]" stands before the item.
    bool IsUnlimited = false;
    // The name in "// [exhibit:name]" before the item, unchecked.
    std::optional<QString> Exhibit;
};

// The text of a file: UTF-8, or the encoding of its byte order mark. Invalid
// bytes become U+FFFD. Lines end with a line feed.
QString Decode(const QByteArray &bytes);

// All items of a text with "\n" line ends, in order, including those with a
// Refusal.
std::vector<Item> Parse(const QString &text);

}
