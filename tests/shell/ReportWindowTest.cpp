// SPDX-License-Identifier: Apache-2.0
#include "shell/view/frmReport.h"

#include "shell/view/SheetPainter.h"
#include "tests/support/Sketch.h"

#include <QBitmap>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QPdfWriter>
#include <QPrinter>
#include <QPushButton>

using namespace Windows;

namespace {

// A printer that cannot print up to the edges of its sheet, which can be looked
// at: ten dots a millimetre, x from the left margin.
class Sheet : public QPdfWriter {
public:
    explicit Sheet(QPageSize::PageSizeId size)
        : QPdfWriter(Sandbox::Path(u"sheet.pdf"_s))
    {
        setResolution(254);
        setPageSize(QPageSize(size));
        QPdfWriter::setPageMargins({ 9, 9, 9, 9 }, QPageLayout::Millimeter);
        m_picture = QImage(pageLayout().fullRectPixels(254).size(), QImage::Format_RGB32);
        m_picture.fill(Qt::white);
        m_picture.setDotsPerMeterX(10'000);
        m_picture.setDotsPerMeterY(10'000);
    }
    bool setPageMargins(const QMarginsF &, QPageLayout::Unit) override { return false; }
    QColor At(double x, double y) const
    {
        return m_picture.pixelColor(qRound(x * 10) + m_picture.width() / 2 - 850, qRound(y * 10));
    }
    // Where there is ink in a part of the sheet.
    QRectF Ink(double x, double y, double width, double height) const
    {
        const QRect dots(qRound(x * 10) + m_picture.width() / 2 - 850, qRound(y * 10), qRound(width * 10), qRound(height * 10));
        const QImage ink = m_picture.copy(dots).createMaskFromColor(qRgb(255, 255, 255), Qt::MaskInColor);
        const QRectF inside = QRegion(QBitmap::fromImage(ink)).boundingRect();
        return QRectF(x + inside.x() / 10, y + inside.y() / 10, inside.width() / 10, inside.height() / 10);
    }
    QPaintDevice *redirected(QPoint *offset) const override
    {
        *offset = -pageLayout().paintRectPixels(254).topLeft();
        return &m_picture;
    }
    mutable QImage m_picture;
};

class ReportWindowTest : public testing::Test {
protected:
    ReportWindowTest()
    {
        // Whatever printers this machine has, nothing is to be printed there.
        qputenv("CUPS_SERVER", Sandbox::Path(u"no server"_s).toLocal8Bit());
        Globals::CurrentExam = NewExam({ u"EX-101"_s, u"Sample (A \\ B)"_s, 1000, 700, 60 });
        for (int i = 0; i < 4; ++i)
            AddItem(*Globals::CurrentExam, { u"?"_s, { u"*yes"_s, u"no"_s } });
    }
    ~ReportWindowTest() override { Globals::CurrentExam.reset(); }

    Messages Boxes;
};

}

TEST_F(ReportWindowTest, ShowsTheResult)
{
    for (const auto &[right, headline, colour] :
         { std::tuple{ 2, u"Sorry!"_s, qRgb(228, 78, 39) }, { 3, u"Contratulations!"_s, qRgb(153, 239, 58) } }) {
        for (int number = 1; number <= right; ++number)
            Globals::CurrentExam->Questions().Item(number)->SetAnswer(u"1"_s);
        SCOPED_TRACE(right);
        frmReport window(nullptr);
        window.Load();
        Show(&window);
        window.setWindowState(Qt::WindowNoState);
        window.resize(1200, 700);
        const QString result = u"%1\r\nA score of 700 or better was required to pass this exam.\r\nYour score was %2"_s;
        EXPECT_EQ(Sketch(&window),
                  (QStringList{
                      u"Score Report"_s, u"... picLogo ..."_s, u"... "_s + result.arg(headline).arg(right * 250) + u" ..."_s,
                      u"... Required Score: 700 shpRequired ..."_s, u"... Your Score: %1 shpObtained ..."_s.arg(right * 250),
                      u"... 0% ... 100% ..."_s, u"... &Print &Save as PDF... &Exit ..."_s }));
        const auto box = [&](const QString &name) { return PlaceOf(Find(&window, name)); };
        const QImage picture = window.grab().toImage();
        const QRect area = box(u"picScores"_s);
        for (const auto &[name, share, fill] :
             { std::tuple{ u"shpRequired"_s, 0.7, qRgb(58, 153, 239) }, { u"shpObtained"_s, right / 4.0, colour } }) {
            const QRect bar = box(name);
            EXPECT_TRUE(bar.left() == area.left() && std::abs(bar.width() - area.width() * share) <= 1) << bar.width();
            EXPECT_EQ(Colours(Part(picture, bar)), QSet<QRgb>{ fill });
            EXPECT_EQ(Colours(Part(picture, { bar.right() + 1, bar.y(), area.right() - bar.right(), bar.height() })),
                      QSet<QRgb>{ qRgb(255, 255, 255) });
        }
        EXPECT_EQ(box(u"shpRequired"_s).top() - area.top(), area.bottom() - box(u"shpObtained"_s).bottom());
        // The headline on a band of its colour in the middle, below it two lines of text.
        const QRect text = box(u"lblMessage"_s), logo = box(u"picLogo"_s), scores = box(u"fraScores"_s),
                    print = box(u"cmdPrint"_s);
        int dots = 0;
        const QImage band = Part(picture, text);
        for (int dot = 0; dot < band.width() * band.height(); ++dot)
            dots += band.pixel(dot % band.width(), dot / band.width()) == colour;
        EXPECT_GT(dots, 30 * 60);
        for (const int line : { 1, 2 }) {
            const int height = Find(&window, u"lblMessage"_s)->fontMetrics().lineSpacing();
            EXPECT_TRUE(HasInk(picture, { text.x(), text.bottom() - 18 - line * height, text.width(), height - 2 })) << line;
        }
        // From top to bottom: 500 twips, the logo, the result, 200 twips, the scores, and the buttons below their sides.
        EXPECT_TRUE(logo.top() == 33 && std::abs(text.top() - logo.bottom()) <= 2
                    && std::abs(scores.top() - text.bottom() - 14) <= 1);
        for (const QRect &centred : { logo, text, scores })
            EXPECT_NEAR(centred.center().x(), window.rect().center().x(), 1);
        EXPECT_TRUE(print.left() == scores.left() && print.top() == window.height() - 2 * print.height()
                    && print.top() > scores.bottom());
        EXPECT_EQ(box(u"cmdExit"_s).bottomRight(), QPoint(scores.right(), print.bottom()));
        window.resize(1200, 500);
        EXPECT_TRUE(box(u"picLogo"_s).width() < logo.width() && box(u"picScores"_s).width() < area.width());
    }
}

TEST_F(ReportWindowTest, PrintedPage)
{
    for (const QPageSize::PageSizeId size : { QPageSize::A4, QPageSize::Letter }) {
        Sheet sheet(size);
        SheetPainter::Paint(sheet, { QString(99, u'C'), u"word "_s.repeated(60), u"Friday"_s, { 1000, 700, 400 } });
        EXPECT_TRUE(QRectF(-1, 10, 172, 252).contains(sheet.Ink(-19, 0, 208, 279))) << size;
        const QRectF logo = sheet.Ink(0, 0, 170, 54);
        EXPECT_TRUE(std::abs(logo.left()) < 1 && std::abs(logo.width() - 46) < 2 && logo.height() > 8) << logo.width();
        // Texts, each looked for in a part of its row: where they begin (or, centred, stand) and how far they go at least.
        const struct {
            int X, Y, Width;
            double At, Least;
        } texts[] = {
            { 0, 55, 170, 0, 168 },  { 0, 60, 170, 0, 120 },  { 0, 110, 29, 5, 20 },   { 122, 110, 48, 123, 4 },
            { 0, 120, 29, 5, 15 },   { 83, 120, 80, 84, 4 },  { 20, 132, 30, 30, 3 },  { 140, 132, 40, 160, 6 },
            { 0, 145, 170, 0, 168 }, { 0, 250, 170, 85, 80 }, { 0, 255, 170, 85, 20 }, { 50, 145, 80, 85, 15 },
        };
        for (const auto &text : texts) {
            const QRectF ink = sheet.Ink(text.X, text.Y, text.Width, 5);
            EXPECT_TRUE(ink.height() > 1.2 && ink.height() < 4.2 && ink.width() > text.Least) << text.Y << ' ' << ink.width();
            EXPECT_NEAR(text.At == 85 ? ink.center().x() : ink.left() - 0.4, text.At, 0.6) << text.Y;
        }
        EXPECT_GT(sheet.Ink(0, 65, 170, 5).left(), 10) << "the rest of a long title";
        // The graph with its quarters, and the line above the foot.
        for (const QPointF place : { QPointF(30, 103), QPointF(80, 130), QPointF(62.5, 129), QPointF(95, 129),
                                     QPointF(127.5, 129), QPointF(160, 129), QPointF(5, 247), QPointF(165, 247) })
            EXPECT_FALSE(sheet.Ink(place.x() - 0.5, place.y() - 0.5, 1, 1).isEmpty()) << place.x() << ' ' << place.y();
        for (const auto &[y, share, colour] :
             { std::tuple{ 106, 70, QColor(58, 153, 239) }, { 116, 40, QColor(228, 78, 39) } }) {
            const double end = 30 + share * 1.3;
            for (const auto &[x, ink] : { std::pair{ 30.4, colour }, { end - 0.3, colour }, { end + 0.4, QColor(Qt::white) } })
                EXPECT_TRUE(sheet.At(x, y + 0.3) == ink && sheet.At(x, y + 7.7) == ink) << size << ' ' << x << ' ' << y;
        }
    }
}

TEST_F(ReportWindowTest, PrintedAndSavedFromTheWindow)
{
    frmReport window(nullptr);
    window.Load();
    Show(&window);
    const auto save = [&](const QString &name) {
        WhenOpen dialog(u"QFileDialog"_s, [&](QWidget *chooser) {
            Find<QLineEdit>(chooser, u"fileNameEdit"_s)->setText(Sandbox::Path(name));
            Click(chooser->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Save));
        });
        Click(&window, u"cmdSavePdf"_s);
        return Sandbox::ReadFile(Sandbox::Path(u"report.pdf"_s));
    };
    QPrinter printer;
    printer.setOutputFileName(Sandbox::Path(u"printed.pdf"_s));
    SheetPainter::Print(printer, { u"EX-101"_s, u"Sample"_s, u"Friday"_s, { 1000, 700, 400 } });
    EXPECT_EQ(printer.docName(), u"Score report: EX-101"_s);
    EXPECT_EQ(Sandbox::ReadFile(Sandbox::Path(u"printed.pdf"_s)).count("/Type /Page\n"), 1);
    const QByteArray saved = save(u"report.pdf"_s);
    EXPECT_TRUE(saved.startsWith("%PDF-") && saved.count("/Type /Page\n") == 1) << "one page";
    EXPECT_THROW(SheetPainter::SavePdf(Sandbox::Path(u"report.pdf"_s), { u"E"_s, u"N"_s, u"D"_s, { 0, 0, 0 } }), Error);
    // A file in the place of a folder, and no printer, where Qt may say that the device takes no page.
    for (int i = 0; i < 2; ++i)
        Boxes.Expect(u"Error printing report"_s, CriticalMessage);
    EXPECT_EQ(save(u"report.pdf/report.pdf"_s), saved) << "a failure leaves what was there";
    const QtMessageHandler before = qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    Click(&window, u"cmdPrint"_s);
    qInstallMessageHandler(before);
    EXPECT_TRUE(window.isEnabled() && !QApplication::overrideCursor());
}
