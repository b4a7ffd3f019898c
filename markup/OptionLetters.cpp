// SPDX-License-Identifier: Apache-2.0
#include "markup/OptionLetters.h"

#include <QSet>

#include <algorithm>
#include <array>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace OptionLetters {

namespace {

constexpr std::array Roman = {
    "i"_L1,  "ii"_L1,  "iii"_L1,  "iv"_L1,  "v"_L1,  "vi"_L1,  "vii"_L1,  "viii"_L1,  "ix"_L1,  "x"_L1,
    "xi"_L1, "xii"_L1, "xiii"_L1, "xiv"_L1, "xv"_L1, "xvi"_L1, "xvii"_L1, "xviii"_L1, "xix"_L1, "xx"_L1,
};

// What stands before the text of an option.
struct Mark {
    QStringView Name; // between the brackets
    QString Style; // "()", ")", "." or ":"
    qsizetype End = 0; // where the text begins; 0: there is no mark
};

Mark MarkOf(QStringView option)
{
    constexpr qsizetype longestName = 5;
    const bool isEnclosed = option.startsWith(u'(') || option.startsWith(u'[');
    const qsizetype start = isEnclosed ? 1 : 0;
    qsizetype end = start;
    while (end < option.size() && end - start < longestName && option.at(end).isLetterOrNumber())
        ++end;
    if (end == start || end == option.size())
        return {};
    const QChar sign = option.at(end);
    const bool isClosed = isEnclosed ? sign == (option.front() == u'(' ? u')' : u']') : u").:"_s.contains(sign);
    qsizetype text = end + 1;
    while (text < option.size() && option.at(text).isSpace())
        ++text;
    if (!isClosed || text == end + 1 || text == option.size())
        return {};
    return { option.sliced(start, end - start), isEnclosed ? QString(option.front()) + sign : QString(sign), text };
}

// The names of the first marks of a series to which the name of the first
// belongs, in its case. A number with a dot may be an ordinal: "1. Mai".
bool IsInSeries(QStringView first, QStringView name, const QString &style, qsizetype index)
{
    if (first == u"1")
        return style != "."_L1 && name == QString::number(index + 1);
    const bool isRoman = first.compare("i"_L1, Qt::CaseInsensitive) == 0;
    if (isRoman) {
        const auto place = static_cast<size_t>(index);
        return place < Roman.size() && name.compare(Roman.at(place), Qt::CaseInsensitive) == 0
            && name.front().isUpper() == first.front().isUpper();
    }
    static constexpr std::array<std::u16string_view, 6> alphabets
        = { u"abcdefghijklmnopqrstuvwxyz",
            u"ABCDEFGHIJKLMNOPQRSTUVWXYZ",
            u"\u0430\u0431\u0432\u0433\u0434\u0435\u0436\u0437\u0438\u043A",
            u"\u0410\u0411\u0412\u0413\u0414\u0415\u0416\u0417\u0418\u041A",
            u"\u03B1\u03B2\u03B3\u03B4\u03B5\u03B6\u03B7\u03B8",
            u"\u0391\u0392\u0393\u0394\u0395\u0396\u0397\u0398" };
    return std::any_of(alphabets.begin(), alphabets.end(), [&](std::u16string_view alphabet) {
        const auto place = static_cast<size_t>(index);
        return first.size() == 1 && name.size() == 1 && place < alphabet.size() && first.front() == QChar(alphabet.front())
            && name.front() == QChar(alphabet.at(place));
    });
}

}

bool Remove(QStringList &options)
{
    if (options.size() < 2)
        return false;
    std::vector<Mark> marks;
    for (const QString &option : std::as_const(options)) {
        const Mark mark = MarkOf(option);
        const auto index = static_cast<qsizetype>(marks.size());
        const QStringView first = marks.empty() ? mark.Name : marks.front().Name;
        const bool fits = mark.End > 0 && IsInSeries(first, mark.Name, mark.Style, index)
            && (marks.empty() || mark.Style == marks.front().Style);
        if (!fits)
            return false;
        marks.push_back(mark);
    }
    QStringList bare;
    for (qsizetype i = 0; i < options.size(); ++i)
        bare.append(options.at(i).sliced(marks.at(static_cast<size_t>(i)).End));
    // "1. Weltkrieg", "2. Weltkrieg": what would make two options equal is no mark.
    if (QSet<QString>(bare.begin(), bare.end()).size() < bare.size())
        return false;
    options = bare;
    return true;
}

}
