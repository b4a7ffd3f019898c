// SPDX-License-Identifier: Apache-2.0
#include "ui/CodeLines.h"

#include <QFontDatabase>
#include <QFontMetricsF>

#include <algorithm>

namespace CodeLines {

namespace {

constexpr qsizetype CodeIndent = 4; // blanks

bool IsLineEnd(QChar c)
{
    return c == u'\n' || c == QChar::LineSeparator;
}

// "- " or "12. ", which stand behind the indent of a list in a list.
bool IsListItem(QStringView line)
{
    if (line.startsWith(u"- "))
        return true;
    const auto *end = std::find_if(line.begin(), line.end(), [](QChar c) { return !c.isLetterOrNumber(); });
    constexpr qsizetype longest = 4;
    return end != line.begin() && end - line.begin() <= longest && line.sliced(end - line.begin()).startsWith(u". ");
}

struct Columns {
    bool AreSure = false;
    bool ArePossible = false;
};

Columns ColumnsOf(QStringView line)
{
    const auto *start = std::find_if(line.begin(), line.end(), [](QChar c) { return c != u' '; });
    const QStringView text = line.sliced(start - line.begin());
    if (text.isEmpty())
        return {};
    Columns columns;
    columns.AreSure = (line.size() - text.size() >= CodeIndent && !IsListItem(text)) || text.contains(u'\t');
    qsizetype run = 0;
    QChar before;
    for (const QChar c : text) {
        if (c != u' ') {
            constexpr qsizetype sure = 3;
            columns.AreSure = columns.AreSure || run >= sure;
            columns.ArePossible = columns.ArePossible || (run == 2 && !QStringView(u".!?:;,").contains(before));
            before = c;
        }
        run = c == u' ' ? run + 1 : 0;
    }
    return columns;
}

QFont Fixed(const QFont &font)
{
    QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    // The system may name a font that it does not have.
    fixed.setFamilies(fixed.families() + QStringList{ QStringLiteral("DejaVu Sans Mono"), QStringLiteral("Courier New") });
    fixed.setStyleHint(QFont::Monospace);
    fixed.setFixedPitch(true);
    if (font.pointSizeF() > 0)
        fixed.setPointSizeF(font.pointSizeF());
    else
        fixed.setPixelSize(font.pixelSize());
    return fixed;
}

}

std::vector<Range> Find(const QString &text)
{
    std::vector<Range> ranges;
    qsizetype start = 0; // of the paragraph
    qsizetype last = 0; // where its last line ends
    qsizetype lines = 0;
    qsizetype possible = 0;
    bool isSure = false;
    for (qsizetype at = 0; at <= text.size();) {
        qsizetype end = at;
        while (end < text.size() && !IsLineEnd(text.at(end)))
            ++end;
        const QStringView line = QStringView(text).sliced(at, end - at);
        const bool isEmpty = line.trimmed().isEmpty();
        if (!isEmpty) {
            const Columns columns = ColumnsOf(line);
            ++lines;
            last = end;
            isSure = isSure || columns.AreSure;
            possible += columns.ArePossible ? 1 : 0;
        }
        if (isEmpty || end == text.size()) {
            if (lines > 1 && (isSure || possible > 1))
                ranges.push_back({ start, last - start });
            start = end + 1;
            lines = 0;
            possible = 0;
            isSure = false;
        }
        at = end + 1;
    }
    return ranges;
}

QTextCharFormat Format(const QFont &font)
{
    QTextCharFormat format;
    format.setFont(Fixed(font));
    return format;
}

QList<QTextLayout::FormatRange> Formats(const QString &text, const QFont &font)
{
    QList<QTextLayout::FormatRange> formats;
    for (const Range &range : Find(text)) {
        // With the end of the last line, which has the height of its font.
        const qsizetype end = std::min(range.Start + range.Length + 1, text.size());
        formats.append({ static_cast<int>(range.Start), static_cast<int>(end - range.Start), Format(font) });
    }
    return formats;
}

qreal TabStopDistance(const QFont &font)
{
    return CodeIndent * QFontMetricsF(Fixed(font)).horizontalAdvance(u' ');
}

}
