// SPDX-License-Identifier: Apache-2.0
#include "shell/view/SheetPainter.h"

#include "common/Error.h"
#include "resources/Artwork.h"
#include "shell/view/ScoreColors.h"

#include <QBuffer>
#include <QLocale>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QPrinter>
#include <QSaveFile>

using namespace Qt::Literals::StringLiterals;

namespace SheetPainter {

namespace {

constexpr double PointSize = 9;
constexpr double LineWidth = 0.25; // millimetres
constexpr double MillimetresAnInch = 25.4;
constexpr QColor LineColor(120, 130, 142);

QFont SheetFont(bool isBold, double size = 1)
{
    QFont font;
    font.setPointSizeF(PointSize * size);
    font.setBold(isBold);
    return font;
}

// Millimetres of the plan as dots of a device.
class Ruler {
public:
    explicit Ruler(QPagedPaintDevice &device)
        : m_device(device)
        , m_dots(device.logicalDpiX() / MillimetresAnInch)
    {
        const QPageLayout layout = device.pageLayout();
        const double paperWidth = layout.fullRect(QPageLayout::Millimeter).width();
        // The painter counts from the corner of what the printer can print on.
        m_corner
            = QPointF((paperWidth - ReportSheet::UsableWidth) / 2, 0) - layout.paintRect(QPageLayout::Millimeter).topLeft();
    }

    double Dots(double length) const { return length * m_dots; }
    QPointF Place(QPointF point) const { return (m_corner + point) * m_dots; }
    QRectF Place(const QRectF &area) const { return { Place(area.topLeft()), area.size() * m_dots }; }
    double WidthOf(const QString &text, bool isBold, double size) const
    {
        return QFontMetricsF(SheetFont(isBold, size), &m_device).horizontalAdvance(text) / m_dots;
    }
    double AscentOf(bool isBold) const { return QFontMetricsF(SheetFont(isBold), &m_device).ascent(); }

private:
    QPagedPaintDevice &m_device;
    double m_dots;
    QPointF m_corner;
};

}

void Paint(QPagedPaintDevice &device, const ReportSheet::Data &data)
{
    const auto refused = [] { return Error(InvalidCall, u"The printer does not take the page"_s, u"SheetPainter::Paint()"_s); };
    device.setPageMargins(QMarginsF(0, 0, 0, 0), QPageLayout::Millimeter);
    QPainter painter;
    if (!painter.begin(&device))
        throw refused();
    const Ruler ruler(device);
    const ReportSheet::Plan plan = ReportSheet::PlanFor(data, [&](const QString &text, bool isBold, double size) {
        return ruler.WidthOf(text, isBold, size);
    });
    Artwork::PaintPrintableLogo(painter,
                                ruler.Place(QRectF(0, ReportSheet::LogoTop, ReportSheet::LogoWidth,
                                                   ReportSheet::LogoWidth / Artwork::LogoAspect)));
    painter.setPen(QPen(LineColor, ruler.Dots(LineWidth)));
    for (const ReportSheet::Line &line : plan.Lines)
        painter.drawLine(ruler.Place(line.From), ruler.Place(line.To));
    for (const ReportSheet::Bar &bar : plan.Bars)
        painter.fillRect(ruler.Place(bar.Rectangle), ColorOf(bar.Kind));
    painter.setPen(Qt::black);
    for (const ReportSheet::Text &text : plan.Texts) {
        painter.setFont(SheetFont(text.IsBold, text.Size));
        // Letters of all sizes have the base line of the usual ones.
        painter.drawText(ruler.Place(QPointF(text.X, text.Y)) + QPointF(0, ruler.AscentOf(text.IsBold)), text.Content);
    }
    if (!painter.end())
        throw refused();
}

void Print(QPrinter &printer, const ReportSheet::Data &data)
{
    printer.setDocName(ReportSheet::JobName(data.ExamCode));
    Paint(printer, data);
    if (printer.printerState() == QPrinter::Error)
        throw Error(InvalidCall, u"The printer has not printed the page"_s, u"SheetPainter::Print()"_s);
}

void SavePdf(const QString &path, const ReportSheet::Data &data)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    {
        QPdfWriter writer(&buffer);
        writer.setTitle(ReportSheet::JobName(data.ExamCode));
        writer.setPageSize(
            QPageSize(QLocale::system().measurementSystem() == QLocale::ImperialUSSystem ? QPageSize::Letter : QPageSize::A4));
        Paint(writer, data);
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        throw Error(InvalidCall, file.errorString(), u"SheetPainter::SavePdf()"_s);
}

}
