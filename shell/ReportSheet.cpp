// SPDX-License-Identifier: Apache-2.0
#include "shell/ReportSheet.h"

#include "common/Common.h"
#include "common/Error.h"
#include "resources/Artwork.h"

#include <QBuffer>
#include <QDate>
#include <QLocale>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QPrinter>
#include <QSaveFile>

using namespace Qt::Literals::StringLiterals;

namespace ReportSheet {

namespace {

constexpr qsizetype LongTitle = 128; // characters
constexpr qsizetype LongestLine = 1000; // more than a line has room for
constexpr double LogoWidth = 46;
constexpr double LogoTop = 20;
constexpr double CodeRow = 55;
constexpr double TitleRow = 60;
constexpr double TitleRestRow = 65;
constexpr double GraphLeft = 30;
constexpr double GraphWidth = 130;
constexpr double LabelLeft = 5;
constexpr double GraphTop = 100;
constexpr double GraphBottom = 130;
constexpr double BarHeight = 8;
constexpr double MarksRow = 132;
constexpr double ScoresRow = 145;
constexpr double FooterRow = 250;
constexpr double ClosingRow = 255;
constexpr double LabelGap = 2;
constexpr double CodeGap = 5; // between the code and the date
constexpr double PointSize = 9;
constexpr double SmallestSize = 0.6; // of the usual letters; smaller ones cannot be read
constexpr double SizeStep = 0.02;
constexpr double MillimetresAnInch = 25.4;
constexpr qsizetype LongestJobCode = 60; // characters; a job's name has 255 bytes

QFont SheetFont(bool isBold, double size = 1)
{
    QFont font;
    font.setPointSizeF(PointSize * size);
    font.setBold(isBold);
    return font;
}

const QString TitleLabel = u"Exam Title: "_s;

// As much of the text as there is room for, in millimetres; one that is cut
// ends with an ellipsis.
QString Elided(const QString &text, double room, const Measure &measure, double size = 1)
{
    if (text.size() <= LongestLine && measure(text, false, size) <= room)
        return text;
    const auto cut = [&](qsizetype length) { return text.left(length).trimmed() + u'…'; };
    qsizetype shortest = 0;
    qsizetype longest = std::min(text.size() - 1, LongestLine);
    while (shortest < longest) {
        const qsizetype middle = (shortest + longest + 1) / 2;
        if (measure(cut(middle), false, size) <= room)
            shortest = middle;
        else
            longest = middle - 1;
    }
    return cut(shortest);
}

}

Title TitleOf(const QString &examName)
{
    const QString line = TitleLabel + examName;
    const qsizetype blank = line.size() > LongTitle ? line.indexOf(u' ', LongTitle - 1) : -1;
    if (blank < 0)
        return { line, {} };
    return { line.left(blank), line.mid(blank + 1) };
}

Plan PlanFor(const QString &examCode, const QString &examName, const QString &date, const ScoreReport &report,
             const Measure &measure)
{
    Plan plan;
    const auto write = [&](double x, double y, const QString &text, bool isBold = false, double size = 1) {
        plan.Texts.push_back({ x, y, text, isBold, size });
    };
    plan.Logo = QRectF(0, LogoTop, LogoWidth, LogoWidth / Artwork::LogoAspect);

    const QString dated = u"Dated: "_s + date;
    const double dateLeft = UsableWidth - measure(dated, false, 1);
    write(0, CodeRow, Elided(u"Exam Code: "_s + examCode, dateLeft - CodeGap, measure));
    write(dateLeft, CodeRow, dated);

    // Both lines of a title have letters of one size.
    const Title title = TitleOf(examName);
    double titleSize = 1;
    const auto indent = [&] { return title.Rest.isEmpty() ? 0 : measure(TitleLabel, false, titleSize); };
    const auto fits = [&] {
        return measure(title.First.left(LongestLine), false, titleSize) <= UsableWidth
            && indent() + measure(title.Rest.left(LongestLine), false, titleSize) <= UsableWidth;
    };
    while (!fits() && titleSize > SmallestSize)
        titleSize = std::max(titleSize - SizeStep, SmallestSize);
    write(0, TitleRow, Elided(title.First, UsableWidth, measure, titleSize), false, titleSize);
    if (!title.Rest.isEmpty())
        write(indent(), TitleRestRow, Elided(title.Rest, UsableWidth - indent(), measure, titleSize), false, titleSize);

    struct Row {
        QString Label;
        double LabelTop;
        double BarTop;
        qint16 Share;
        QColor Color;
    };
    const Row rows[] = { { u"Required Score:"_s, 110, 106, report.RequiredShare(), ScoreReport::RequiredColor() },
                         { u"Your Score:"_s, 120, 116, report.ObtainedShare(), report.ObtainedColor() } };
    // Whatever font they are printed in, the labels keep clear of the bars.
    double labelSize = 1;
    for (const Row &row : rows)
        labelSize = std::min(labelSize, (GraphLeft - LabelGap - LabelLeft) / measure(row.Label, false, 1));
    for (const Row &row : rows) {
        const double length = std::max(0.0F, Common::PercentOf(row.Share, static_cast<float>(GraphWidth)));
        write(LabelLeft, row.LabelTop, row.Label, false, labelSize);
        plan.Bars.push_back({ QRectF(GraphLeft, row.BarTop, length, BarHeight), row.Color });
        // A bar can be longer than the paper is wide; its share stays readable.
        const QString share = QString::number(row.Share) + u'%';
        write(std::min(GraphLeft + length + LabelGap, UsableWidth - measure(share, false, 1)), row.LabelTop, share);
    }
    // The frame of the graph: where 0 stands, the scale, and its quarters.
    plan.Lines.push_back({ { GraphLeft, GraphTop }, { GraphLeft, GraphBottom } });
    plan.Lines.push_back({ { GraphLeft, GraphBottom }, { GraphLeft + GraphWidth, GraphBottom } });
    for (const double quarter : { 0.25, 0.5, 0.75, 1.0 }) {
        const double x = GraphLeft + GraphWidth * quarter;
        plan.Lines.push_back({ { x, GraphBottom - 1.5 }, { x, GraphBottom } });
    }
    write(GraphLeft, MarksRow, u"0%"_s);
    write(GraphLeft + GraphWidth, MarksRow, u"100%"_s);

    const QString required = u"Required Score: "_s + QString::number(report.RequiredScore);
    const QString obtained = u"Your Score: "_s + QString::number(report.ObtainedScore);
    const QString grade = u"Grade: "_s + (report.IsPassed() ? u"Pass"_s : u"Fail"_s);
    write(0, ScoresRow, required, true);
    write((UsableWidth - measure(obtained, true, 1)) / 2, ScoresRow, obtained, true);
    write(UsableWidth - measure(grade, true, 1), ScoresRow, grade, true);

    const auto centre = [&](double y, const QString &text) { write((UsableWidth - measure(text, false, 1)) / 2, y, text); };
    plan.Lines.push_back({ { 0, FooterRow - 3 }, { UsableWidth, FooterRow - 3 } });
    centre(FooterRow, u"Score report printed with Practorium - The Most Realistic Exam Simulator"_s);
    centre(ClosingRow, u"Good luck with the real one!"_s);
    return plan;
}

void Paint(QPagedPaintDevice &device, const QString &examCode, const QString &examName, const ScoreReport &report)
{
    const auto refused = [] { return Error(InvalidCall, u"The printer does not take the page"_s, u"ReportSheet::Paint()"_s); };
    device.setPageMargins(QMarginsF(0, 0, 0, 0), QPageLayout::Millimeter);
    QPainter painter;
    if (!painter.begin(&device))
        throw refused();
    const double dots = device.logicalDpiX() / MillimetresAnInch;
    const double paperWidth = device.pageLayout().fullRect(QPageLayout::Millimeter).width();
    // The painter counts from the corner of what the printer can print on.
    const QPointF corner
        = QPointF((paperWidth - UsableWidth) / 2, 0) - device.pageLayout().paintRect(QPageLayout::Millimeter).topLeft();
    const auto place = [&](double x, double y) { return (corner + QPointF(x, y)) * dots; };
    const auto measure = [&](const QString &text, bool isBold, double size) {
        return QFontMetricsF(SheetFont(isBold, size), &device).horizontalAdvance(text) / dots;
    };

    const Plan plan = PlanFor(Common::ShownText(examCode), Common::ShownText(examName),
                              QLocale::system().toString(QDate::currentDate(), QLocale::LongFormat), report, measure);
    Artwork::PaintPrintableLogo(painter, QRectF(place(plan.Logo.x(), plan.Logo.y()), plan.Logo.size() * dots));
    painter.setPen(QPen(QColor(120, 130, 142), 0.25 * dots));
    for (const Line &line : plan.Lines)
        painter.drawLine(place(line.From.x(), line.From.y()), place(line.To.x(), line.To.y()));
    for (const Bar &bar : plan.Bars)
        painter.fillRect(QRectF(place(bar.Rectangle.x(), bar.Rectangle.y()), bar.Rectangle.size() * dots), bar.Color);
    painter.setPen(Qt::black);
    for (const Text &text : plan.Texts) {
        painter.setFont(SheetFont(text.IsBold, text.Size));
        // Letters of all sizes have the base line of the usual ones.
        const double ascent = QFontMetricsF(SheetFont(text.IsBold), &device).ascent();
        painter.drawText(place(text.X, text.Y) + QPointF(0, ascent), text.Content);
    }
    if (!painter.end())
        throw refused();
}

void Print(QPrinter &printer, const QString &examCode, const QString &examName, const ScoreReport &report)
{
    printer.setDocName(JobName(examCode));
    Paint(printer, examCode, examName, report);
    if (printer.printerState() == QPrinter::Error)
        throw Error(InvalidCall, u"The printer has not printed the page"_s, u"ReportSheet::Print()"_s);
}

QString JobName(const QString &examCode)
{
    QString code = Common::ShownText(examCode);
    code.removeIf([](QChar character) { return !character.isPrint(); });
    if (code.size() > LongestJobCode)
        code = code.left(LongestJobCode) + u"..."_s;
    return u"Score report: "_s + code;
}

void SavePdf(const QString &path, const QString &examCode, const QString &examName, const ScoreReport &report)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    {
        QPdfWriter writer(&buffer);
        writer.setTitle(JobName(examCode));
        writer.setPageSize(
            QPageSize(QLocale::system().measurementSystem() == QLocale::ImperialUSSystem ? QPageSize::Letter : QPageSize::A4));
        Paint(writer, examCode, examName, report);
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        throw Error(InvalidCall, file.errorString(), u"ReportSheet::SavePdf()"_s);
}

}
