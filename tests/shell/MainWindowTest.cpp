// SPDX-License-Identifier: Apache-2.0
#include "shell/view/frmAbout.h"
#include "shell/view/frmMain.h"

#include "model/IO.h"
#include "tests/support/System.h"
#include "tests/support/Sketch.h"
#include "ui/LinkLabel.h"

#include <QAbstractItemModelTester>
#include <QDate>
#include <QHeaderView>
#include <QSignalSpy>
#include <QTextDocument>
#include <QTreeView>

using namespace Windows;

namespace {

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
        Tester
            = std::make_unique<QAbstractItemModelTester>(List->model(), QAbstractItemModelTester::FailureReportingMode::Fatal);
        Show(&Window);
    }
    QString Status() { return Find<QLabel>(&Window, u"lblStatus"_s)->text(); }
    QString Header(int column) { return List->model()->headerData(column, Qt::Horizontal).toString(); }
    QModelIndex Cell(int row, int column) { return List->model()->index(row, column); }
    QString Text(int row, int column) { return Cell(row, column).data().toString(); }

    Messages Boxes;
    frmMain Window;
    QTreeView *List = nullptr;
    std::unique_ptr<QAbstractItemModelTester> Tester; // of the model's promises
};

}

TEST_F(MainWindowTest, Catalogue)
{
    ShowMain();
    EXPECT_EQ(Status(), u"0 Exams Installed  |  "_s);
    // An empty list says in its own area how exams come in.
    const auto *hint = Find<QLabel>(&Window, u"lblNoExams"_s);
    const QImage list = List->grab().toImage();
    EXPECT_TRUE(hint->isVisible() && HasInk(list, hint->geometry().translated(List->viewport()->pos())));
    EXPECT_TRUE(QString(hint->text()).remove(QChar(0x200B)).endsWith(Globals::ExamsFolder()));
    EXPECT_LE(hint->heightForWidth(hint->width()), hint->height()) << "all of it is painted";
    EXPECT_EQ(List->accessibleDescription(), hint->text());
    std::map<QString, QString> codes;
    for (const QString &code : { u"B-1"_s, u"A<b>&"_s, u"C-3"_s }) {
        const QString path = InstallExam(code), folder = IO::GetFolder(path);
        codes[path] = code;
        Sandbox::WriteFile(Sandbox::ExamsFolder() + u"/no %1/other.exam"_s.arg(codes.size()), "");
        // A pack was ended by force while it replaced this one.
        ASSERT_TRUE(QDir().rename(folder, Sandbox::ExamsFolder() + u"/.practorium-kept-"_s + IO::GetFileName(folder, false)));
        Window.RefreshExamList();
        EXPECT_EQ(Status(), u"%1 Exams Installed  |  "_s.arg(codes.size()));
        EXPECT_FALSE(hint->isVisible());
    }
    for (int row = 0; row < 3; ++row) {
        const QString path = Globals::GetInstalledExams().at(row);
        EXPECT_EQ(Cell(row, 0).data(Qt::UserRole).toString(), path);
        EXPECT_EQ(Text(row, 0) + u'|' + Text(row, 1), codes[path] + u"|Exam "_s + codes[path]);
    }
    for (const int width : { 900, 1000 }) {
        Window.resize(width, 500);
        EXPECT_TRUE(QTest::qWaitFor([&] { return std::abs(List->columnWidth(0) - List->width() / 10) <= 1; }));
        EXPECT_NEAR(List->columnWidth(1), List->width() * 0.9 - 50 / 15.0, 1);
    }
    EXPECT_EQ(Sketch(&Window, true),
              (QStringList{ u"Practorium"_s, u"18: 18 picLogo ..."_s, u"12: 18 lvwExams 18"_s,
                            u"12: 18 3 Exams Installed  |   Download Exams   |   About ... More exam packs on the web 18"_s,
                            u"12: ... &Start Exam 12 E&xit 18"_s }));
    EXPECT_EQ(Header(0) + u' ' + Header(1), u"Code Exam"_s);
    EXPECT_FALSE(List->model()->headerData(0, Qt::Vertical).isValid());
    EXPECT_GE(List->visualRect(Cell(0, 0)).height(), List->fontMetrics().height() + 8);
}

// In a window that is on the screen nothing is painted where it does not stay.
TEST_F(MainWindowTest, FirstPicture)
{
    struct Painted : QObject {
        QStringList Places;
        bool eventFilter(QObject *object, QEvent *event) override
        {
            if (event->type() == QEvent::Paint)
                Places += Place(static_cast<QWidget *>(object));
            return false;
        }
        static QString Place(const QWidget *part)
        {
            const QRect place(part->mapTo(part->window(), QPoint()), part->size());
            return u"%1 %2 %3 %4"_s.arg(place.x()).arg(place.y()).arg(place.width()).arg(place.height());
        }
    } logo, rows;
    for (int i = 0; i < 40; ++i)
        InstallExam(u"N-%1"_s.arg(i));
    Window.show();
    Window.Load();
    List = Find<QTreeView>(&Window, u"lvwExams"_s);
    auto *picture = Find<QWidget>(&Window, u"picLogo"_s);
    picture->installEventFilter(&logo);
    List->viewport()->installEventFilter(&rows);
    const int width = List->columnWidth(1);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !logo.Places.isEmpty() && !rows.Places.isEmpty(); }));
    EXPECT_EQ(logo.Places.first(), Painted::Place(picture));
    EXPECT_EQ(rows.Places.first(), Painted::Place(List->viewport()));
    QCoreApplication::processEvents();
    EXPECT_EQ(rows.Places.first(), Painted::Place(List->viewport()));
    EXPECT_EQ(List->columnWidth(1), width) << "beside the scroll bar";
}

// A package whose file cannot be read hides no other.
TEST_F(MainWindowTest, WhatCannotBeRead)
{
    for (const QString &folder : { u"/folder/folder.exam"_s, u"/pipe"_s })
        QDir().mkpath(Sandbox::ExamsFolder() + folder);
    System::MakePipe(Sandbox::ExamsFolder() + u"/pipe/pipe.exam"_s);
    InstallExam(u"A"_s);
    InstallExam(u"B"_s);
    ShowMain();
    EXPECT_EQ(Status(), u"2 Exams Installed  |  "_s);
}

TEST_F(MainWindowTest, LongTexts)
{
    const QString texts[] = { QString(501, u'C'), u"<b>&"_s + QString(1900, u'N') };
    Install(*NewExam({ texts[0], texts[1] }), u"long"_s);
    ShowMain();
    for (const int column : { 0, 1 }) {
        EXPECT_EQ(Text(0, column), texts[column].left(500) + u'…');
        EXPECT_EQ(Cell(0, column).data(Qt::AccessibleTextRole).toString(), texts[column]);
        QTextDocument tip;
        tip.setHtml(Cell(0, column).data(Qt::ToolTipRole).toString());
        const QString shown = tip.toPlainText();
        EXPECT_EQ(QString(shown).remove(QChar(0x200B)), texts[column]);
        const qsizetype breaks = shown.count(QChar(0x200B)), size = texts[column].size();
        EXPECT_TRUE(breaks > size / 100 && breaks < size / 20) << breaks << " places to break";
    }
}

// The list has the focus once it is filled, and a key without a selection
// selects what is current, however many exams there are.
TEST_F(MainWindowTest, StartingByKeyboardAndMouse)
{
    QSignalSpy loaded(&Window, &frmMain::ExamLoaded);
    Window.show();
    Window.Load();
    QApplication::setActiveWindow(&Window);
    EXPECT_TRUE(QTest::qWaitFor([&] { return QApplication::focusWidget() == Find<QTreeView>(&Window, u"lvwExams"_s); }));
    Boxes.Expect(u"No exams are available. Please install your exam pack(s)."_s, ExclamationMessage);
    QTest::keyClick(&Window, Qt::Key_Return);
    for (const int count : { 1, 2 }) {
        InstallExam(u"N-%1"_s.arg(count));
        ShowMain();
        Boxes.Expect(u"Please select an exam to start"_s, ExclamationMessage);
        QTest::keyClick(List, Qt::Key_Return);
        for (const auto key : { Qt::Key_Up, Qt::Key_PageDown, Qt::Key_PageUp, Qt::Key_Home, Qt::Key_End,
                                count == 2 ? Qt::Key_N : Qt::Key_Down }) {
            List->clearSelection();
            QTest::keyClick(List, key);
            EXPECT_EQ(List->selectionModel()->selectedRows().value(0).row(), 0) << key;
        }
        QTest::keyClick(List, Qt::Key_Down);
        EXPECT_EQ(List->selectionModel()->selectedRows().value(0).row(), count - 1) << "then it moves";
        QTest::keyClick(List, Qt::Key_Return);
        Click(&Window, u"cmdStart"_s);
        EXPECT_EQ(loaded.count(), 3 * count - 1);
        QTest::mouseDClick(List->viewport(), Qt::LeftButton, Qt::NoModifier, List->visualRect(Cell(0, 1)).center());
        EXPECT_TRUE(QTest::qWaitFor([&] { return loaded.count() == 3 * count; })) << "by a double-click";
    }
}

TEST_F(MainWindowTest, Links)
{
    ShowMain();
    QSignalSpy about(&Window, &frmMain::AboutRequested);
    Click(&Window, u"lblAbout"_s);
    EXPECT_EQ(about.count(), 1);
    EXPECT_TRUE(Find<LinkLabel>(&Window, u"lblProductLink"_s)->HRef().endsWith(u"/Products.asp"_s));
    // What was downloaded appears when that window has closed.
    QObject::connect(&Window, &frmMain::DownloadRequested, &Window, [] { InstallExam(u"NEW"_s); });
    Click(&Window, u"lblDownload"_s);
    EXPECT_TRUE(Status() == u"1 Exams Installed  |  "_s && Window.focusWidget() == List) << "to choose it";
}

TEST_F(MainWindowTest, ExitIsConfirmed)
{
    ShowMain();
    for (const MessageAnswer answer : { AnswerNo, AnswerNo, NoAnswer })
        Boxes.Expect(u"Are you sure you want to exit Practorium?"_s, QuestionMessage, answer);
    EXPECT_EQ(RunLoop([&] {
                  Window.close();
                  Click(&Window, u"cmdExit"_s);
                  EXPECT_TRUE(Window.isVisible());
                  Window.close();
                  EXPECT_FALSE(Window.isVisible()) << "any answer but No";
              }),
              0);
}

TEST(AboutTest, TextsAndSystemInformation)
{
    Messages boxes;
    frmAbout window(nullptr);
    Show(&window);
    const QStringList about = Sketch(&window, true);
    EXPECT_EQ(about.first() + about.value(2), u"About Practorium10: ... Version: 1.0 Build: 0 ..."_s);
    EXPECT_TRUE(about.value(3).contains(QString::number(QDate::currentDate().year())));
    EXPECT_EQ(about.value(1).left(3) + about.last(), u"32:28: &System Info... ... OK"_s);
    EXPECT_NEAR(PlaceOf(Find(&window, u"picLogo"_s)).center().x(), window.rect().center().x(), 1);
    boxes.Expect(u"System Information Is Unavailable At This Time"_s, PlainMessage);
    Click(&window, u"cmdSysInfo"_s);
    QTest::keyClick(&window, Qt::Key_Return);
    EXPECT_FALSE(window.isVisible());
}
