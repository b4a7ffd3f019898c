// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QFont>
#include <QTextLayout>

// Lines of a plain text that are shown in a font whose characters are all as wide,
// because something in them lines up in columns: code, listings, tables.
namespace CodeLines {

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

// The format of these parts for a text that is otherwise in that font.
QTextCharFormat Format(const QFont &font);
QList<QTextLayout::FormatRange> Formats(const QString &text, const QFont &font);

// The distance of tab stops in pixels: four characters of these lines.
qreal TabStopDistance(const QFont &font);

}
