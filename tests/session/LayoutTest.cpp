#include "session/ExhibitLayout.h"
#include "session/PageLayout.h"

#include <gmock/gmock.h>

#include <ostream>

namespace Twips {

void PrintTo(const Box &box, std::ostream *out)
{
    *out << box.Left << ' ' << box.Top << ' ' << box.Width << ' ' << box.Height;
}

}

using Twips::Box;

TEST(PageLayoutTest, Page)
{
    PageLayout::Sizes sizes;
    sizes.InnerWidth = 12'000;
    sizes.InnerHeight = 9'000;
    sizes.Mark = { 777, 120, 3'000, 300 };
    sizes.Time = { 0, 0, 2'800, 300 };
    sizes.FrameBorder = 15;
    sizes.ScrollBarWidth = 240;
    const PageLayout::Boxes boxes = PageLayout::Arrange(sizes, 450);
    EXPECT_EQ(boxes.Frame, (Box{ 60, 520, 11'880, 7'930 }));
    // Inside the frame's border it is 11,850 by 7,900.
    EXPECT_EQ(boxes.Content, (Box{ 0, 0, 11'494.5, 0 }));
    EXPECT_EQ(boxes.ScrollBar, (Box{ 11'610, 0, 240, 7'900 }));
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
    const struct { double Frame, Content; bool IsEnabled; int Max, Small, Large; } rows[] = {
        { 7'900, 7'900, false, 0, 0, 0 }, { 7'900, 7'901, true, 1, 790, 7'900 }, { 1'234, 40'000, true, 38'766, 123, 1'234 },
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
    const auto home = frame.Home();
    EXPECT_EQ((std::pair(home.X, home.Y)), (std::pair(11'560.0, 7'850.0)));
    const auto room = frame.Room();
    EXPECT_EQ((std::pair(room.X, room.Y)), (std::pair(11'550.0, 7'840.0))) << "from 10 to there";
    const struct { double X, Y, Left, Top; } drags[] = {
        { 90, 130, 7'990, 5'030 },   { 700, 100, 8'600, 5'000 },   { 701, 90, 8'000, 4'990 },
        { -7'890, 100, 10, 5'000 },  { -7'891, 100, 8'000, 5'000 }, { 110, 2'091, 8'010, 5'000 },
        { 100, 2'090, 8'000, 6'990 }, { 100, -4'890, 8'000, 10 },   { 100, -4'891, 8'000, 5'000 },
    };
    for (const auto &row : drags) {
        const PageLayout::Point to = frame.Drag({ 8'000, 5'000, 3'000, 900 }, { 100, 100 }, { row.X, row.Y });
        EXPECT_EQ((std::pair(to.X, to.Y)), (std::pair(row.Left, row.Top))) << row.X << ' ' << row.Y;
    }
    const struct { Box Panel; double Left, Top; } kept[] = {
        { { 8'600, 10, 3'000, 900 }, 8'600, 10 }, { { 9, 6'991, 3'000, 900 }, 10, 6'990 }, { { 8'601, -900, 3'000, 900 }, 8'600, 10 },
        { { 100, 100, 11'590, 7'881 }, 10, 10 },
    };
    for (const auto &row : kept) {
        const PageLayout::Point to = frame.Keep(row.Panel);
        EXPECT_EQ((std::pair(to.X, to.Y)), (std::pair(row.Left, row.Top))) << testing::PrintToString(row.Panel);
    }
}

// On a screen 16,200 high a picture may be 11,340 high.
TEST(ExhibitLayoutTest, Pictures)
{
    struct Row { double Width, Height, Frame, Title; double WindowWidth, WindowHeight; Box Viewport, ScrollBar, Button; int Max; };
    const Row rows[] = {
        { 6'000, 4'000, 30, 300, 6'200, 4'950, { 85, 0, 6'000, 4'000 }, {}, { 2'485, 4'150, 1'200, 400 }, 0 },
        { 6'000, 11'340, 0, 0, 6'200, 12'290, { 100, 0, 6'000, 11'340 }, {}, { 2'500, 11'490, 1'200, 400 }, 0 },
        { 6'000, 40'000, 30, 300, 6'440, 12'290, { 85, 0, 6'000, 11'340 }, { 6'170, 0, 240, 11'990 }, { 2'605, 11'490, 1'200, 400 }, 28'660 },
    };
    for (const Row &row : rows) {
        const ExhibitLayout::Boxes boxes = ExhibitLayout::Arrange({ row.Width, row.Height, 16'200, 240, 1'200, 400, row.Frame, row.Title });
        SCOPED_TRACE(testing::Message() << row.Width << " x " << row.Height << " framed " << row.Title);
        EXPECT_DOUBLE_EQ(boxes.WindowWidth, row.WindowWidth);
        EXPECT_DOUBLE_EQ(boxes.WindowHeight, row.WindowHeight);
        EXPECT_EQ(boxes.Viewport, row.Viewport);
        EXPECT_EQ(boxes.Button, row.Button);
        EXPECT_EQ(boxes.Max, row.Max);
        if (row.Max > 0) {
            EXPECT_EQ(boxes.ScrollBar, row.ScrollBar);
            EXPECT_EQ(boxes.SmallChange, 1'134);
            EXPECT_EQ(boxes.LargeChange, 11'340);
        }
    }
}
