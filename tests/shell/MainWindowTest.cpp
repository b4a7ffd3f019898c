#include "shell/frmAbout.h"
#include "shell/frmMain.h"

#include "model/IO.h"
#include "shell/CatalogueModel.h"
#include "tests/support/System.h"
#include "tests/support/Windows.h"

#include <QLabel>
#include <QSignalSpy>
#include <QTreeView>

using namespace Windows;

namespace {

const QString ExitQuestion = u"Are you sure you want to exit Practorium?"_s;

class MainWindowTest : public testing::Test {
protected:
    MainWindowTest() { QDir(Sandbox::ExamsFolder()).removeRecursively(); }
    ~MainWindowTest() override { Globals::CurrentExam.reset(); }

    static QString InstallExam(const QString &code)
    {
        const auto exam = NewExam({ code, u"Exam "_s + code });
        AddItem(*exam, { u"?"_s, { u"*yes"_s, u"no"_s } });
        // Not every system takes such names of folders.
        return Install(*exam, QString(code).remove(u'<').remove(u'>'));
    }
    void ShowMain()
    {
        Window.Load();
        List = Find<QTreeView>(&Window, u"lvwExams"_s);
        Show(&Window);
    }
    QString Status() { return Find<QLabel>(&Window, u"lblStatus"_s)->text(); }
    // Code, name and file of each row.
    QStringList Rows()
    {
        QStringList rows;
        for (int row = 0; row < List->model()->rowCount(); ++row)
            rows += List->model()->index(row, 0).data().toString() + u'|' + List->model()->index(row, 1).data().toString() + u'|'
                + List->model()->index(row, 0).data(Qt::UserRole).toString();
        return rows;
    }
    QPoint RowCentre(int row) { return List->visualRect(List->model()->index(row, 1)).center(); }

    Messages Boxes;
    frmMain Window;
    QTreeView *List = nullptr;
};

}

TEST_F(MainWindowTest, Catalogue)
{
    ShowMain();
    EXPECT_EQ(Status(), u"0 Exams Installed  |  "_s);
    QStringList expected;
    for (const QString &code : { u"B-1"_s, u"A<b>&"_s, u"C-3"_s }) {
        expected += code + u"|Exam "_s + code + u'|' + InstallExam(code);
        Sandbox::WriteFile(Sandbox::ExamsFolder() + u"/no %1/other.exam"_s.arg(expected.size()), "");
        // A pack was ended by force while it replaced this one.
        const QString folder = IO::GetFolder(expected.last().section(u'|', 2));
        ASSERT_TRUE(QDir().rename(folder, Sandbox::ExamsFolder() + u"/.practorium-kept-"_s + IO::GetFileName(folder, false)));
        Window.RefreshExamList();
        EXPECT_EQ(Status(), u"%1 Exams Installed  |  "_s.arg(expected.size()));
    }
    QStringList rows = Rows();
    // In the order of the file system.
    for (int i = 0; i < rows.size(); ++i)
        EXPECT_EQ(rows.at(i).section(u'|', 2), Globals::GetInstalledExams().at(i));
    rows.sort();
    expected.sort();
    EXPECT_EQ(rows, expected);
    Window.resize(700, 500);
    EXPECT_TRUE(QTest::qWaitFor([&] { return std::abs(List->columnWidth(0) - List->width() / 10) <= 1; }));
    EXPECT_NEAR(List->columnWidth(1), List->width() * 0.9 - 50 / 15.0, 1);
}

// A package whose file cannot be read hides no other.
TEST_F(MainWindowTest, UnreadablePackages)
{
    InstallExam(u"A"_s);
    QDir().mkpath(Sandbox::ExamsFolder() + u"/folder/folder.exam"_s);
    QDir().mkpath(Sandbox::ExamsFolder() + u"/pipe"_s);
    System::MakePipe(Sandbox::ExamsFolder() + u"/pipe/pipe.exam"_s);
    InstallExam(u"B"_s);
    ShowMain();
    EXPECT_EQ(Status(), u"2 Exams Installed  |  "_s);
}

TEST_F(MainWindowTest, WhatStartSays)
{
    QSignalSpy loaded(&Window, &frmMain::ExamLoaded);
    ShowMain();
    Boxes.Expect(u"No exams are available. Please install your exam pack(s)."_s, ExclamationMessage);
    Click(&Window, u"cmdStart"_s);
    InstallExam(u"EX-101"_s);
    Window.RefreshExamList();
    Boxes.Expect(u"Please select an exam to start"_s, ExclamationMessage);
    Click(&Window, u"cmdStart"_s);

    QTest::mouseClick(List->viewport(), Qt::LeftButton, Qt::NoModifier, RowCentre(0));
    Click(&Window, u"cmdStart"_s);
    ASSERT_EQ(loaded.count(), 1);
    QTest::mouseDClick(List->viewport(), Qt::LeftButton, Qt::NoModifier, RowCentre(0));
    EXPECT_TRUE(QTest::qWaitFor([&] { return loaded.count() == 2; })) << "by a double-click";
    List->setFocus();
    QTest::keyClick(List, Qt::Key_Return);
    EXPECT_EQ(loaded.count(), 3) << "by Enter";
}

TEST_F(MainWindowTest, Links)
{
    ShowMain();
    QSignalSpy about(&Window, &frmMain::AboutRequested);
    Click(&Window, u"lblAbout"_s);
    EXPECT_EQ(about.count(), 1);
    // What was downloaded appears when that window has closed.
    QObject::connect(&Window, &frmMain::DownloadRequested, &Window, [] { InstallExam(u"NEW"_s); });
    Click(&Window, u"lblDownload"_s);
    EXPECT_EQ(Status(), u"1 Exams Installed  |  "_s);
}

TEST_F(MainWindowTest, ExitIsConfirmed)
{
    ShowMain();
    for (const int answer : { AnswerNo, AnswerNo, NoAnswer })
        Boxes.Expect(ExitQuestion, QuestionMessage, answer);
    EXPECT_EQ(RunLoop([&] {
        Window.close();
        Click(&Window, u"cmdExit"_s);
        EXPECT_TRUE(Window.isVisible());
        Window.close();
        EXPECT_FALSE(Window.isVisible()) << "any answer but No";
    }), 0);
}

TEST(AboutTest, TextsAndSystemInformation)
{
    Messages boxes;
    frmAbout window(nullptr);
    Show(&window);
    EXPECT_EQ(window.windowTitle(), u"About Practorium"_s);
    EXPECT_EQ(Find<QLabel>(&window, u"lblVersion"_s)->text(), u"Version: 1.0 Build: 0"_s);
    boxes.Expect(u"System Information Is Unavailable At This Time"_s, PlainMessage);
    Click(&window, u"cmdSysInfo"_s);
    Click(&window, u"cmdOK"_s);
    EXPECT_FALSE(window.isVisible());
}
