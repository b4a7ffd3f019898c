#include "session/frmExam.h"
#include "session/frmExhibit.h"

#include "common/Error.h"
#include "model/Globals.h"
#include "tests/support/ExamBuilder.h"
#include "tests/support/Messages.h"
#include "tests/support/Sandbox.h"
#include "tests/support/Windows.h"

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QPointer>
#include <QScreen>
#include <QScrollBar>

#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;
using namespace Windows;

namespace {

// An exam with one item for each file name.
class ExhibitTest : public testing::Test {
protected:
    ~ExhibitTest() override { Globals::CurrentExam.reset(); }

    void Start(const QStringList &exhibits)
    {
        Globals::CurrentExam = NewExam();
        for (const QString &name : exhibits)
            AddItem(*Globals::CurrentExam, { name, { u"*one"_s, u"two"_s }, false, name });
        Folder = QFileInfo(Install(*Globals::CurrentExam, u"EX-101"_s)).path();
        Window.StartExam();
        Show(&Window);
    }
    void SavePicture(const QString &name, const QSize &size)
    {
        QImage image(size, QImage::Format_RGB32);
        image.fill(Qt::yellow);
        // The last line is another one.
        for (int x = 0; x < size.width(); ++x)
            image.setPixelColor(x, size.height() - 1, Qt::black);
        ASSERT_TRUE(image.save(Folder + u'/' + name));
    }
    frmExhibit *Open()
    {
        Click(&Window, u"cmdExhibit"_s);
        auto *exhibit = Find<frmExhibit>(&Window, u"frmExhibit"_s);
        EXPECT_TRUE(QTest::qWaitForWindowExposed(exhibit));
        QCoreApplication::processEvents();
        return exhibit;
    }

    Messages Boxes;
    QString Folder;
    frmExam Window;
};

}

TEST_F(ExhibitTest, WhatIsNoPictureIsTold)
{
    const QStringList bad = { u"missing.bmp"_s, u"text.gif"_s, u"folder.bmp"_s, u"pipe.bmp"_s, u"empty.jpg"_s, u"vector.bmp"_s, u"../x.bmp"_s };
    Start(bad);
    Sandbox::WriteFile(Folder + u"/text.gif"_s, "GIF this is not");
    Sandbox::WriteFile(Folder + u"/empty.jpg"_s, "");
    Sandbox::WriteFile(Folder + u"/vector.bmp"_s, "<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'/>");
    QDir().mkpath(Folder + u"/folder.bmp"_s);
    ASSERT_EQ(mkfifo(qPrintable(Folder + u"/pipe.bmp"_s), 0600), 0);
    for (const QString &name : bad) {
        SCOPED_TRACE(name.toStdString());
        Boxes.Expect(u"The exhibit cannot be displayed because required files are missing or corrupt. Please reinstall the exam pack."_s,
                     CriticalMessage);
        Click(&Window, u"cmdExhibit"_s);
        EXPECT_EQ(Window.findChild<frmExhibit *>(), nullptr);
        EXPECT_TRUE(Window.isEnabled());
        if (name != bad.last())
            Click(&Window, u"cmdNext"_s);
    }
    EXPECT_EQ(Window.Session().CurrentIndex(), bad.size()) << "the session goes on";
}

TEST_F(ExhibitTest, AnotherItemClosesIt)
{
    Start({ u"map.png"_s, u"map.png"_s });
    SavePicture(u"map.png"_s, { 300, 200 });
    QPointer<frmExhibit> exhibit = Open();
    EXPECT_EQ(exhibit->Exhibit(), Folder + u"/map.png"_s);
    EXPECT_FALSE(exhibit->isModal());
    Click(&Window, u"cmdExhibit"_s);
    EXPECT_EQ(Window.findChildren<frmExhibit *>().size(), 1) << "opened once";
    Click(&Window, u"cmdNext"_s);
    EXPECT_TRUE(!exhibit || !exhibit->isVisible());
    EXPECT_TRUE(QTest::qWaitFor([&] { return !exhibit; }));

    exhibit = Open();
    Click(exhibit, u"cmdClose"_s);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !exhibit; }));
    exhibit = Open();
    QTest::keyClick(exhibit, Qt::Key_Escape);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !exhibit; }));
    EXPECT_TRUE(Window.isVisible());
}

TEST_F(ExhibitTest, Sizes)
{
    const double most = QGuiApplication::primaryScreen()->size().height() * 0.7;
    const int limit = int(most);
    Start({ u"low.png"_s, u"limit.png"_s, u"tall.png"_s, u"tiny.png"_s });
    struct Row { QString Name; QSize Size; };
    const Row rows[] = { { u"low.png"_s, { 300, 200 } }, { u"limit.png"_s, { 300, limit } }, { u"tall.png"_s, { 300, limit + 137 } }, { u"tiny.png"_s, { 5, 5 } } };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.Name.toStdString());
        SavePicture(row.Name, row.Size);
        frmExhibit *exhibit = Open();
        auto *bar = Find<QScrollBar>(exhibit, u"vsbScroll"_s);
        const QRect view = Find<QWidget>(exhibit, u"picClipper"_s)->geometry();
        auto *picture = Find<QWidget>(exhibit, u"picExhibit"_s);
        const QRect button = Find<QWidget>(exhibit, u"cmdClose"_s)->geometry();
        const bool isTall = row.Size.height() > limit;
        EXPECT_EQ(picture->size(), row.Size) << "at its natural size";
        EXPECT_EQ(view.width(), row.Size.width());
        EXPECT_EQ(view.height(), isTall ? qRound(most) : row.Size.height());
        EXPECT_EQ(bar->isVisible(), isTall);
        EXPECT_EQ(button.top() - (view.bottom() + 1), 10);
        EXPECT_TRUE(exhibit->rect().contains(button));
        EXPECT_NEAR(button.center().x(), exhibit->width() / 2.0, 1.01);
        if (row.Size.width() > button.width()) {
            EXPECT_EQ(exhibit->frameGeometry().width(), 300 + 13 + (isTall ? bar->width() : 0));
            EXPECT_NEAR(exhibit->frameGeometry().height(), view.height() + button.height() + 550 / 15.0, 1);
        }
        if (isTall) {
            EXPECT_EQ(bar->height(), exhibit->height());
            QTest::keyClick(exhibit, Qt::Key_End);
            EXPECT_EQ(picture->geometry().bottom(), view.height() - 1);
            EXPECT_EQ(Find<QWidget>(exhibit, u"picClipper"_s)->grab().toImage().pixelColor(9, view.height() - 1), QColor(Qt::black));
        }
        if (row.Name != rows[std::size(rows) - 1].Name)
            Click(&Window, u"cmdNext"_s);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}
