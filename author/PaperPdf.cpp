// SPDX-License-Identifier: Apache-2.0
#include "author/PaperPdf.h"

#include "author/Package.h"
#include "common/Common.h"
#include "common/Error.h"
#include "picture/Picture.h"

#include <QDir>
#include <QFontDatabase>
#include <QGlyphRun>
#include <QGuiApplication>
#include <QIODevice>
#include <QPainter>
#include <QPainterPath>
#include <QPdfWriter>
#include <QRawFont>
#include <QScreen>
#include <QTextLayout>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace Paper {

namespace {

constexpr double MillimetresPerInch = 25.4;
constexpr int DotsPerInch = 1200;
constexpr double PixelsPerInch = 96; // of an exhibit in its own scale
constexpr qsizetype LongestPiece = 10'000; // characters; a text layout cannot hold a text of any length
constexpr double TabWidth = 40; // pixels of a screen; a layout makes them dots of its device
constexpr double GlyphPixelsPerInch = 600; // of a glyph that is a picture
constexpr qsizetype MostGlyphs = 2000; // that are kept
constexpr double FixedShare = 0.9; // of the size of other letters, beside which those of fixed width look larger
constexpr double SmallestShare = 0.75; // of its size, to which a code shrinks so that its lines fit
const QColor Grey(96, 96, 96);

Error Refused(const QString &text)
{
    return Error(InvalidCall, text, u"Paper::WritePdf()"_s);
}

QFont FontOf(Style style)
{
    QFont font;
    font.setStyleHint(style.IsFixed ? QFont::Monospace : QFont::SansSerif);
    if (style.IsFixed) {
        // The usual one, and those of systems that have no usual one.
        font.setFamilies({ u"monospace"_s, u"Consolas"_s, u"Courier New"_s, u"DejaVu Sans Mono"_s });
        font.setFixedPitch(true);
    }
    font.setPointSizeF(style.Points);
    font.setBold(style.IsBold);
    return font;
}

QTextOption OptionOf(Style style, const QPaintDevice &device)
{
    QTextOption option;
    option.setTabStopDistance(TabWidth);
    if (style.IsFixed) {
        const double dots = QFontMetricsF(FontOf(style), &device).horizontalAdvance(u' ');
        const double dotsPerPixel = device.logicalDpiY() / QGuiApplication::primaryScreen()->logicalDotsPerInchY();
        option.setTabStopDistance(CodeLines::Indent * dots / dotsPerPixel);
    }
    return option;
}

// Whether all glyphs of the font are pictures of one size. When such a font is asked
// for an outline, as it is when it gets into a PDF, Qt loses its widths.
bool HasOnlyPictures(const QRawFont &font)
{
    return !font.fontTable("CBLC").isEmpty() && font.fontTable("loca").isEmpty();
}

// Lines end at LF; what cannot be shown is a blank.
QString Printable(QString text)
{
    text.replace(u"\r\n"_s, u"\n"_s).replace(QChar::LineSeparator, u'\n');
    for (QChar &c : text) {
        if (c.category() == QChar::Other_Control && c != u'\n' && c != u'\t')
            c = u' ';
    }
    return text;
}

// Every font has the letters of Latin, in outlines.
bool IsLatin(const QString &text)
{
    constexpr char16_t last = 0x24F;
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() <= last; });
}

// Whether a letter of the line is in no font.
bool Lacks(const QString &text, const QTextLine &line)
{
    if (IsLatin(text))
        return false;
    const QList<QGlyphRun> runs = line.glyphRuns();
    return std::any_of(runs.begin(), runs.end(), [](const QGlyphRun &run) { return run.glyphIndexes().contains(0); });
}

}

Press::Press(QPainter &painter, QString folder)
    : m_painter(painter)
    , m_folder(std::move(folder))
    , m_dotsPerMillimetre(painter.device()->logicalDpiX() / MillimetresPerInch)
{
    m_painter.setRenderHint(QPainter::Antialiasing);
    m_painter.setRenderHint(QPainter::SmoothPixmapTransform);
    // Letters and lines of drawings stay sharp.
    m_painter.setRenderHint(QPainter::LosslessImageRendering);
}

Measures Press::MeasuresOfIt()
{
    return { [this](const QString &text, Style style, double width) { return Broken(text, style, width); },
             [this](const QString &text, Style style) { return WidthOf(text, style); },
             [this](const QString &exhibit) {
                 return QSizeF(Exhibit(exhibit).size()) * (MillimetresPerInch / PixelsPerInch);
             } };
}

std::vector<Line> Press::Broken(const QString &text, Style style, double width)
{
    const QString printable = Printable(text);
    const std::vector<CodeLines::Range> codes = CodeLines::Find(printable);
    const std::vector<Line> samples = CodeSamples(printable, codes, style, width);
    size_t code = 0;
    std::vector<Line> lines;
    qsizetype start = 0;
    for (const QString &paragraph : printable.split(u'\n')) {
        const bool isCode = code < codes.size() && start >= codes[code].Start;
        const Line sample = isCode ? samples[code] : Line{ {}, 0, 0, paragraph.isRightToLeft(), style };
        BreakLine(paragraph, sample, width, lines);
        start += paragraph.size() + 1;
        if (isCode && start > codes[code].Start + codes[code].Length)
            ++code;
    }
    return lines;
}

// How the lines of each code of a text are set: all in one size.
std::vector<Line> Press::CodeSamples(const QString &text, const std::vector<CodeLines::Range> &codes, Style style,
                                     double width) const
{
    style.IsFixed = true;
    style.Points *= FixedShare;
    double share = 1;
    std::vector<Line> samples;
    for (const CodeLines::Range &range : codes) {
        const QString code = text.mid(range.Start, range.Length);
        samples.push_back({ {}, 0, 0, code.isRightToLeft(), style, WidestOf(code, style) });
        constexpr double rounding = 0.995;
        const double needed = rounding * width / samples.back().BlockWidth;
        if (needed >= SmallestShare)
            share = std::min(share, needed);
    }
    for (Line &sample : samples) {
        sample.Style.Points *= share;
        sample.BlockWidth *= share;
    }
    return samples;
}

double Press::WidestOf(const QString &code, Style style) const
{
    double widest = 0;
    for (const QString &text : code.split(u'\n')) {
        QTextLayout layout(text.left(LongestPiece), FontOf(style), m_painter.device());
        layout.setTextOption(OptionOf(style, *m_painter.device()));
        layout.beginLayout();
        const QTextLine line = layout.createLine();
        layout.endLayout();
        widest = std::max(widest, line.naturalTextWidth());
    }
    return widest / m_dotsPerMillimetre;
}

// Adds what becomes of a line of the text.
void Press::BreakLine(const QString &text, const Line &sample, double width, std::vector<Line> &lines)
{
    QTextOption option = OptionOf(sample.Style, *m_painter.device());
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    for (qsizetype start = 0; start == 0 || start < text.size(); start += LongestPiece) {
        const QString piece = text.mid(start, LongestPiece);
        QTextLayout layout(piece, FontOf(sample.Style), m_painter.device());
        layout.setTextOption(option);
        layout.beginLayout();
        for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
            line.setLineWidth(Dots(width));
            Line broken = sample;
            broken.Text = piece.mid(line.textStart(), line.textLength());
            while (broken.Text.endsWith(u' '))
                broken.Text.chop(1);
            broken.Height = line.height() / m_dotsPerMillimetre;
            broken.Ascent = line.ascent() / m_dotsPerMillimetre;
            m_lacksLetters = m_lacksLetters || Lacks(broken.Text, line);
            lines.push_back(std::move(broken));
        }
        layout.endLayout();
    }
}

double Press::WidthOf(const QString &text, Style style) const
{
    return QFontMetricsF(FontOf(style), m_painter.device()).horizontalAdvance(text) / m_dotsPerMillimetre;
}

const QImage &Press::Exhibit(const QString &name)
{
    if (name == m_name)
        return m_image;
    if (!Package::IsPlainName(name))
        throw Refused(u"the exhibit \"%1\" is not a plain file name"_s.arg(name));
    try {
        m_image = Picture::Load(QDir(m_folder).absoluteFilePath(name));
        m_name = name;
    } catch (const Error &error) {
        throw Refused(u"the exhibit \"%1\": %2"_s.arg(name, Common::OneLine(error)));
    }
    return m_image;
}

QRectF Press::Dots(const QRectF &place) const
{
    return { Dots(place.x()), Dots(place.y()), Dots(place.width()), Dots(place.height()) };
}

void Press::Paint(const Page &page)
{
    for (const Mark &mark : page) {
        switch (mark.What) {
        case Mark::Text: PaintText(mark); break;
        case Mark::Picture: PaintPicture(mark); break;
        default: PaintShape(mark); break;
        }
    }
}

void Press::PaintText(const Mark &mark)
{
    QTextOption option = OptionOf(mark.Style, *m_painter.device());
    option.setWrapMode(QTextOption::NoWrap);
    option.setTextDirection(mark.IsRightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
    QTextLayout layout(mark.Content, FontOf(mark.Style), m_painter.device());
    layout.setTextOption(option);
    layout.setCacheEnabled(true); // it is shaped once
    layout.beginLayout();
    QTextLine line = layout.createLine();
    if (line.isValid())
        line.setLineWidth(Dots(mark.Place.width()));
    layout.endLayout();
    if (!line.isValid())
        return;
    // Not by the layout's alignment, which goes by the text's direction.
    const QRectF place = Dots(mark.Place);
    const double natural = line.naturalTextRect().left();
    const double left = place.left() - natural + (mark.IsAtRight ? place.width() - line.naturalTextWidth() : 0);
    m_painter.setPen(mark.Style.IsGrey ? Grey : QColor(Qt::black));
    if (IsLatin(mark.Content))
        return layout.draw(&m_painter, { left, place.top() });
    for (const QGlyphRun &run : line.glyphRuns())
        PaintRun(run, { left, place.top() });
}

void Press::PaintRun(const QGlyphRun &run, QPointF origin)
{
    if (!HasOnlyPictures(run.rawFont()))
        m_painter.drawGlyphRun(origin, run);
    const QList<quint32> glyphs = run.glyphIndexes();
    const QList<QPointF> positions = run.positions();
    for (qsizetype i = 0; i < glyphs.size(); ++i) {
        const Glyph &glyph = PictureOf(run.rawFont(), glyphs.at(i));
        if (!glyph.Image.isNull())
            m_painter.drawImage(glyph.Place.translated(origin + positions.at(i)), glyph.Image);
    }
}

const Press::Glyph &Press::PictureOf(const QRawFont &font, quint32 glyph)
{
    const std::pair key(font, glyph);
    const auto known = m_glyphs.constFind(key);
    if (known != m_glyphs.constEnd())
        return *known;
    if (m_glyphs.size() >= MostGlyphs)
        m_glyphs.clear();
    Glyph &made = m_glyphs[key];
    if (font.boundingRect(glyph).isEmpty() || (!HasOnlyPictures(font) && !font.pathForGlyph(glyph).isEmpty()))
        return made;
    const double dots = std::max(m_dotsPerMillimetre * MillimetresPerInch / GlyphPixelsPerInch, 1.0); // in a pixel
    QRawFont small = font;
    small.setPixelSize(font.pixelSize() / dots);
    const QRect place = small.boundingRect(glyph).toAlignedRect().adjusted(-1, -1, 1, 1);
    made.Image = QImage(place.size(), QImage::Format_ARGB32_Premultiplied);
    made.Image.fill(Qt::transparent);
    made.Place = QRectF(QPointF(place.topLeft()) * dots, QSizeF(place.size()) * dots);
    QGlyphRun run;
    run.setRawFont(small);
    run.setGlyphIndexes({ glyph });
    run.setPositions({ QPointF() });
    QPainter painter(&made.Image);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawGlyphRun(-place.topLeft(), run);
    return made;
}

void Press::PaintPicture(const Mark &mark)
{
    m_painter.drawImage(Dots(mark.Place), Exhibit(mark.Content));
}

void Press::PaintShape(const Mark &mark)
{
    const QRectF place = Dots(mark.Place);
    m_painter.setPen(QPen(mark.Style.IsGrey ? Grey : QColor(Qt::black), Dots(0.25)));
    m_painter.setBrush(Qt::NoBrush);
    if (mark.What == Mark::Circle)
        m_painter.drawEllipse(place);
    else if (mark.What == Mark::Square)
        m_painter.drawRect(place);
    else
        m_painter.drawLine(place.topLeft(), place.topRight());
}

Printed WritePdf(QIODevice &file, const Plan &plan, QSizeF sheet, const QString &title, const QString &folder,
                 const std::function<void()> &step)
{
    if (QFontDatabase::families().isEmpty())
        throw Refused(u"this system has no font"_s);
    QPdfWriter writer(&file);
    writer.setResolution(DotsPerInch);
    writer.setPageSize(QPageSize(sheet, QPageSize::Millimeter, QString(), QPageSize::FuzzyMatch));
    writer.setPageMargins(QMarginsF());
    writer.setTitle(title);
    writer.setCreator(u"Practorium"_s);
    QPainter painter;
    if (!painter.begin(&writer))
        throw Refused(u"no page can be painted: "_s + file.errorString());
    Press press(painter, folder);
    const std::vector<Page> pages = plan(press.MeasuresOfIt());
    for (size_t i = 0; i < pages.size(); ++i) {
        step();
        if (i > 0)
            writer.newPage();
        press.Paint(pages[i]);
    }
    if (!painter.end())
        throw Refused(file.errorString());
    return { static_cast<int>(pages.size()), press.LacksLetters() };
}

}
