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
#include <QSaveFile>

using namespace Qt::Literals::StringLiterals;

namespace ReportSheet {

namespace {

constexpr qsizetype LongTitle = 128; // characters
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
constexpr double PointSize = 9;
constexpr double MillimetresAnInch = 25.4;

QFont SheetFont(bool isBold)
{
    QFont font;
    font.setPointSizeF(PointSize);
    font.setBold(isBold);
    return font;
}

const QString TitleLabel = u"Exam Title: "_s;

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
    const auto write = [&](double x, double y, const QString &text, bool isBold = false) {
        plan.Texts.push_back({ x, y, text, isBold, UsableWidth - x });
    };
    plan.Logo = QRectF(0, LogoTop, LogoWidth, LogoWidth / Artwork::LogoAspect);

    write(0, CodeRow, u"Exam Code: "_s + examCode);
    const QString dated = u"Dated: "_s + date;
    write(UsableWidth - measure(dated, false), CodeRow, dated);
    const Title title = TitleOf(examName);
    write(0, TitleRow, title.First);
    if (!title.Rest.isEmpty())
        write(measure(TitleLabel, false), TitleRestRow, title.Rest);

    struct Row {
        QString Label;
        double LabelTop;
        double BarTop;
        qint16 Share;
        QColor Color;
    };
    for (const Row &row : { Row{ u"Required Score:"_s, 110, 106, report.RequiredShare(), ScoreReport::RequiredColor() },
                            Row{ u"Your Score:"_s, 120, 116, report.ObtainedShare(), report.ObtainedColor() } }) {
        const double length = Common::PercentOf(row.Share, static_cast<float>(GraphWidth));
        // Whatever font it is printed in, the label keeps clear of the bar.
        plan.Texts.push_back({ LabelLeft, row.LabelTop, row.Label, false, GraphLeft - LabelGap - LabelLeft });
        plan.Bars.push_back({ QRectF(GraphLeft, row.BarTop, length, BarHeight), row.Color });
        write(GraphLeft + std::max(length, 0.0) + LabelGap, row.LabelTop, QString::number(row.Share) + u'%');
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
    write((UsableWidth - measure(obtained, true)) / 2, ScoresRow, obtained, true);
    write(UsableWidth - measure(grade, true), ScoresRow, grade, true);

    const auto centre = [&](double y, const QString &text) { write((UsableWidth - measure(text, false)) / 2, y, text); };
    plan.Lines.push_back({ { 0, FooterRow - 3 }, { UsableWidth, FooterRow - 3 } });
    centre(FooterRow, u"Score report printed with Practorium - The Most Realistic Exam Simulator"_s);
    centre(ClosingRow, u"Good luck with the real one!"_s);
    return plan;
}

void Print(QPagedPaintDevice &device, const QString &examCode, const QString &examName, const ScoreReport &report)
{
    const auto refused = [] { return Error(InvalidCall, u"The printer does not take the page"_s, u"ReportSheet::Print()"_s); };
    device.setPageMargins(QMarginsF(0, 0, 0, 0), QPageLayout::Millimeter);
    QPainter painter;
    if (!painter.begin(&device))
        throw refused();
    const double dots = device.logicalDpiX() / MillimetresAnInch;
    const QSizeF paper = device.pageLayout().fullRect(QPageLayout::Millimeter).size();
    const QRectF paintable = device.pageLayout().paintRect(QPageLayout::Millimeter);
    const QPointF corner
        = QPointF((paper.width() - UsableWidth) / 2, std::max(0.0, (paper.height() - UsableHeight) / 2)) - paintable.topLeft();
    const auto place = [&](double x, double y) { return (corner + QPointF(x, y)) * dots; };
    const auto measure = [&](const QString &text, bool isBold) {
        return QFontMetricsF(SheetFont(isBold), &device).horizontalAdvance(text) / dots;
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
        QFont font = SheetFont(text.IsBold);
        const double width = measure(text.Content, text.IsBold);
        if (width > text.Room && text.X < GraphLeft)
            font.setPointSizeF(PointSize * text.Room / width);
        painter.setFont(font);
        painter.drawText(place(text.X, text.Y) + QPointF(0, QFontMetricsF(font, &device).ascent()), text.Content);
    }
    if (!painter.end())
        throw refused();
}

void SavePdf(const QString &path, const QString &examCode, const QString &examName, const ScoreReport &report)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    {
        QPdfWriter writer(&buffer);
        writer.setTitle(u"Score report: "_s + Common::ShownText(examCode));
        writer.setPageSize(
            QPageSize(QLocale::system().measurementSystem() == QLocale::ImperialUSSystem ? QPageSize::Letter : QPageSize::A4));
        Print(writer, examCode, examName, report);
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        throw Error(InvalidCall, file.errorString(), u"ReportSheet::SavePdf()"_s);
}

}
