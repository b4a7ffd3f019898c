// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "author/Paper.h"
#include "common/CodeLines.h"

#include <QHash>
#include <QImage>
#include <QRawFont>

#include <functional>

class QGlyphRun;
class QIODevice;
class QPainter;

// Planned pages as they are painted.
namespace Paper {

// Paints on sheets of a device, and measures what it will paint. The exhibits lie
// in a folder. The painter must be active, and outlive the object.
class Press {
public:
    Press(QPainter &painter, QString folder);

    // Use the object, which must outlive them.
    Measures MeasuresOfIt();
    // Whether a text was measured with a letter that no font of the system has. It
    // is painted as a box.
    bool LacksLetters() const { return m_lacksLetters; }
    // On the device's current page, whose left upper corner is that of the sheet.
    void Paint(const Page &page);

private:
    std::vector<Line> Broken(const QString &text, Style style, double width);
    void BreakLine(const QString &text, const Line &sample, double width, std::vector<Line> &lines);
    std::vector<Line> CodeSamples(const QString &text, const std::vector<CodeLines::Range> &codes, Style style,
                                  double width) const;
    double WidestOf(const QString &code, Style style) const;
    double WidthOf(const QString &text, Style style) const;
    const QImage &Exhibit(const QString &name);
    void PaintText(const Mark &mark);
    void PaintRun(const QGlyphRun &run, QPointF origin);
    // A glyph that a PDF would leave blank because it has no outline, such as an
    // emoji in colours.
    struct Glyph {
        QImage Image; // null for a glyph that is drawn like any other
        QRectF Place; // from its origin, in dots
    };
    const Glyph &PictureOf(const QRawFont &font, quint32 glyph);
    void PaintPicture(const Mark &mark);
    void PaintShape(const Mark &mark);

    double Dots(double millimetres) const { return millimetres * m_dotsPerMillimetre; }
    QRectF Dots(const QRectF &place) const;

    QPainter &m_painter;
    QString m_folder;
    double m_dotsPerMillimetre;
    bool m_lacksLetters = false;
    QString m_name; // of the exhibit that is kept
    QImage m_image;
    QHash<std::pair<QRawFont, quint32>, Glyph> m_glyphs;
};

// What PlanExam and PlanKey make with a sheet and measures.
using Plan = std::function<std::vector<Page>(const Measures &measures)>;

struct Printed {
    int Pages = 0;
    bool LacksLetters = false;
};

// Writes the pages as PDF, with their fonts in it, to the device. step is called
// before each page is painted; an exception of it ends the work. Raises InvalidCall
// for an exhibit that cannot be shown, with its name, when the system has no font,
// and when the device takes no more.
Printed WritePdf(QIODevice &file, const Plan &plan, QSizeF sheet, const QString &title, const QString &folder,
                 const std::function<void()> &step);

}
