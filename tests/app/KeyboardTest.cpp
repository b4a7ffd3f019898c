// SPDX-License-Identifier: Apache-2.0
#include "app/Program.h"

#include "session/view/frmExhibit.h"
#include "session/view/frmExplain.h"
#include "shell/view/frmAbout.h"
#include "shell/view/frmReport.h"
#include "shell/view/frmReview.h"
#include "tests/support/Windows.h"

#include <QAccessible>
#include <QImage>

using namespace Windows;

namespace {

// The Tab key goes through these controls and back to the first; each of them has a name for a
// screen reader.
void WalkTabs(QWidget *window, const QStringList &expected)
{
    SCOPED_TRACE(window->objectName().toStdString());
    Find<QWidget>(window, expected.first())->setFocus();
    for (qsizetype i = 0; i <= expected.size(); ++i) {
        QWidget *stop = window->focusWidget();
        ASSERT_EQ(stop->objectName(), expected[i % expected.size()]);
        QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(stop);
        EXPECT_TRUE(accessible && !accessible->text(QAccessible::Name).isEmpty()) << stop->objectName().toStdString();
        QTest::keyClick(stop, Qt::Key_Tab);
    }
}

class KeyboardTest : public testing::Test {
protected:
    KeyboardTest()
    {
        QDir(Sandbox::ExamsFolder()).removeRecursively();
        const auto exam = NewExam();
        AddItem(*exam, { u"single"_s, { u"*one"_s, u"two"_s, u"three"_s }, false, u"map.png"_s, u"because"_s });
        AddItem(*exam, { u"multiple"_s, { u"*one"_s, u"*two"_s }, false });
        const QString path = Install(*exam, u"EX-101"_s);
        QImage picture(60, 4000, QImage::Format_RGB32);
        picture.fill(Qt::blue);
        EXPECT_TRUE(picture.save(QFileInfo(path).path() + u"/map.png"_s));
        Globals::CurrentExam = exam;
    }
    ~KeyboardTest() override { Globals::CurrentExam.reset(); }

    Messages Boxes;
};

}

TEST_F(KeyboardTest, MainWindowAndAboutBox)
{
    frmMain window;
    window.Load();
    Show(&window);
    WalkTabs(&window, { u"lvwExams"_s, u"lblDownload"_s, u"lblAbout"_s, u"lblProductLink"_s, u"cmdStart"_s, u"cmdExit"_s });
    frmAbout about(nullptr);
    Show(&about);
    WalkTabs(&about, { u"cmdSysInfo"_s, u"cmdOK"_s });
}

TEST_F(KeyboardTest, ExamWindow)
{
    frmExam window;
    window.StartExam();
    Show(&window);
    WalkTabs(&window,
             { u"chkMarked"_s, u"optChoices1"_s, u"optChoices2"_s, u"optChoices3"_s, u"cmdNext"_s, u"cmdExhibit"_s,
               u"cmdReview"_s });
    Click(&window, u"cmdNext"_s);
    WalkTabs(&window, { u"chkMarked"_s, u"chkChoices1"_s, u"chkChoices2"_s, u"cmdNext"_s, u"cmdPrev"_s, u"cmdReview"_s });
    Globals::CurrentExam->EndExam();
    window.Session().GotoQuestion(1);
    window.Session().StartPostExamReview();
    WalkTabs(&window, { u"cmdWhy"_s, u"cmdNext"_s, u"cmdExhibit"_s, u"cmdReview"_s });

    Click(&window, u"cmdExhibit"_s);
    auto *exhibit = Find<QWidget>(&window, u"frmExhibit"_s);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(exhibit));
    WalkTabs(exhibit, { u"cmdClose"_s });
    frmExplain explanation(&window);
    explanation.QuestionNumber = 1;
    explanation.Load();
    Show(&explanation);
    WalkTabs(&explanation, { u"txtExplaination"_s, u"cmdClose"_s });
}

TEST_F(KeyboardTest, ReviewListAndReport)
{
    frmExam exam;
    exam.StartExam();
    Globals::CurrentExam->Questions().Item(2)->SetIsMarked(true);
    frmReview review(exam.Session(), &exam);
    review.Load();
    Show(&review);
    WalkTabs(&review, { u"lvwReview"_s, u"txtQuestion"_s, u"cmdGoTo"_s, u"cmdReviewAll"_s, u"cmdReviewMarked"_s, u"cmdEnd"_s });
    frmReport report(&exam);
    report.Load();
    Show(&report);
    WalkTabs(&report, { u"cmdPrint"_s, u"cmdSavePdf"_s, u"cmdExit"_s });
}
