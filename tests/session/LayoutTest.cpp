// SPDX-License-Identifier: Apache-2.0
#include "session/PageLayout.h"

#include <gmock/gmock.h>

using testing::FieldsAre;

TEST(PageLayoutTest, Page)
{
    const PageLayout::Sizes sizes{ 12'000, 9'000, { 777, 120, 3'000, 300 }, { 0, 0, 2'800, 300 }, 15, 240 };
    const PageLayout::Boxes boxes = PageLayout::Arrange(sizes, 450);
    EXPECT_THAT(boxes.Frame, FieldsAre(60, 520, 11'880, 7'930));
    // Inside the frame's border it is 11,850 by 7,900.
    EXPECT_THAT(boxes.Content, FieldsAre(0, 0, 11'494.5, 0));
    EXPECT_THAT(boxes.ScrollBar, FieldsAre(11'610, 0, 240, 7'900));
    EXPECT_DOUBLE_EQ(boxes.MarkLeft, 60);
    EXPECT_DOUBLE_EQ(boxes.TimeLeft, 9'060);
    EXPECT_DOUBLE_EQ(boxes.QuestionWidth, 11'264.61);
}

TEST(PageLayoutTest, Buttons)
{
    for (const bool hasExhibit : { true, false }) {
        const auto lefts = PageLayout::ArrangeButtons({ 60, 520, 11'880, 7'930 }, 9'000, 450, 1'650, hasExhibit);
        EXPECT_DOUBLE_EQ(lefts.Top, 8'550);
        EXPECT_DOUBLE_EQ(lefts.Next, 60);
        EXPECT_DOUBLE_EQ(lefts.Prev, hasExhibit ? 3'470 : 5'175);
        EXPECT_DOUBLE_EQ(hasExhibit ? lefts.Exhibit : 6'880, 6'880);
        EXPECT_DOUBLE_EQ(lefts.Review, 10'290);
    }
}

TEST(PageLayoutTest, Rows)
{
    const PageLayout::Rows rows = PageLayout::ArrangeRows(1'000, { 300, 600, 285 });
    EXPECT_THAT(rows.Tops, testing::ElementsAre(1'500, 2'000, 2'800));
    EXPECT_DOUBLE_EQ(rows.ContentHeight, 4'085);
    EXPECT_DOUBLE_EQ(PageLayout::ArrangeRows(1'000, {}).ContentHeight, 1'000) << "a question without options";
    EXPECT_DOUBLE_EQ(PageLayout::LabelWidth(11'000, 400), 10'600);
}

TEST(PageLayoutTest, Scrolling)
{
    const struct {
        double Frame, Content;
        bool IsEnabled;
        int Max, Small, Large;
    } rows[] = {
        { 7'900, 7'900, false, 0, 0, 0 },
        { 7'900, 7'901, true, 1, 790, 7'900 },
        { 1'234, 40'000, true, 38'766, 123, 1'234 },
    };
    for (const auto &row : rows) {
        const PageLayout::Scroll scroll = PageLayout::ScrollFor(row.Frame, row.Content);
        EXPECT_EQ(scroll.IsEnabled, row.IsEnabled) << row.Content;
        EXPECT_EQ(scroll.Max, row.Max) << row.Content;
        EXPECT_EQ(scroll.SmallChange, row.Small) << row.Content;
        EXPECT_EQ(scroll.LargeChange, row.Large) << row.Content;
    }
}

// The panel may go from 10 to 8,600 across and from 10 to 6,990 down.
TEST(PageLayoutTest, Panel)
{
    const PageLayout::PanelFrame frame{ 11'850, 7'900, 240 };
    EXPECT_THAT(frame.Home(), FieldsAre(11'560, 7'850));
    const struct {
        double X, Y, Left, Top;
    } rows[] = {
        { 90, 130, 7'990, 5'030 },    { 700, 100, 8'600, 5'000 },    { 701, 90, 8'000, 4'990 },
        { -7'890, 100, 10, 5'000 },   { -7'891, 100, 8'000, 5'000 }, { 110, 2'091, 8'010, 5'000 },
        { 100, 2'090, 8'000, 6'990 }, { 100, -4'890, 8'000, 10 },    { 100, -4'891, 8'000, 5'000 },
    };
    for (const auto &row : rows)
        EXPECT_THAT(frame.Drag({ 8'000, 5'000, 3'000, 900 }, { 100, 100 }, { row.X, row.Y }), FieldsAre(row.Left, row.Top))
            << row.X << ' ' << row.Y;
}
