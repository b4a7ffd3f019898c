// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "shell/ScoreReport.h"

#include <QPointF>
#include <QRectF>
#include <QString>

#include <functional>
#include <vector>

// The printed score report: one page, planned in millimetres on an area 170
// wide, which stands in the middle of the paper's width: x counts from the left
// edge of that area, y from the top of the paper. A4 and Letter hold all of it.
// Nothing here paints, and no device is needed but for the Measure.
namespace ReportSheet {

constexpr double UsableWidth = 170;
// The logo stands at the left edge; its height follows from its drawing.
constexpr double LogoTop = 20;
constexpr double LogoWidth = 46;

struct Text {
    double X = 0;
    double Y = 0; // top of the line
    QString Content;
    bool IsBold = false;
    double Size = 1; // of the letters, as a part of their usual size
};
struct Bar {
    QRectF Rectangle; // of width 0 for a share of 0 or less
    ScoreBar Kind = ScoreBar::Required;
};
struct Line {
    QPointF From;
    QPointF To;
};
struct Plan {
    std::vector<Text> Texts;
    std::vector<Bar> Bars;
    std::vector<Line> Lines;
};

// The width of a text in millimetres, above 0 unless the text is empty; size is
// that of its letters, as in Text.
// Some systems fit letters to the dots of the page, and then letters of half the
// size are not half as wide.
using Measure = std::function<double(const QString &text, bool isBold, double size)>;

// What the page reports. The texts of the exam may hold any character; what
// stands behind a NUL is not printed.
struct Data {
    QString ExamCode;
    QString ExamName;
    QString Date; // of today, as the candidate's language writes it
    ScoreReport Report;
};

// What stands on the page besides the logo: the lines, the bars and the texts,
// which are drawn in that order. A code or a title that is too long for its line
// ends with an ellipsis, the title after its letters have been made smaller; a
// bar is as long as its share says, even beyond the area. Raises DivisionByZero
// and Overflow as the shares of the report do.
Plan PlanFor(const Data &data, const Measure &measure);

// The line "Exam Title: …" and, of a long one, what goes below it. A line of more
// than 128 characters is broken at its first blank from the 128th on, which is
// left out; without such a blank, or in a shorter line, Rest is empty.
struct Title {
    QString First;
    QString Rest;
};
Title TitleOf(const QString &examName);

// What the queue of a printer shows: short and without control characters,
// which a print server refuses. Of a code of more than 60 printable characters
// the first 60 and three dots.
QString JobName(const QString &examCode);

}
