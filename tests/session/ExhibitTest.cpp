#include "session/frmExam.h"
#include "session/frmExhibit.h"

#include "tests/support/Windows.h"

#include <QImage>
#include <QPointer>
#include <QScreen>
#include <QScrollBar>

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
        image.setPixelColor(0, size.height() - 1, Qt::black);
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
    const QStringList bad = { u"missing.bmp"_s, u"text.gif"_s, u"../x.bmp"_s };
    Start(bad);
    Sandbox::WriteFile(Folder + u"/text.gif"_s, "GIF this is not");
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
    EXPECT_EQ(exhibit->Exhibit(), QDir::toNativeSeparators(Folder + u"/map.png"_s));
    Click(&Window, u"cmdExhibit"_s);
    EXPECT_EQ(Window.findChildren<frmExhibit *>().size(), 1) << "opened once";
    Click(&Window, u"cmdNext"_s);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !exhibit; }));

    exhibit = Open();
    Click(exhibit, u"cmdClose"_s);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !exhibit; }));
    exhibit = Open();
    QTest::keyClick(exhibit, Qt::Key_Escape);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !exhibit; }));
    EXPECT_TRUE(Window.isVisible());
}

TEST_F(ExhibitTest, ATallOneIsScrolled)
{
    const int most = qRound(QGuiApplication::primaryScreen()->size().height() * 0.7);
    Start({ u"tall.png"_s });
    SavePicture(u"tall.png"_s, { 300, most + 137 });
    frmExhibit *exhibit = Open();
    auto *view = Find<QWidget>(exhibit, u"picClipper"_s);
    EXPECT_EQ(view->size(), QSize(300, most));
    EXPECT_EQ(Find<QWidget>(exhibit, u"picExhibit"_s)->size(), QSize(300, most + 137)) << "at its natural size";
    EXPECT_TRUE(exhibit->rect().contains(Find<QWidget>(exhibit, u"cmdClose"_s)->geometry()));
    EXPECT_TRUE(Find<QScrollBar>(exhibit, u"vsbScroll"_s)->isVisible());
    QTest::keyClick(exhibit, Qt::Key_End);
    EXPECT_EQ(view->grab().toImage().pixelColor(0, most - 1), QColor(Qt::black)) << "the last line";
}
