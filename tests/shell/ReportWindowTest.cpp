#include "shell/frmReport.h"

#include "common/Error.h"
#include "model/Globals.h"
#include "shell/ReportSheet.h"
#include "tests/support/ExamBuilder.h"
#include "tests/support/Messages.h"
#include "tests/support/Sandbox.h"
#include "tests/support/Windows.h"

#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFrame>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

using namespace Qt::Literals::StringLiterals;
using namespace Windows;

namespace {

const QString PrintFailure = u"Error printing report"_s;

// While it lives, Qt may say that a device takes no page.
class RefusedPage {
public:
    RefusedPage()
    {
        before = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &context, const QString &text) {
            if (!text.startsWith(u"QPainter::begin"_s))
                before(type, context, text);
        });
    }
    ~RefusedPage() { qInstallMessageHandler(before); }
    RefusedPage(const RefusedPage &) = delete;
    RefusedPage &operator=(const RefusedPage &) = delete;

private:
    static inline QtMessageHandler before = nullptr;
};

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
    struct Row { int Right; QString Headline; QColor Colour; double Share; };
    for (const Row &row : { Row{ 0, u"Sorry!"_s, { 228, 78, 39 }, 0 }, Row{ 2, u"Sorry!"_s, { 228, 78, 39 }, 0.5 },
                            Row{ 3, u"Contratulations!"_s, { 153, 239, 58 }, 0.75 }, Row{ 4, u"Contratulations!"_s, { 153, 239, 58 }, 1 } }) {
        AnswerRightly(row.Right);
        SCOPED_TRACE(row.Right);
        frmReport window(nullptr);
        window.Load();
        Show(&window);
        EXPECT_EQ(window.TotalScore(), 1000);
        EXPECT_EQ(window.RequiredScore(), 700);
        EXPECT_EQ(window.ObtainedScore(), row.Right * 250);
        auto *message = Find<QLabel>(&window, u"lblMessage"_s);
        EXPECT_EQ(message->text(), row.Headline + u"\r\nA score of 700 or better was required to pass this exam.\r\nYour score was "_s
                                       + QString::number(row.Right * 250));
        for (const QSize size : { QSize(1'000, 760), QSize(720, 500) }) {
            window.setWindowState(Qt::WindowNoState);
            window.resize(size);
            EXPECT_TRUE(QTest::qWaitFor([&] { return window.size() == size; }));
            const auto *area = Find<QWidget>(&window, u"picScores"_s);
            const auto *required = Find<QFrame>(&window, u"shpRequired"_s);
            const auto *obtained = Find<QFrame>(&window, u"shpObtained"_s);
            EXPECT_NEAR(required->width(), area->width() * 0.7, 1);
            EXPECT_NEAR(obtained->width(), area->width() * row.Share, 1);
            const QImage picture = Find<QWidget>(&window, u"picScores"_s)->grab().toImage();
            EXPECT_EQ(picture.pixelColor(3, required->geometry().center().y()), QColor(58, 153, 239));
            EXPECT_EQ(picture.pixelColor(3, obtained->geometry().center().y()), row.Right > 0 ? row.Colour : QColor(Qt::white));

            const auto box = [&](const QString &name) { return Find<QWidget>(&window, name)->geometry(); };
            for (const QString &name : { u"picLogo"_s, u"lblMessage"_s, u"fraScores"_s })
                EXPECT_NEAR(box(name).left(), (window.width() - box(name).width()) / 2.0, 1) << name.toStdString();
            EXPECT_EQ(box(u"picLogo"_s).top(), 33);
            EXPECT_NEAR(box(u"lblMessage"_s).top(), box(u"picLogo"_s).bottom() + 1, 1);
            EXPECT_NEAR(box(u"fraScores"_s).top(), box(u"lblMessage"_s).bottom() + 1 + 200 / 15.0, 1);
            EXPECT_NEAR(box(u"cmdPrint"_s).left(), box(u"fraScores"_s).left(), 1);
            EXPECT_NEAR(box(u"cmdExit"_s).right(), box(u"fraScores"_s).right(), 1);
            for (const QString &name : { u"cmdPrint"_s, u"cmdExit"_s, u"cmdSavePdf"_s })
                EXPECT_EQ(box(name).top(), window.height() - 2 * box(u"cmdPrint"_s).height()) << name.toStdString();
            EXPECT_LT(box(u"fraScores"_s).bottom(), box(u"cmdPrint"_s).top()) << "nothing overlaps";
        }
    }
}

TEST_F(ReportWindowTest, SharesAboveTheMaximum)
{
    Globals::CurrentExam->SetPassScore(2'500);
    frmReport window(nullptr);
    window.Load();
    Show(&window);
    EXPECT_NEAR(Find<QWidget>(&window, u"shpRequired"_s)->width(), Find<QWidget>(&window, u"picScores"_s)->width() * 2.5, 1);
    auto *bar = Find<QWidget>(&window, u"shpObtained"_s);
    window.SetBar(bar, 120, Qt::magenta);
    EXPECT_NEAR(bar->width(), Find<QWidget>(&window, u"picScores"_s)->width() * 1.2, 1);
    EXPECT_EQ(bar->palette().color(QPalette::Window), QColor(Qt::magenta));
}

TEST_F(ReportWindowTest, NoMaximumIsAnUnhandledError)
{
    Globals::CurrentExam->SetMaxScore(0);
    Boxes.Expect(u"Run-time error '11':\r\n\r\nDivision by zero"_s, CriticalMessage);
    EXPECT_EQ(RunLoop([] { frmReport::ShowModal(nullptr); }), 1);
}

TEST_F(ReportWindowTest, SavedAsPdf)
{
    AnswerRightly(3);
    const QString path = Sandbox::Path(u"report.pdf"_s);
    ReportSheet::SavePdf(path, u"EX-101"_s, QString(300, u'x') + u" (A \\ B)"_s, ScoreReport::Of(*Globals::CurrentExam));
    const QByteArray bytes = Sandbox::ReadFile(path);
    EXPECT_TRUE(bytes.startsWith("%PDF-"));
    EXPECT_TRUE(bytes.trimmed().endsWith("%%EOF"));
    EXPECT_EQ(bytes.count("/Type /Page\n"), 1) << "one page";

    // From the window, by its dialog.
    QDir::setCurrent(Sandbox::Path(u"."_s));
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
    WhenOpen dialog(u"QFileDialog"_s, [&](QWidget *chooser) { QTest::keyClick(chooser, Qt::Key_Escape); });
    Click(&window, u"cmdSavePdf"_s); // given up: nothing is said

    // A device that takes nothing.
    Boxes.Expect(PrintFailure, CriticalMessage);
    save(u"/dev/full/report.pdf"_s);
    EXPECT_TRUE(window.isVisible());
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST_F(ReportWindowTest, WhatCannotBeWritten)
{
    const ScoreReport report{ 1000, 700, 750 };
    Sandbox::WriteFile(Sandbox::Path(u"a file"_s), "kept");
    for (const QString &path : { Sandbox::Path(u"none/report.pdf"_s), Sandbox::Path(u"a file/report.pdf"_s), Sandbox::Path(u"."_s) })
        EXPECT_THROW(ReportSheet::SavePdf(path, u"E"_s, u"N"_s, report), Error) << path.toStdString();
    EXPECT_THROW(ReportSheet::SavePdf(Sandbox::Path(u"a file"_s), u"E"_s, u"N"_s, { 0, 0, 0 }), Error);
    EXPECT_EQ(Sandbox::ReadFile(Sandbox::Path(u"a file"_s)), "kept") << "a failure leaves what was there";
}

TEST_F(ReportWindowTest, NoPrinter)
{
    // Whatever printers this machine has, nothing is to be printed there.
    qputenv("CUPS_SERVER", Sandbox::Path(u"no server"_s).toLocal8Bit());
    const RefusedPage refused;
    frmReport window(nullptr);
    window.Load();
    Show(&window);
    Boxes.Expect(PrintFailure, CriticalMessage);
    Click(&window, u"cmdPrint"_s);
    EXPECT_TRUE(window.isVisible());
    EXPECT_TRUE(window.isEnabled());
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}
