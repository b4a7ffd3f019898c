// SPDX-License-Identifier: Apache-2.0
#include "app/Program.h"

#include "common/Common.h"
#include "tests/support/System.h"
#include "tests/support/Windows.h"
#include "ui/Browser.h"

#include <QLabel>
#include <QTreeView>

using namespace Windows;

namespace {

const QString EndQuestion = u"Are you sure you want to end the exam?"_s;
const QString TimeQuestion = u"The time has elapsed for this exam. Would you like to continue for another 30 minutes?"_s;

// The whole program over an exams folder with one exam, of three items.
class ProgramTest : public testing::Test {
protected:
    ProgramTest() { QDir(Sandbox::ExamsFolder()).removeRecursively(); }
    ~ProgramTest() override { Globals::CurrentExam.reset(); }

    QString InstallExam(qint16 duration)
    {
        const auto exam = NewExam({ u"EX-101"_s, u"Sample"_s, 1000, 700, duration });
        AddItem(*exam, { u"single"_s, { u"*one"_s, u"two"_s } });
        AddItem(*exam, { u"multiple"_s, { u"*one"_s, u"two"_s, u"*three"_s }, true });
        AddItem(*exam, { u"last"_s, { u"one"_s, u"*two"_s }, false, u"none.gif"_s, u"because"_s });
        return Install(*exam, u"EX-101"_s);
    }
    void SelectFirst()
    {
        auto *list = Find<QTreeView>(&Started->Main(), u"lvwExams"_s);
        const QRect row = list->visualRect(list->model()->index(0, 0));
        QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, row.center());
    }
    // Starts the program, and with it the exam.
    void StartFirst(qint16 duration)
    {
        InstallExam(duration);
        Started->Start();
        Show(&Started->Main());
        SelectFirst();
        Click(&Started->Main(), u"cmdStart"_s);
        Sitting = Started->ExamWindow();
        if (!Sitting)
            qFatal("the exam did not start");
        ASSERT_TRUE(QTest::qWaitForWindowExposed(Sitting));
        QApplication::setActiveWindow(Sitting);
    }

    Messages Boxes;
    std::unique_ptr<Program> Started = std::make_unique<Program>();
    frmExam *Sitting = nullptr;
};

}

TEST_F(ProgramTest, OneSitting)
{
    StartFirst(60);
    EXPECT_FALSE(Started->Main().isVisible());

    QTest::keyClick(Sitting, Qt::Key_A);
    Click(Sitting, u"chkMarked"_s);
    QTest::keyClick(Sitting, Qt::Key_N, Qt::AltModifier);
    ASSERT_TRUE(QTest::qWaitFor([&] { return Sitting->windowTitle() == u"Exam: EX-101 - Item 2 of 3"_s; }));
    ClickBox(Sitting, u"chkChoices1"_s);
    Click(Sitting, u"lblChoices2"_s);
    Click(Sitting, u"cmdNext"_s);
    QTest::keyClick(Sitting, Qt::Key_B);

    QString result;
    WhenOpen review(u"frmReview"_s, [&](QWidget *list) {
        Boxes.Expect(EndQuestion, QuestionMessage, AnswerYes);
        WhenOpen report(u"frmReport"_s, [&](QWidget *window) {
            result = Find<QLabel>(window, u"lblMessage"_s)->text();
            Click(window, u"cmdExit"_s);
        });
        Click(list, u"cmdEnd"_s);
    });
    Click(Sitting, u"cmdNext"_s);
    EXPECT_EQ(result, u"Sorry!\r\nA score of 700 or better was required to pass this exam.\r\nYour score was 667"_s);

    Sitting->close();
    EXPECT_TRUE(Started->Main().isVisible());
    EXPECT_EQ(Globals::CurrentExam, nullptr);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !Started->ExamWindow(); }));

    // The next sitting knows nothing of this one.
    SelectFirst();
    Click(&Started->Main(), u"cmdStart"_s);
    ASSERT_NE(Started->ExamWindow(), nullptr);
    EXPECT_EQ(Globals::CurrentExam->Questions().Item(2)->Answer(), u""_s);
    for (const MessageAnswer answer : { AnswerNo, NoAnswer, AnswerYes }) {
        Boxes.Expect(u"Are you sure you want to terminate the exam?"_s, QuestionMessage, answer);
        EXPECT_EQ(Started->ExamWindow()->close(), answer == AnswerYes);
        EXPECT_EQ(Started->Main().isVisible(), answer == AnswerYes);
        EXPECT_EQ(Globals::CurrentExam == nullptr, answer == AnswerYes);
    }
}

TEST_F(ProgramTest, TimeRunsOutWhileTheListIsOpen)
{
    StartFirst(0);
    QTest::keyClick(Sitting, Qt::Key_A);
    Boxes.Expect(TimeQuestion, QuestionMessage, AnswerNo);
    WhenOpen review(u"frmReview"_s, [&](QWidget *list) {
        bool isRead = false;
        WhenOpen report(u"frmReport"_s, [&](QWidget *window) {
            EXPECT_TRUE(Find<QLabel>(window, u"lblMessage"_s)->text().endsWith(u"Your score was 333"_s));
            Click(window, u"cmdExit"_s);
            isRead = true;
        });
        EXPECT_TRUE(QTest::qWaitFor([&] { return isRead; }, Patience));
        EXPECT_TRUE(list->isVisible());
        QTest::keyClick(list, Qt::Key_Escape);
    });
    Click(Sitting, u"cmdReview"_s);
    EXPECT_TRUE(Globals::CurrentExam->IsEnded());
    EXPECT_TRUE(Find<QWidget>(Sitting, u"fraInfo"_s)->isVisible());
}

TEST_F(ProgramTest, DownloadWindowAndAboutBox)
{
    Started->Start();
    Show(&Started->Main());
    const auto *list = Find<QTreeView>(&Started->Main(), u"lvwExams"_s)->model();
    EXPECT_EQ(list->rowCount(), 0);
    const WhenOpen about(u"frmAbout"_s, [](QWidget *window) { Click(window, u"cmdOK"_s); });
    Click(&Started->Main(), u"lblAbout"_s);
    const WhenOpen download(u"frmExamDownloader"_s, [this](QWidget *window) {
        InstallExam(60);
        window->close();
    });
    Click(&Started->Main(), u"lblDownload"_s);
    EXPECT_EQ(list->rowCount(), 1) << "what was installed meanwhile";
}

// An error that nothing handles is shown, and the program ends.
TEST_F(ProgramTest, UnhandledErrors)
{
    const struct {
        QString Case;
        std::function<void(QString)> Break;
        QString Message;
    } rows[] = {
        { u"no items"_s, [](const QString &) { Install(*NewExam(), u"EX-101"_s); },
          u"Run-time error '9':\r\n\r\nSubscript out of range"_s },
        { u"cut short"_s, [](const QString &path) { ASSERT_TRUE(QFile::resize(path, QFileInfo(path).size() - 1)); },
          u"Run-time error '62':\r\n\r\nInput past end of file"_s },
        { u"vanished"_s, [](const QString &path) { ASSERT_TRUE(QFile::remove(path)); },
          u"Run-time error '2':\r\n\r\nSystem Error: 0x2\r\n"_s
              + Common::ShownText(Common::SystemErrorText(System::NotFound)) },
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.Case.toStdString());
        const QString path = InstallExam(60);
        Started = std::make_unique<Program>();
        Boxes.Expect(row.Message, CriticalMessage);
        const int code = RunLoop([&] {
            Started->Start();
            row.Break(path);
            Show(&Started->Main());
            SelectFirst();
            Click(&Started->Main(), u"cmdStart"_s);
        });
        EXPECT_EQ(code, 1);
        EXPECT_EQ(QApplication::overrideCursor(), nullptr);
        EXPECT_TRUE(!Started->ExamWindow() || !Started->ExamWindow()->isVisible());
    }
}

// The desktop's program for addresses gets the whole of one as a parameter.
TEST_F(ProgramTest, Browser)
{
    if (System::RunsByName)
        GTEST_SKIP() << "Wine looks for programs of documents in a registry that is not a test's own";
    const QString program = Sandbox::Path(u"bin/xdg-open"_s), address = u"http://a.example/b?c=1&d='e f'"_s;
    Sandbox::WriteFile(program, "#!/bin/sh\nprintf %s \"$#$1\" > \"$0.part\"\n/bin/mv \"$0.part\" \"$0.log\"\n");
    QFile::setPermissions(program, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    const QByteArray before = qgetenv("PATH");
    qputenv("PATH", QFileInfo(program).path().toLocal8Bit());
    LaunchBrowser(address);
    EXPECT_TRUE(QTest::qWaitFor([&] { return QFile::exists(program + u".log"_s); }));
    EXPECT_EQ(Sandbox::ReadFile(program + u".log"_s), "1" + address.toUtf8());
    Sandbox::WriteFile(program, "#!/none/such\n");
    Boxes.Expect(u"Unable to load webpage"_s, ExclamationMessage);
    LaunchBrowser(address);
    qputenv("PATH", before);
}
