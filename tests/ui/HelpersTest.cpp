#include "ui/Busy.h"
#include "ui/Layout.h"

#include "tests/support/Windows.h"

#include <QScreen>
#include <QStandardItemModel>
#include <QTreeView>

#include <gmock/gmock.h>

using namespace Qt::Literals::StringLiterals;
using namespace Windows;

TEST(HelpersTest, BusyAndBack)
{
    QWidget usual;
    QWidget disabled;
    QWidget late;
    QWidget hidden;
    disabled.setEnabled(false);
    hidden.setProperty("tag", u"  "_s);
    for (QWidget *window : { &usual, &disabled })
        Show(window);
    BeginBusy();
    EXPECT_FALSE(usual.isEnabled());
    EXPECT_FALSE(disabled.isEnabled());
    EXPECT_EQ(usual.property("tag").toString(), u"True"_s);
    EXPECT_EQ(disabled.property("tag").toString(), u"False"_s);
    ASSERT_NE(QApplication::overrideCursor(), nullptr);
    EXPECT_EQ(QApplication::overrideCursor()->shape(), Qt::WaitCursor);
    // A window that has come meanwhile has no tag, or a blank one.
    late.setProperty("tag", QVariant());
    hidden.setProperty("tag", u"  "_s);
    EndBusy();
    EXPECT_TRUE(usual.isEnabled());
    EXPECT_FALSE(disabled.isEnabled()) << "as it was before";
    EXPECT_TRUE(late.isEnabled());
    EXPECT_TRUE(hidden.isEnabled());
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST(HelpersTest, ColumnWidths)
{
    struct Row { float Width; QList<float> Tags, Widths; };
    const Row rows[] = {
        { 1'000, { 10, 90 }, { 100, 850 } }, { 1'000, { 50, 50 }, { 450, 500 } }, { 1'000, { 0, 0 }, { 0, 0 } }, { 1'000, {}, {} },
        { 1'000, { 0, 30, 30 }, { 0, 250, 300 } }, { 333, { 10, 50 }, { 33.3F, 116.5F } }, { 1'000, { 2 }, { -30 } },
    };
    for (const Row &row : rows)
        EXPECT_THAT(ColumnWidths(row.Width, row.Tags), testing::Pointwise(testing::FloatEq(), row.Widths)) << row.Width << ' ' << row.Tags.size();
}

TEST(HelpersTest, SizeColumns)
{
    QTreeView list;
    QStandardItemModel model(1, 3);
    list.setModel(&model);
    list.resize(400, 100);
    list.setColumnWidth(1, 77);
    model.setHeaderData(0, Qt::Horizontal, 10, ColumnTagRole);
    model.setHeaderData(1, Qt::Horizontal, u"none"_s, ColumnTagRole);
    model.setHeaderData(2, Qt::Horizontal, 50.5, ColumnTagRole);
    SizeColumns(&list);
    EXPECT_EQ(list.columnWidth(0), 40);
    EXPECT_EQ(list.columnWidth(1), 77) << "without a number it keeps its width";
    EXPECT_EQ(list.columnWidth(2), 199) << "202 pixels less 50 twips";
}

TEST(HelpersTest, CenterHorizontally)
{
    struct Row { int Container, Control, Left; };
    for (const Row &row : { Row{ 400, 100, 150 }, Row{ 100, 400, -150 }, Row{ 100, 100, 0 } }) {
        QWidget container;
        QWidget control(&container);
        container.resize(row.Container, 50);
        control.setGeometry(3, 17, row.Control, 20);
        CenterHorizontally(&container, &control);
        EXPECT_EQ(control.geometry(), QRect(row.Left, 17, row.Control, 20)) << row.Container;
    }
}

TEST(HelpersTest, WorkAreaIsCovered)
{
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    const WorkArea area = GetWorkArea();
    EXPECT_EQ(area.Left, screen.left() * 15);
    EXPECT_EQ(area.Right - area.Left, screen.width() * 15);
    EXPECT_EQ(area.Bottom - area.Top, screen.height() * 15);
    QWidget window;
    CoverWorkArea(&window);
    Show(&window);
    EXPECT_TRUE(QTest::qWaitFor([&] { return window.frameGeometry() == screen; }));
}
