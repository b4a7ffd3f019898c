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

// The whole window, frame and title with it, has its size from the picture, at
// the first showing as at the second.
TEST_F(ExhibitTest, SizeAndKeys)
{
    const QRect area = QGuiApplication::primaryScreen()->availableGeometry();
    const double most = QGuiApplication::primaryScreen()->size().height() * 0.7;
    const int fits = static_cast<int>(most);
    const struct { QSize Picture; bool IsTall, IsWide; } rows[] = {
        { { 300, fits }, false, false }, { { 300, fits + 137 }, true, false }, { { 3 * area.width(), fits + 137 }, true, true },
    };
    Start({ u"0.png"_s, u"1.png"_s, u"2.png"_s });
    for (int item = 0; item < 3; ++item) {
        SCOPED_TRACE(item);
        const auto &row = rows[item];
        SavePicture(u"%1.png"_s.arg(item), row.Picture);
        frmExhibit *exhibit = Open();
        auto *bar = Find<QScrollBar>(exhibit, u"vsbScroll"_s);
        auto *close = Find<QWidget>(exhibit, u"cmdClose"_s);
        const auto outer = [&] {
            // Below a tall title bar the button would not find its place.
            const double title = std::max(22 + 2 / 3.0, double(exhibit->frameGeometry().height() - exhibit->height()));
            return QSizeF(row.Picture.width() + 200 / 15.0 + (row.IsTall ? bar->sizeHint().width() : 0),
                          std::min(most, double(row.Picture.height())) + close->height() + 14 + title).toSize();
        };
        EXPECT_TRUE(QTest::qWaitFor([&] { return exhibit->frameGeometry().size() == outer(); }));
        Click(&Window, u"cmdExhibit"_s);
        EXPECT_EQ(exhibit->frameGeometry().size(), outer());
        EXPECT_TRUE(exhibit->rect().contains(close->geometry()));
        EXPECT_TRUE(area.contains(QRect(close->mapToGlobal(QPoint()), close->size())));
        EXPECT_GE(exhibit->frameGeometry().top(), area.top()) << "the title bar";

        auto *view = Find<QWidget>(exhibit, u"picClipper"_s);
        EXPECT_EQ(view->size(), QSizeF(row.Picture.width(), std::min(most, double(row.Picture.height()))).toSize());
        EXPECT_EQ(bar->isVisible(), row.IsTall);
        const auto *picture = Find<QWidget>(exhibit, u"picExhibit"_s);
        EXPECT_EQ(picture->size(), row.Picture) << "at its natural size";
        const auto press = [&](Qt::Key key) { QTest::keyClick(exhibit->windowHandle(), key); };
        press(Qt::Key_Down);
        EXPECT_EQ(picture->y(), row.IsTall ? -qRound(most / 10) : 0);
        press(Qt::Key_End);
        EXPECT_EQ(view->grab().toImage().pixelColor(0, view->height() - 1), QColor(Qt::black)) << "the last line";
        for (const auto &[key, edge] : { std::pair(Qt::Key_Right, &QRect::right), std::pair(Qt::Key_Left, &QRect::left) }) {
            for (int step = 0; step < 50; ++step)
                press(key);
            EXPECT_EQ((exhibit->frameGeometry().*edge)() == (area.*edge)(), row.IsWide);
        }
        exhibit->close();
        EXPECT_TRUE(QTest::qWaitFor([&] { return !Window.findChild<frmExhibit *>(); }));
        Window.Session().GotoQuestion(qint16(item % 2 + 2));
    }
}
