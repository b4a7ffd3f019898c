#include "shell/frmReport.h"

#include "common/Error.h"
#include "shell/ReportSheet.h"
#include "tests/support/Windows.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPdfWriter>
#include <QPrinter>
#include <QPushButton>

using namespace Windows;

namespace {

const QString PrintFailure = u"Error printing report"_s;

// A printer that cannot print up to the edges of its sheet, which can be looked at.
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
    double Left() const { return (m_picture.width() / 10.0 - 170) / 2; }
    // Where there is ink in a part of the sheet, in millimetres, x from the left margin.
    QRectF Ink(double x, double y, double width, double height) const
    {
        QRect ink;
        const QRect part = QRectF((Left() + x) * 10, y * 10, width * 10, height * 10).toRect() & m_picture.rect();
        for (int row = part.top(); row <= part.bottom(); ++row) {
            for (int column = part.left(); column <= part.right(); ++column)
                ink |= qGray(m_picture.pixel(column, row)) < 245 ? QRect(column, row, 1, 1) : QRect();
        }
        return QRectF(ink.x() / 10.0 - Left(), ink.y() / 10.0, ink.width() / 10.0, ink.height() / 10.0);
    }
    QColor At(double x, double y) const { return m_picture.pixelColor(qRound((Left() + x) * 10), qRound(y * 10)); }

    bool setPageMargins(const QMarginsF &, QPageLayout::Unit) override { return false; }

protected:
    QPaintDevice *redirected(QPoint *offset) const override
    {
        *offset = -pageLayout().paintRectPixels(254).topLeft();
        return &m_picture;
    }

private:
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

    void AnswerRightly(int items)
    {
        for (int number = 1; number <= 4; ++number)
            Globals::CurrentExam->Questions().Item(number)->SetAnswer(number <= items ? u"1"_s : u""_s);
    }

    Messages Boxes;
};

}

TEST_F(ReportWindowTest, ShowsTheResult)
{
    struct Row { int Right; QString Headline; QColor Colour; };
    for (const Row &row : { Row{ 2, u"Sorry!"_s, { 228, 78, 39 } }, Row{ 3, u"Contratulations!"_s, { 153, 239, 58 } } }) {
        AnswerRightly(row.Right);
        SCOPED_TRACE(row.Right);
        frmReport window(nullptr);
        window.Load();
        Show(&window);
        EXPECT_EQ(Find<QLabel>(&window, u"lblMessage"_s)->text(),
                  row.Headline + u"\r\nA score of 700 or better was required to pass this exam.\r\nYour score was "_s
                      + QString::number(row.Right * 250));
        const auto box = [&](const QString &name) { return Find<QWidget>(&window, name)->geometry(); };
        const int width = box(u"picScores"_s).width();
        EXPECT_NEAR(box(u"shpRequired"_s).width(), width * 0.7, 1);
        EXPECT_NEAR(box(u"shpObtained"_s).width(), width * row.Right / 4.0, 1);
        const QImage picture = Find<QWidget>(&window, u"picScores"_s)->grab().toImage();
        EXPECT_EQ(picture.pixelColor(3, box(u"shpRequired"_s).center().y()), QColor(58, 153, 239));
        EXPECT_EQ(picture.pixelColor(3, box(u"shpObtained"_s).center().y()), row.Colour);
        EXPECT_LT(box(u"fraScores"_s).bottom(), box(u"cmdPrint"_s).top()) << "nothing overlaps";
        EXPECT_NEAR(box(u"cmdExit"_s).right(), box(u"fraScores"_s).right(), 1);
        EXPECT_EQ(box(u"cmdSavePdf"_s).top(), box(u"cmdPrint"_s).top());
    }
}

TEST_F(ReportWindowTest, PrintedPage)
{
    for (const QPageSize::PageSizeId size : { QPageSize::A4, QPageSize::Letter }) {
        SCOPED_TRACE(size);
        Sheet sheet(size);
        ReportSheet::Paint(sheet, QString(99, u'C'), u"word "_s.repeated(60), { 1000, 700, 400 });
        const QRectF all = sheet.Ink(-20, 0, 210, 297);
        EXPECT_TRUE(all.left() > -1 && all.right() < 171 && all.bottom() < 262) << all.bottom();
        const QRectF logo = sheet.Ink(0, 0, 170, 54);
        EXPECT_TRUE(std::abs(logo.left()) < 1 && std::abs(logo.width() - 46) < 2 && logo.height() > 8) << logo.width();
        // The code, the date, both lines of the title, the scores and the last two lines.
        for (const auto &[x, y, width] : { std::tuple{ 0, 55, 60 }, { 150, 55, 20 }, { 0, 60, 170 }, { 12, 65, 150 }, { 0, 145, 50 },
                                           { 60, 145, 50 }, { 150, 145, 20 }, { 0, 250, 170 }, { 0, 255, 170 } }) {
            const QRectF line = sheet.Ink(x, y, width, 5);
            EXPECT_TRUE(line.height() > 1.2 && line.height() < 4 && line.width() > 10) << y << ": " << line.height();
        }
        EXPECT_NEAR(sheet.Ink(0, 255, 170, 5).center().x(), 85, 1);
        for (const auto &[y, share, colour] : { std::tuple{ 106, 70, QColor(58, 153, 239) }, { 116, 40, QColor(228, 78, 39) } }) {
            for (const double top : { 0.3, 7.7 }) {
                EXPECT_EQ(sheet.At(31, y + top), colour) << y;
                EXPECT_EQ(sheet.At(29.7 + share * 1.3, y + top), colour) << y;
                EXPECT_EQ(sheet.At(30.4 + share * 1.3, y + top), QColor(Qt::white)) << y;
            }
        }
    }
}

TEST_F(ReportWindowTest, Printed)
{
    const struct { QString Code, Job; } rows[] = {
        { u"EX-101"_s, u"EX-101"_s }, { u"A\n\x01" "B\0C"_s, u"AB"_s }, { QString(300, u'x'), QString(60, u'x') + u"..."_s },
    };
    for (const auto &row : rows) {
        QPrinter printer;
        printer.setOutputFileName(Sandbox::Path(u"printed.pdf"_s));
        ReportSheet::Print(printer, row.Code, u"Sample"_s, { 1000, 700, 400 });
        EXPECT_EQ(printer.docName(), u"Score report: "_s + row.Job) << "in the queue";
        EXPECT_EQ(Sandbox::ReadFile(Sandbox::Path(u"printed.pdf"_s)).count("/Type /Page\n"), 1);
    }
}

TEST_F(ReportWindowTest, SavedAsPdf)
{
    frmReport window(nullptr);
    window.Load();
    Show(&window);
    const auto save = [&](const QString &name) {
        WhenOpen dialog(u"QFileDialog"_s, [&](QWidget *chooser) {
            Find<QLineEdit>(chooser, u"fileNameEdit"_s)->setText(name);
            Click(chooser->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Save));
        });
        Click(&window, u"cmdSavePdf"_s);
    };
    save(Sandbox::Path(u"second.pdf"_s));
    const QByteArray bytes = Sandbox::ReadFile(Sandbox::Path(u"second.pdf"_s));
    EXPECT_TRUE(bytes.startsWith("%PDF-"));
    EXPECT_EQ(bytes.count("/Type /Page\n"), 1) << "one page";
    // A file where a folder is wanted.
    Boxes.Expect(PrintFailure, CriticalMessage);
    save(Sandbox::Path(u"second.pdf/report.pdf"_s));
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST_F(ReportWindowTest, WhatCannotBeWritten)
{
    const ScoreReport report{ 1000, 700, 750 };
    Sandbox::WriteFile(Sandbox::Path(u"a file"_s), "kept");
    for (const QString &path : { Sandbox::Path(u"none/report.pdf"_s), Sandbox::Path(u"."_s) })
        EXPECT_THROW(ReportSheet::SavePdf(path, u"E"_s, u"N"_s, report), Error) << path.toStdString();
    EXPECT_THROW(ReportSheet::SavePdf(Sandbox::Path(u"a file"_s), u"E"_s, u"N"_s, { 0, 0, 0 }), Error);
    EXPECT_EQ(Sandbox::ReadFile(Sandbox::Path(u"a file"_s)), "kept") << "a failure leaves what was there";
}

TEST_F(ReportWindowTest, NoPrinter)
{
    // Qt may say that the device takes no page.
    const QtMessageHandler before = qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    frmReport window(nullptr);
    window.Load();
    Show(&window);
    Boxes.Expect(PrintFailure, CriticalMessage);
    Click(&window, u"cmdPrint"_s);
    qInstallMessageHandler(before);
    EXPECT_TRUE(window.isEnabled());
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}
