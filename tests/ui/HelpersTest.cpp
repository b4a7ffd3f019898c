// SPDX-License-Identifier: Apache-2.0
#include "ui/Busy.h"
#include "ui/Layout.h"

#include "tests/support/Windows.h"

#include <QDialog>
#include <QScreen>

using namespace Windows;

TEST(HelpersTest, BusyAndBack)
{
    // The chain of owners makes the order in which the windows are found count.
    QWidget usual, disabled, late;
    QDialog alone, ofDisabled(&disabled), *owned[8];
    const QWidget tip(nullptr, Qt::ToolTip);
    QWidget *owner = &usual;
    for (QDialog *&dialog : owned)
        owner = dialog = new QDialog(owner);
    owned[5]->setEnabled(false);
    disabled.setEnabled(false);
    for (QWidget *window : { &usual, &disabled })
        Show(window);
    const auto waiting = std::make_unique<WaitCursor>();
    BeginBusy();
    EXPECT_FALSE(usual.isEnabled() || alone.isEnabled());
    EXPECT_TRUE(tip.isEnabled()) << "no window";
    ASSERT_NE(QApplication::overrideCursor(), nullptr);
    EXPECT_EQ(QApplication::overrideCursor()->shape(), Qt::WaitCursor);
    late.setProperty("tag", u"  "_s); // as of a window that has come meanwhile
    EndBusy();
    EXPECT_TRUE(usual.isEnabled() && late.isEnabled());
    EXPECT_TRUE(owned[0]->isEnabled() && owned[4]->isEnabled());
    EXPECT_FALSE(owned[5]->isEnabled() || owned[6]->isEnabled() || disabled.isEnabled() || ofDisabled.isEnabled())
        << "as before";
    disabled.setEnabled(true);
    EXPECT_TRUE(ofDisabled.isEnabled()) << "its owner's state was not its own";
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST(HelpersTest, WorkAreaIsCovered)
{
    const QList<float> widths{ 550, 300, 100, 600 };
    EXPECT_EQ(ColumnWidths(1000, { 60, 30, 10, 60 }), widths) << "the first of the widest leaves room for the border";
    QWidget window;
    CoverWorkArea(&window);
    Show(&window);
    // Windows puts the frame of such a window beyond the edges.
    const QRect area = QGuiApplication::primaryScreen()->availableGeometry();
    EXPECT_TRUE(QTest::qWaitFor([&] { return window.frameGeometry().contains(area) && area.contains(window.geometry()); }));
    QWidget fitting;
    FitWorkArea(&fitting, { 100'000, 300 }, { 250, 200 });
    EXPECT_EQ(fitting.size(), QSize(area.width(), 300)) << "as far as there is room";
    EXPECT_EQ(fitting.minimumSize(), QSize(250, 200));
}
