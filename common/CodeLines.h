// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <vector>

// Lines of a plain text in which something lines up in columns: code, listings,
// tables. They are shown in a font whose characters are all as wide.
namespace CodeLines {

constexpr qsizetype Indent = 4; // blanks of an indent and between tab stops

// A part of the text, in characters.
struct Range {
    qsizetype Start = 0;
    qsizetype Length = 0;
};

// The paragraphs of several lines, parted by empty ones, in which a line begins
// with a tab or four blanks (and no mark of a list behind these) or holds a tab
// or three blanks in a row, or two lines hold two blanks that end no sentence.
// Lines end with "\n" or U+2028. In linear time.
std::vector<Range> Find(const QString &text);

}
