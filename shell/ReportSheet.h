// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "shell/ScoreReport.h"

#include <QColor>
#include <QPointF>
#include <QRectF>
#include <QString>

#include <functional>
#include <vector>

class QPagedPaintDevice;
class QPrinter;

// The printed score report: one page, planned in millimetres on an area 170
// wide, which stands in the middle of the paper's width; y counts from the top
// of the paper. A4 and Letter hold all of it.
namespace ReportSheet {

constexpr double UsableWidth = 170;

struct Text {
    double X = 0;
    double Y = 0; // top of the line
    QString Content;
    bool IsBold = false;
    double Size = 1; // of the letters, as a part of their usual size
};
struct Bar {
    QRectF Rectangle;
    QColor Color;
};
struct Line {
    QPointF From;
    QPointF To;
};
struct Plan {
    QRectF Logo;
    std::vector<Text> Texts;
    std::vector<Bar> Bars;
    std::vector<Line> Lines;
};

// The width of a text in millimetres; size is that of its letters, as in Text.
// Some systems fit letters to the dots of the page, and then letters of half the
// size are not half as wide.
using Measure = std::function<double(const QString &text, bool isBold, double size)>;

// What stands on the page, in the order in which it is drawn. Raises what the
// shares of the report raise.
Plan PlanFor(const QString &examCode, const QString &examName, const QString &date, const ScoreReport &report,
             const Measure &measure);

// The line "Exam Title: …" and, of a long one, what goes below it.
struct Title {
    QString First;
    QString Rest;
};
Title TitleOf(const QString &examName);

// Paints the page of the exam on the device, which it begins and ends. Raises
// an Error when the device does not take it.
void Paint(QPagedPaintDevice &device, const QString &examCode, const QString &examName, const ScoreReport &report);

// Prints the page as a job with a name of its own. Raises an Error.
void Print(QPrinter &printer, const QString &examCode, const QString &examName, const ScoreReport &report);

// What the queue of a printer shows: short and without control characters,
// which a print server refuses.
QString JobName(const QString &examCode);

// The page as a PDF file, which is there whole or not at all. Raises an Error.
void SavePdf(const QString &path, const QString &examCode, const QString &examName, const ScoreReport &report);

}
