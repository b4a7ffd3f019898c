// SPDX-License-Identifier: Apache-2.0
#include "download/view/frmExamDownloader.h"
#include "session/view/frmExam.h"
#include "session/view/frmExhibit.h"
#include "session/view/frmExplain.h"
#include "shell/view/frmAbout.h"
#include "shell/view/frmMain.h"
#include "shell/view/frmReport.h"
#include "shell/view/frmReview.h"
#include "tests/support/Contrast.h"
#include "ui/Theme.h"

using namespace Windows;

namespace {

// Every window is opened in the light look, as a program that is running when the user
// chooses another one.
class LooksTest : public testing::Test {
protected:
    LooksTest()
    {
        QDir(Sandbox::ExamsFolder()).removeRecursively();
        QApplication::setCursorFlashTime(0);
        const auto exam = NewExam();
        const QString code = u"Text\n    code();\n    more();\n"_s.repeated(30);
        AddItem(*exam, { u"one"_s, { u"*right"_s, u"wrong"_s }, false, u"tall.png"_s, code });
        AddItem(*exam, { u"two"_s, { u"*right"_s, u"*right, too"_s, u"wrong"_s }, true, {}, u"because"_s });
        AddItem(*exam, { code, { u"*right"_s, u"wrong"_s } });
        const QString folder = QFileInfo(Install(*exam, u"EX-101"_s)).path();
        Install(*NewExam({ u"EX-102"_s, u"Another"_s }), u"EX-102"_s);
        QImage picture(300, 2000, QImage::Format_RGB32);
        picture.fill(Qt::gray);
        picture.save(folder + u"/tall.png"_s);
        Globals::CurrentExam = exam;
    }
    ~LooksTest() override
    {
        Theme::Apply(*qApp);
        Globals::CurrentExam.reset();
    }

    // What a system has for high contrast can as well be black on white.
    static QPalette BlackOnWhite()
    {
        QPalette palette(Qt::black, Qt::white, Qt::white, Qt::black, Qt::gray, Qt::black, Qt::white, Qt::white, Qt::white);
        palette.setColor(QPalette::Highlight, QColor(55, 0, 110));
        palette.setColor(QPalette::HighlightedText, Qt::white);
        palette.setColor(QPalette::Link, QColor(0, 0, 159));
        palette.setColor(QPalette::Mid, Qt::black);
        return palette;
    }
    static void Turn(Theme::Look look, const std::optional<QPalette> &highContrast = {})
    {
        Theme::Apply(*qApp, look, highContrast);
        QCoreApplication::sendPostedEvents();
    }
    // Each look of that window, of which the light one is the last.
    static void LookAt(QWidget *window)
    {
        using Theme::Look;
        const std::pair<Look, std::optional<QPalette>> looks[]
            = { { Look::Dark, {} }, { Look::HighContrast, {} }, { Look::HighContrast, BlackOnWhite() }, { Look::Light, {} } };
        for (const auto &[look, highContrast] : looks) {
            SCOPED_TRACE(static_cast<int>(look));
            Turn(look, highContrast);
            ExpectVisibleFocus(window);
            if (QWidget *focus = window->focusWidget())
                focus->clearFocus();
            ExpectContrast(window);
        }
    }
};

}

TEST_F(LooksTest, SittingAndReview)
{
    frmExam window;
    window.StartExam();
    Show(&window);
    ClickBox(&window, u"optChoices2"_s);
    Click(&window, u"chkMarked"_s);
    LookAt(&window);
    Click(&window, u"cmdExhibit"_s);
    auto *exhibit = window.findChild<frmExhibit *>();
    ASSERT_TRUE(exhibit && QTest::qWaitForWindowExposed(exhibit));
    LookAt(exhibit);
    exhibit->close();
    window.Session().GotoQuestion(2);
    ClickBox(&window, u"chkChoices1"_s);
    ClickBox(&window, u"chkChoices2"_s);
    LookAt(&window);
    // A long item, with a thumb.
    window.Session().GotoQuestion(3);
    LookAt(&window);
    for (const bool isEnded : { false, true }) {
        if (isEnded)
            window.Session().EndExam();
        frmReview list(window.Session(), &window);
        list.Load();
        Show(&list);
        Find<QLineEdit>(&list, u"txtQuestion"_s)->setText(u"2"_s);
        Find<QAbstractItemView>(&list, u"lvwReview"_s)->setCurrentIndex({});
        LookAt(&list);
    }
    window.Session().StartPostExamReview();
    // Wrong, and right.
    for (const qint16 item : { 1, 2 }) {
        window.Session().GotoQuestion(item);
        LookAt(&window);
        frmExplain explanation(&window);
        explanation.QuestionNumber = item;
        explanation.Load();
        Show(&explanation);
        LookAt(&explanation);
    }
}

TEST_F(LooksTest, Shell)
{
    frmMain main;
    main.Load();
    Show(&main);
    auto *list = Find<QAbstractItemView>(&main, u"lvwExams"_s);
    LookAt(&main);
    list->setCurrentIndex(list->model()->index(1, 0));
    LookAt(&main);
    frmAbout about(&main);
    Show(&about);
    LookAt(&about);
    for (const QString &answer : { u"1"_s, u"2"_s }) {
        for (qint16 item = 1; item <= 3; ++item)
            Globals::CurrentExam->Questions().Item(item)->SetAnswer(item == 2 && answer == u"1"_s ? u"1,2"_s : answer);
        frmReport report(&main);
        report.Load();
        for (const QSize size : { QSize(1200, 900), QSize(800, 480) }) {
            Show(&report);
            report.setWindowState(Qt::WindowNoState);
            report.resize(size);
            LookAt(&report);
        }
    }
    QDir(Sandbox::ExamsFolder()).removeRecursively();
    main.RefreshExamList();
    LookAt(&main);
}

TEST_F(LooksTest, DownloadAndMessages)
{
    frmExamDownloader download(nullptr);
    Show(&download);
    Find<QLineEdit>(&download, u"txtEmail"_s)->setText(u"someone"_s);
    ClickBox(&download, u"chkRemember"_s);
    auto *bar = Find<QWidget>(&download, u"shpProgress"_s);
    bar->resize(200, bar->height());
    LookAt(&download);
    const QRect track = PlaceOf(bar->parentWidget());
    for (const Theme::Look look : { Theme::Look::Dark, Theme::Look::HighContrast, Theme::Look::Light }) {
        Turn(look);
        EXPECT_GE(ContrastIn(download.grab().toImage(), track.adjusted(100, 4, -4, -4)), 3) << static_cast<int>(look);
    }
    for (const MessageStyle style :
         { PlainMessage, CriticalMessage, QuestionMessage, ExclamationMessage, InformationMessage }) {
        WhenOpen box(u"QMessageBox"_s, [](QWidget *window) {
            LookAt(window);
            window->close();
        });
        ShowMessage(u"A text of the program"_s, style);
    }
}
