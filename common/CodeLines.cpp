// SPDX-License-Identifier: Apache-2.0
#include "common/CodeLines.h"

#include <algorithm>

namespace CodeLines {

namespace {

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
    columns.AreSure = (line.size() - text.size() >= Indent && !IsListItem(text)) || text.contains(u'\t');
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

}
