#include "shell/frmAbout.h"
#include "shell/frmMain.h"

#include "model/IO.h"
#include "shell/CatalogueModel.h"
#include "tests/support/System.h"
#include "tests/support/Windows.h"

#include <QLabel>
#include <QSignalSpy>
#include <QTextDocument>
#include <QTreeView>

using namespace Windows;

namespace {

// One request for at least so many bytes is refused.
size_t refusedSize = SIZE_MAX;

}

void *operator new(size_t size)
{
    void *memory = size < refusedSize ? std::malloc(size) : nullptr;
    refusedSize = memory ? refusedSize : SIZE_MAX;
    return memory ? memory : throw std::bad_alloc();
}
void operator delete(void *memory) noexcept { std::free(memory); }
void operator delete(void *memory, size_t) noexcept { std::free(memory); }

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

TEST_F(MainWindowTest, LongTexts)
{
    const auto exam = NewExam({ QString(501, u'C'), u"<b>&"_s + QString(3000, u'N') });
    Install(*exam, u"long"_s);
    ShowMain();
    for (const auto &[column, text] : { std::pair{ 0, exam->Code() }, { 1, exam->Name() } }) {
        const QModelIndex cell = List->model()->index(0, column);
        EXPECT_EQ(cell.data().toString(), text.left(500) + u'…');
        EXPECT_EQ(cell.data(Qt::AccessibleTextRole).toString(), text);
        QLabel tip(cell.data(Qt::ToolTipRole).toString());
        tip.setWordWrap(true);
        EXPECT_LT(tip.sizeHint().width(), 1000) << "a tip fits on the screen";
        QTextDocument plain;
        plain.setHtml(tip.text());
        EXPECT_EQ(plain.toPlainText().remove(QChar(0x200B)), column == 0 ? text : text.left(2000) + u'…');
    }
}

// The rows that are there by then stay, and the window knows of them.
TEST_F(MainWindowTest, OutOfMemory)
{
    ShowMain();
    QSignalSpy begun(List->model(), &QAbstractItemModel::modelAboutToBeReset), ended(List->model(), &QAbstractItemModel::modelReset);
    for (const QString &code : { u"A"_s, u"B"_s, u"C"_s })
        InstallExam(code);
    Boxes.Expect(u"The operation failed because of an unexpected internal error."_s, CriticalMessage);
    refusedSize = 200;
    Window.RefreshExamList();
    EXPECT_EQ(refusedSize, SIZE_MAX);
    EXPECT_EQ(begun.count(), ended.count());
    EXPECT_EQ(Status(), u"0 Exams Installed  |  "_s);
    Window.RefreshExamList();
    EXPECT_EQ(Rows().size(), 3);
}

// The list has the focus once it is filled, and a key without a selection
// selects what is current, however many exams there are.
TEST_F(MainWindowTest, Keyboard)
{
    QSignalSpy loaded(&Window, &frmMain::ExamLoaded);
    Window.show();
    Window.Load();
    QApplication::setActiveWindow(&Window);
    EXPECT_TRUE(QTest::qWaitFor([&] { return QApplication::focusWidget() == Find<QTreeView>(&Window, u"lvwExams"_s); }));
    for (const QString &code : { u"N-1"_s, u"N-2"_s }) {
        InstallExam(code);
        ShowMain();
        const auto selected = [&] { return List->selectionModel()->selectedRows().value(0).row(); };
        for (const Qt::Key key : { code == "N-2"_L1 ? Qt::Key_N : Qt::Key_Up, Qt::Key_PageDown, Qt::Key_PageUp, Qt::Key_Home, Qt::Key_End, Qt::Key_Down }) {
            List->clearSelection();
            List->selectionModel()->setCurrentIndex(List->model()->index(0, 0), QItemSelectionModel::NoUpdate);
            QTest::keyClick(List, key);
            EXPECT_EQ(selected(), 0) << key;
        }
        QTest::keyClick(List, Qt::Key_Down);
        EXPECT_EQ(selected(), List->model()->rowCount() - 1) << "then it moves";
        QTest::keyClick(List, Qt::Key_Return);
    }
    EXPECT_EQ(loaded.count(), 2);
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
    EXPECT_NEAR(Find<QWidget>(&window, u"picLogo"_s)->geometry().center().x(), window.rect().center().x(), 1);
    EXPECT_EQ(Find<QLabel>(&window, u"lblVersion"_s)->text(), u"Version: 1.0 Build: 0"_s);
    boxes.Expect(u"System Information Is Unavailable At This Time"_s, PlainMessage);
    Click(&window, u"cmdSysInfo"_s);
    Click(&window, u"cmdOK"_s);
    EXPECT_FALSE(window.isVisible());
}
