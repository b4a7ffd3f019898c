// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "shell/ScoreReport.h"

#include <QPointF>
#include <QRectF>
#include <QString>

#include <functional>
#include <vector>

// The printed score report: one page, planned in millimetres on an area 170
// wide, which stands in the middle of the paper's width; y counts from the top
// of the paper. A4 and Letter hold all of it.
namespace ReportSheet {

constexpr double UsableWidth = 170;
// The logo stands in the upper left corner, as high as its drawing has it.
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
    QRectF Rectangle;
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

// The width of a text in millimetres; size is that of its letters, as in Text.
// Some systems fit letters to the dots of the page, and then letters of half the
// size are not half as wide.
using Measure = std::function<double(const QString &text, bool isBold, double size)>;

// What the page reports. The texts of the exam may hold any character.
struct Data {
    QString ExamCode;
    QString ExamName;
    QString Date; // of today, as the candidate's language writes it
    ScoreReport Report;
};

// What stands on the page besides the logo: the lines, the bars and the texts,
// which are drawn in that order. Raises what the shares of the report raise.
Plan PlanFor(const Data &data, const Measure &measure);

// The line "Exam Title: …" and, of a long one, what goes below it.
struct Title {
    QString First;
    QString Rest;
};
Title TitleOf(const QString &examName);

// What the queue of a printer shows: short and without control characters,
// which a print server refuses.
QString JobName(const QString &examCode);

}
