#include "shell/frmReport.h"

#include "common/Error.h"
#include "shell/ReportSheet.h"
#include "tests/support/Windows.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

using namespace Windows;

namespace {

const QString PrintFailure = u"Error printing report"_s;

class ReportWindowTest : public testing::Test {
protected:
    ReportWindowTest()
    {
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

TEST_F(ReportWindowTest, SavedAsPdf)
{
    AnswerRightly(3);
    const QString path = Sandbox::Path(u"report.pdf"_s);
    ReportSheet::SavePdf(path, u"EX-101"_s, QString(300, u'x') + u" (A \\ B)"_s, ScoreReport::Of(*Globals::CurrentExam));
    const QByteArray bytes = Sandbox::ReadFile(path);
    EXPECT_TRUE(bytes.startsWith("%PDF-"));
    EXPECT_EQ(bytes.count("/Type /Page\n"), 1) << "one page";

    // From the window, by its dialog.
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
    EXPECT_TRUE(Sandbox::ReadFile(Sandbox::Path(u"second.pdf"_s)).startsWith("%PDF-"));
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
    // Whatever printers this machine has, nothing is to be printed there.
    qputenv("CUPS_SERVER", Sandbox::Path(u"no server"_s).toLocal8Bit());
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
