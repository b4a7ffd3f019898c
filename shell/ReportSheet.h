#pragma once

#include "shell/ScoreReport.h"

#include <QColor>
#include <QPointF>
#include <QRectF>
#include <QString>

#include <functional>
#include <vector>

class QPagedPaintDevice;

// The printed score report: one page, planned in millimetres from the corner
// of an area 170 wide, then painted.
namespace ReportSheet {

constexpr double UsableWidth = 170;
constexpr double UsableHeight = 262;

struct Text {
    double X = 0;
    double Y = 0; // top of the line
    QString Content;
    bool IsBold = false;
    double Room = UsableWidth; // a wider text gets smaller letters
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

// The width of a text in millimetres as it will be printed.
using Measure = std::function<double(const QString &text, bool isBold)>;

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

// Paints the page of the exam on the device and ends the job. Raises an Error
// when the device does not take it.
void Print(QPagedPaintDevice &device, const QString &examCode, const QString &examName, const ScoreReport &report);

// The page as a PDF file, which is there whole or not at all. Raises an Error.
void SavePdf(const QString &path, const QString &examCode, const QString &examName, const ScoreReport &report);

}
