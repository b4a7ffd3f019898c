// SPDX-License-Identifier: Apache-2.0
#include "app/Program.h"

#include "download/view/frmExamDownloader.h"
#include "session/view/frmExhibit.h"
#include "session/view/frmExplain.h"
#include "shell/view/frmAbout.h"
#include "shell/view/frmReport.h"
#include "shell/view/frmReview.h"
#include "tests/support/Sketch.h"

#include <QScreen>
#include <QScrollArea>
#include <QTranslator>
#include <QWindow>

using namespace Windows;

namespace {

// A desktop whose language is read from right to left.
class FromRightToLeft : public QTranslator {
public:
    bool isEmpty() const override { return false; }
    QString translate(const char *, const char *text, const char *, int) const override
    {
        return qstrcmp(text, "QT_LAYOUT_DIRECTION") == 0 ? u"RTL"_s : QString();
    }
};

// Every window of the program, over an exam that has been answered, in the size that it
// takes on this screen.
class ReachTest : public testing::Test {
protected:
    ReachTest()
    {
        const auto exam = NewExam({ u"EX-101"_s, u"Sample"_s, 1000, 700, 60 });
        for (int item = 0; item < 30; ++item)
            AddItem(
                *exam,
                { u"A question of some words"_s, { u"*one"_s, u"two"_s }, false, u"wide.png"_s, u"because "_s.repeated(90) });
        const QString path = Install(*exam, u"EX-101"_s);
        QImage picture(900, 700, QImage::Format_RGB32);
        picture.fill(Qt::white);
        picture.save(QFileInfo(path).path() + u"/wide.png"_s);
        Globals::CurrentExam = std::make_shared<Exam>();
        Globals::CurrentExam->Load(path);
        Sitting = std::make_unique<frmExam>();
        Sitting->StartExam();
    }
    ~ReachTest() override
    {
        Open.reset();
        Sitting.reset();
        Globals::CurrentExam.reset();
    }

    // "Exam" is open in any case; null ends the list.
    QWidget *Make(int index)
    {
        Open.reset();
        const auto owned = [this](auto window) {
            Open.reset(window);
            return Open.get();
        };
        const auto loaded = [&](auto window) {
            window->Load();
            return owned(window);
        };
        switch (index) {
        case 0: return Sitting.get();
        case 1: return loaded(new frmMain);
        case 2: return loaded(new frmReview(Sitting->Session(), Sitting.get()));
        case 3: return owned(new frmAbout(nullptr));
        case 4: {
            auto *downloads = new frmExamDownloader(nullptr);
            downloads->UpdateStatus(u"Downloading: NET-101.exe"_s, 2'400'000, 1'300'000, 487'000);
            return owned(downloads);
        }
        case 5: {
            auto *explanation = new frmExplain(Sitting.get());
            explanation->QuestionNumber = 1;
            return loaded(explanation);
        }
        case 6: {
            auto *exhibit = new frmExhibit(Sitting.get());
            exhibit->setAttribute(Qt::WA_DeleteOnClose, false);
            exhibit->SetExhibit(u"wide.png"_s);
            return owned(exhibit);
        }
        case 7: {
            Globals::CurrentExam->EndExam();
            return loaded(new frmReport(Sitting.get()));
        }
        default: return nullptr;
        }
    }
    // The control is whole in the window or in a page that scrolls there.
    static bool IsReachable(const QWidget *window, const QWidget *control)
    {
        const QWidget *room = window;
        for (const QWidget *above = control->parentWidget(); above && above != window; above = above->parentWidget()) {
            if (const auto *page
                = qobject_cast<const QScrollArea *>(above->parentWidget() ? above->parentWidget()->parentWidget() : nullptr))
                room = page->widget();
        }
        return QRect(QPoint(), room->size()).contains(QRect(control->mapTo(room, QPoint()), control->size()));
    }

    std::unique_ptr<frmExam> Sitting;
    std::unique_ptr<QWidget> Open;
};

}

// On any screen: within it, by the Tab key all round, and large enough to be hit.
TEST_F(ReachTest, EveryControlOfEveryWindow)
{
    const QSize room = QGuiApplication::primaryScreen()->availableSize();
    int windows = 0;
    for (; QWidget *window = Make(windows); ++windows) {
        Show(window);
        const bool isExhibit = window->objectName() == "frmExhibit"_L1; // the arrow keys move it
        const std::string name = window->objectName().toStdString();
        EXPECT_TRUE(window->height() <= room.height() && (isExhibit || window->width() <= room.width()))
            << name << ' ' << window->width() << 'x' << window->height();
        QSet<QWidget *> stops;
        QWidget *stop = window->focusWidget();
        for (int step = 0; step < 60 && stop && !stops.contains(stop); ++step) {
            stops += stop;
            EXPECT_TRUE(IsReachable(window, stop)) << name << ' ' << stop->objectName().toStdString();
            // Its 24 pixels are nobody else's, as large as it is.
            const QRect place = PlaceOf(stop);
            const QRect target = place | QRect(place.center() - QPoint(12, 12), QSize(24, 24));
            for (const QWidget *other : std::as_const(stops)) {
                EXPECT_TRUE(other == stop || !target.intersects(PlaceOf(other)) || isExhibit)
                    << name << ' ' << stop->objectName().toStdString() << ' ' << other->objectName().toStdString();
            }
            // The first one may stand below what is read first.
            EXPECT_TRUE(isExhibit || stops.size() == 1 || stop->visibleRegion().boundingRect() == stop->rect())
                << name << " hides what has the focus: " << stop->objectName().toStdString();
            const QImage with = window->grab().toImage();
            QTest::keyClick(stop, Qt::Key_Tab);
            EXPECT_TRUE(stops.size() == 1 || with != window->grab().toImage() || window->focusWidget() == stop)
                << name << " does not show the focus: " << stop->objectName().toStdString();
            stop = window->focusWidget();
        }
        int focusable = 0;
        for (const QWidget *control : window->findChildren<QWidget *>())
            focusable += control->window() == window && control->isVisible() && control->isEnabled()
                && (control->focusPolicy() & Qt::TabFocus) && !control->focusProxy();
        EXPECT_EQ(stops.size(), focusable) << name << " keeps the focus at " << (stop ? stop->objectName().toStdString() : "");
        for (const auto *page : window->findChildren<QScrollArea *>())
            EXPECT_LE(page->widget()->width(), page->viewport()->width()) << name << " scrolls sideways";
        // What says something is not cut off.
        for (const QWidget *part : PartsOf(window)) {
            const QString text = part->property("text").toString();
            const bool isWrapped
                = part->property("wordWrap").toBool() || part->inherits("TextBlock") || part->inherits("ResultLabel");
            EXPECT_TRUE(IsReachable(window, part) || part->objectName().startsWith("opt"_L1)
                        || part->objectName().startsWith("lbl"_L1) || isExhibit)
                << name << ' ' << Described(part).toStdString();
            EXPECT_TRUE(isWrapped || part->width() >= part->fontMetrics().size(Qt::TextShowMnemonic, text).width())
                << name << ' ' << text.toStdString() << " is cut off";
        }
    }
    EXPECT_EQ(windows, 8);
}

// A window that is moved to a screen of another scale has the same size and places there,
// in finer dots. Only where there is a second screen.
TEST_F(ReachTest, ScreensOfDifferentScale)
{
    if (QGuiApplication::screens().size() < 2)
        GTEST_SKIP() << "one screen";
    ASSERT_NE(QGuiApplication::screens().at(0)->devicePixelRatio(), QGuiApplication::screens().at(1)->devicePixelRatio());
    for (const int index : { 0, 1, 2, 3, 4, 5, 7 }) {
        QWidget *window = Make(index);
        Show(window);
        QString sketches[2];
        for (const int screen : { 0, 1 }) {
            const QScreen *there = QGuiApplication::screens().at(screen);
            window->windowHandle()->setScreen(QGuiApplication::screens().at(screen));
            window->move(there->availableGeometry().topLeft() + QPoint(10, 10));
            ASSERT_TRUE(QTest::qWaitFor([&] { return window->screen() == there; }));
            QCoreApplication::processEvents();
            const QImage picture = window->grab().toImage();
            EXPECT_EQ(picture.devicePixelRatio(), there->devicePixelRatio());
            EXPECT_EQ(picture.size(), window->size() * there->devicePixelRatio());
            for (const QWidget *part : PartsOf(window)) {
                const QRect place = PlaceOf(part);
                const bool isPainted = HasInk(picture, place.adjusted(-2, -2, 2, 2));
                sketches[screen] += u"%1 %2,%3 %4x%5 %6\n"_s.arg(part->objectName())
                                        .arg(place.x())
                                        .arg(place.y())
                                        .arg(place.width())
                                        .arg(place.height())
                                        .arg(isPainted);
            }
        }
        EXPECT_EQ(sketches[0].toStdString(), sketches[1].toStdString()) << window->objectName().toStdString();
    }
}

// Nothing is mirrored by the language of the desktop.
TEST_F(ReachTest, FromLeftToRightInEveryLanguage)
{
    FromRightToLeft language;
    QCoreApplication::installTranslator(&language);
    QCoreApplication::sendPostedEvents();
    const Program program;
    QStringList sketches[2];
    for (QStringList &sketch : sketches) {
        for (const int index : { 1, 2, 3, 4 }) {
            Show(Make(index));
            EXPECT_EQ(Open->layoutDirection(), Qt::LeftToRight);
            for (const QWidget *part : PartsOf(Open.get())) {
                const QRect place = PlaceOf(part);
                sketch += u"%1 %2 %3"_s.arg(part->property("text").toString()).arg(place.left()).arg(place.right());
            }
        }
        QCoreApplication::removeTranslator(&language);
    }
    EXPECT_EQ(sketches[0], sketches[1]);
}

// What changes away from the focus, read out once.
TEST_F(ReachTest, Announcements)
{
    QSet<QWidget *> known;
    const auto said = [&known](const QWidget *window) {
        QStringList texts;
        for (QWidget *child : window->findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly)) {
            const QAccessibleInterface *spoken = QAccessible::queryAccessibleInterface(child);
            if (spoken->role() != QAccessible::Notification || known.contains(child))
                continue;
            EXPECT_TRUE(!child->isVisible() && !spoken->state().invisible);
            known += child;
            texts += spoken->text(QAccessible::Name);
        }
        return texts;
    };
    const QString item = u"Exam: EX-101 - Item %1 of 30. A question of some words"_s;
    EXPECT_EQ(said(Sitting.get()), QStringList{ item.arg(1) });
    for (int second = 0; second < 60 * 60; ++second)
        Sitting->Session().tmrTimer_Timer();
    const QStringList times = said(Sitting.get());
    EXPECT_EQ(times.size(), 59 + 7) << times.join(u'|').toStdString();
    EXPECT_EQ(times.mid(0, 2), (QStringList{ u"Time Remaining: 00:59"_s, u"Time Remaining: 00:58"_s }));
    EXPECT_EQ(times.mid(times.size() - 2), (QStringList{ u"Time Remaining: 00:00:10"_s, u"Time Remaining: 00:00:00"_s }));
    QTest::keyClick(Sitting.get(), Qt::Key_B);
    Click(Sitting.get(), u"chkMarked"_s);
    for (const qint16 number : { 2, 1 })
        Sitting->Session().GotoQuestion(number);
    EXPECT_EQ(said(Sitting.get()), (QStringList{ u"B. two, selected"_s, item.arg(2), item.arg(1) + u". Marked for review"_s }));
    Show(Make(7));
    const QStringList result = said(Open.get());
    EXPECT_TRUE(result.size() == 1 && result[0].endsWith(u"Required Score: 700. Your Score: 0"_s))
        << result.join(u'|').toStdString();
    Sitting->Session().StartPostExamReview();
    EXPECT_EQ(said(Sitting.get()).size(), 1);
}
