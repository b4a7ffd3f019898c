#include "ui/Busy.h"
#include "ui/Layout.h"

#include "tests/support/Windows.h"

#include <QScreen>

using namespace Windows;

TEST(HelpersTest, BusyAndBack)
{
    QWidget usual, disabled, late;
    disabled.setEnabled(false);
    for (QWidget *window : { &usual, &disabled })
        Show(window);
    BeginBusy();
    EXPECT_FALSE(usual.isEnabled());
    ASSERT_NE(QApplication::overrideCursor(), nullptr);
    EXPECT_EQ(QApplication::overrideCursor()->shape(), Qt::WaitCursor);
    // A window that has come meanwhile has a blank tag.
    late.setProperty("tag", u"  "_s);
    EndBusy();
    EXPECT_TRUE(usual.isEnabled() && late.isEnabled());
    EXPECT_FALSE(disabled.isEnabled()) << "as it was before";
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST(HelpersTest, WorkAreaIsCovered)
{
    QWidget window;
    CoverWorkArea(&window);
    Show(&window);
    // Windows puts the frame of such a window beyond the edges.
    const QRect area = QGuiApplication::primaryScreen()->availableGeometry();
    EXPECT_TRUE(QTest::qWaitFor([&] { return window.frameGeometry().contains(area) && area.contains(window.geometry()); }));
}
