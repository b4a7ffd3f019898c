// SPDX-License-Identifier: Apache-2.0
#include "session/view/frmExam.h"
#include "session/view/frmExhibit.h"

#include "tests/support/Sketch.h"

#include <QScreen>

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

    Messages Boxes;
    QString Folder;
    frmExam Window;
};

}

TEST_F(ExhibitTest, WhatIsNoPicture)
{
    const QStringList bad = { u"missing.bmp"_s, u"text.gif"_s, u"../x.bmp"_s };
    Start(bad);
    Sandbox::WriteFile(Folder + u"/text.gif"_s, "GIF this is not");
    for (qint16 item = 1; item <= bad.size(); ++item) {
        Window.Session().GotoQuestion(item);
        Boxes.Expect(
            u"The exhibit cannot be displayed because required files are missing or corrupt. Please reinstall the exam pack."_s,
            CriticalMessage);
        Click(&Window, u"cmdExhibit"_s);
        EXPECT_EQ(Window.findChild<frmExhibit *>(), nullptr);
    }
}

// The whole window, frame and title with it, has its size from the picture: for
// one that fits, a tall one and two that are wider than the screen, too.
TEST_F(ExhibitTest, FromOpenToClose)
{
    const QRect area = QGuiApplication::primaryScreen()->availableGeometry();
    const double most = QGuiApplication::primaryScreen()->size().height() * 0.7;
    Start({ u"0.png"_s, u"1.png"_s, u"2.png"_s, u"3.png"_s });
    for (const int item : { 0, 1, 2, 3 }) {
        SCOPED_TRACE(item);
        const bool isTall = item > 0;
        const int widths[] = { 20, 300, area.width() * 3 / 2, area.width() * 3 };
        const QSize size(widths[item], static_cast<int>(most) + (isTall ? 137 : 0));
        QImage image(size, QImage::Format_RGB32);
        image.fill(Qt::yellow);
        image.setPixelColor(0, size.height() - 1, Qt::black);
        ASSERT_TRUE(image.save(Folder + u"/%1.png"_s.arg(item)));
        Click(&Window, u"cmdExhibit"_s);
        auto *exhibit = Find<frmExhibit>(&Window, u"frmExhibit"_s);
        const auto *picture = Find(exhibit, u"picExhibit"_s);
        auto *view = Find(exhibit, u"picClipper"_s), *close = Find(exhibit, u"cmdClose"_s);
        const auto *bar = Find<QScrollBar>(exhibit, u"vsbScroll"_s);
        const int barWidth = isTall ? bar->sizeHint().width() : 0;
        const QSize shown = QSizeF(size.width(), std::min(most, double(size.height()))).toSize();
        const auto isPlaced = [&] {
            // A title bar taller than the foot has room for leaves the button its place.
            const int title = std::max(23, exhibit->frameGeometry().height() - exhibit->height());
            const QSize off = exhibit->frameGeometry().size() - shown.expandedTo({ close->width(), 0 })
                - QSize(13 + barWidth, close->height() + 14 + title);
            const QRect frame = exhibit->frameGeometry(), button(close->mapToGlobal(QPoint()), close->size());
            return std::abs(off.width()) + std::abs(off.height()) <= 1 && area.contains(button) && frame.top() >= area.top()
                && (item != 2 || (frame.left() == area.left() && std::abs(frame.center().y() - area.center().y()) < 3));
        };
        for (const int showing : { 1, 2 }) {
            EXPECT_TRUE(QTest::qWaitFor(isPlaced)) << showing;
            Click(&Window, u"cmdExhibit"_s);
            EXPECT_EQ(Window.findChildren<frmExhibit *>().size(), 1) << "opened once";
        }
        Show(exhibit);
        EXPECT_NEAR(close->geometry().center().x(), exhibit->rect().center().x(), 1);
        EXPECT_EQ(close->y(), shown.height() + 10);
        EXPECT_NEAR(view->geometry().center().x(), (exhibit->width() - barWidth) / 2, 1);
        EXPECT_TRUE(view->size() == shown && picture->size() == size && picture->y() == 0) << "at its natural size";
        EXPECT_TRUE(bar->isVisible() == isTall && !bar->accessibleName().isEmpty());
        EXPECT_TRUE(isTall || Sketch(exhibit) == QStringList({ u"Exhibit"_s, u"... picExhibit ..."_s, u"&Close"_s }));
        EXPECT_TRUE(!isTall || bar->geometry() == exhibit->rect().adjusted(exhibit->width() - barWidth, 0, 0, 0));

        const auto press = [&](Qt::Key key) { QTest::keyClick(exhibit->windowHandle(), key); };
        press(Qt::Key_Down);
        EXPECT_EQ(picture->y(), isTall ? -qRound(most / 10) : 0);
        press(Qt::Key_PageUp);
        QWheelEvent wheel({ 9, 9 }, exhibit->mapToGlobal(QPointF(9, 9)), {}, { 0, -120 }, {}, {}, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(exhibit, &wheel);
        EXPECT_EQ(picture->y() < 0, isTall);
        QTest::keyClick(exhibit, Qt::Key_End); // with no control that has the focus
        EXPECT_EQ(view->grab().toImage().pixelColor(0, view->height() - 1), QColor(Qt::black)) << "the last line";
        for (const auto &[key, edge] : { std::pair(Qt::Key_Right, &QRect::right), std::pair(Qt::Key_Left, &QRect::left) }) {
            for (int step = 0; step < 50; ++step)
                press(key);
            EXPECT_EQ((exhibit->frameGeometry().*edge)() == (area.*edge)(), item >= 2);
        }
        Click(&Window, u"cmdExhibit"_s);
        EXPECT_EQ(picture->y(), 0) << "from the top again";
        item == 1 ? press(Qt::Key_Escape) : Click(item == 0 ? close : Find(&Window, u"cmdReview"_s));
        Window.Session().GotoQuestion(qint16(std::min(item + 2, 4)));
        EXPECT_TRUE(QTest::qWaitFor([&] { return !Window.findChild<frmExhibit *>(); }));
    }
    Click(&Window, u"cmdExhibit"_s);
    Globals::CurrentExam->EndExam();
    EXPECT_TRUE(Window.close());
    EXPECT_TRUE(QTest::qWaitFor([&] { return !Window.findChild<frmExhibit *>(); })) << "with the window that owns it";
}
