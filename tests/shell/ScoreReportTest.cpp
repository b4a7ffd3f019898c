#include "shell/ReportSheet.h"
#include "shell/ScoreReport.h"
#include "tests/support/Test.h"

namespace {

const QColor Orange(228, 78, 39);
const QColor Green(153, 239, 58);

// Every letter a millimetre wide, a bold one two.
double Ruler(const QString &text, bool isBold)
{
    return double(text.size()) * (isBold ? 2 : 1);
}

}

TEST(ScoreReportTest, Shares)
{
    const struct { qint16 Total, Required, Obtained; bool IsPassed; QString RequiredShare, ObtainedShare; } rows[] = {
        { 1000, 700, 700, true, u"70"_s, u"70"_s }, { 1000, 700, 699, false, u"70"_s, u"70"_s },
        { 100, 250, 100, false, u"250"_s, u"100"_s },
        { 200, 1, 5, true, u"0"_s, u"2"_s }, { 200, 3, 201, true, u"2"_s, u"100"_s }, // halves to even
        { 1, 700, 0, false, u"6 "_s, u"0"_s }, { 0, 0, 0, true, u"11 "_s, u"11 "_s }, { -100, 70, 80, true, u"-70"_s, u"-80"_s },
    };
    for (const auto &row : rows) {
        const ScoreReport report{ row.Total, row.Required, row.Obtained };
        SCOPED_TRACE(testing::Message() << row.Total << ' ' << row.Required << ' ' << row.Obtained);
        EXPECT_EQ(report.IsPassed(), row.IsPassed);
        EXPECT_EQ(report.ObtainedColor(), row.IsPassed ? Green : Orange);
        EXPECT_EQ(ResultOf([&] { return report.RequiredShare(); }), row.RequiredShare);
        EXPECT_EQ(ResultOf([&] { return report.ObtainedShare(); }), row.ObtainedShare);
    }
}

TEST(ReportLayoutTest, Window)
{
    using Twips::Box;
    const ReportLayout::Boxes boxes = ReportLayout::Arrange(9'000, { { 3'000, 0, 6'000, 1'400 }, { 2'500, 0, 7'000, 1'600 }, { 1'500, 0, 9'000, 2'500 },
                                                                    { 0, 0, 1'800, 450 }, { 0, 0, 1'500, 450 } });
    EXPECT_EQ(boxes.Message.Top, 1'900);
    EXPECT_EQ(boxes.Scores.Top, 3'700);
    EXPECT_EQ(boxes.Print, (Box{ 1'500, 8'100, 1'800, 450 }));
    EXPECT_EQ(boxes.Exit, (Box{ 9'000, 8'100, 1'500, 450 }));
    EXPECT_FLOAT_EQ(ReportLayout::BarWidth(250, 8'000), 20'000);
}

// With its label of 12 characters, a name of 116 makes a line of 128.
TEST(ReportSheetTest, LongTitles)
{
    const QString x115(115, u'x');
    const struct { QString Case, Name, First, Rest; } rows[] = {
        { u"127, blanks"_s, u"a b "_s.repeated(28) + u"c d"_s, u"a b "_s.repeated(28) + u"c d"_s, u""_s },
        { u"129, the 128th a blank"_s, x115 + u" y"_s, x115, u"y"_s },
        { u"129, the 129th a blank"_s, x115 + u"y "_s, x115 + u'y', u""_s },
        { u"the 127th a blank"_s, x115.left(114) + u" yy zz"_s, x115.left(114) + u" yy"_s, u"zz"_s },
        { u"no blank behind"_s, u"a b "_s + x115 + x115, u"a b "_s + x115 + x115, u""_s },
    };
    for (const auto &row : rows) {
        const ReportSheet::Title title = ReportSheet::TitleOf(row.Name);
        EXPECT_EQ(title.First, u"Exam Title: "_s + row.First) << row.Case.toStdString();
        EXPECT_EQ(title.Rest, row.Rest) << row.Case.toStdString();
    }
}

TEST(ReportSheetTest, Positions)
{
    const ReportSheet::Plan plan
        = ReportSheet::PlanFor(u"EX-101"_s, QString(120, u'x') + u" rest"_s, u"Friday"_s, { 200, 140, 100 }, Ruler);
    const struct { QString Content; double X, Y; } rows[] = {
        { u"Exam Code: EX-101"_s, 0, 55 }, { u"Dated: Friday"_s, 170 - 13, 55 },
        { u"Exam Title: "_s + QString(120, u'x'), 0, 60 }, { u"rest"_s, 12, 65 },
        { u"Required Score:"_s, 5, 110 }, { u"70%"_s, 30 + 91 + 2, 110 }, { u"Your Score:"_s, 5, 120 }, { u"50%"_s, 30 + 65 + 2, 120 },
        { u"0%"_s, 30, 132 }, { u"100%"_s, 160, 132 },
        { u"Required Score: 140"_s, 0, 145 }, { u"Your Score: 100"_s, (170 - 15 * 2) / 2.0, 145 }, { u"Grade: Fail"_s, 170 - 11 * 2, 145 },
        { u"Score report printed with Practorium - The Most Realistic Exam Simulator"_s, (170 - 72) / 2.0, 250 },
    };
    ASSERT_EQ(plan.Texts.size(), std::size(rows) + 1);
    for (size_t i = 0; i < std::size(rows); ++i) {
        EXPECT_EQ(plan.Texts[i].Content, rows[i].Content);
        EXPECT_NEAR(plan.Texts[i].X, rows[i].X, 1e-3) << rows[i].Content.toStdString();
        EXPECT_NEAR(plan.Texts[i].Y, rows[i].Y, 1e-3) << rows[i].Content.toStdString();
    }
    const ReportSheet::Plan passed = ReportSheet::PlanFor(u"E"_s, u"N"_s, u"D"_s, { 100, 70, 120 }, Ruler);
    EXPECT_EQ(passed.Texts[11].Content, u"Grade: Pass"_s);
    EXPECT_EQ(passed.Bars[1].Rectangle, QRectF(30, 116, 156, 8)) << "wider than the scale";
}

// Nothing leaves the page or runs into what stands beside it, and the lines of
// a pair have letters of one size.
TEST(ReportSheetTest, TextsWithoutRoom)
{
    const struct { QString Code, Name; qint16 Obtained; double Letter; QString Sign; } rows[] = {
        { QString(300, u'C'), u"N"_s, 50, 1, u"C…"_s }, { u"E"_s, QString(400, u'x'), 50, 1, u"x…"_s },
        { u"E"_s, u"many words "_s.repeated(200), 50, 1, u"…"_s }, { u"E"_s, QString(100'000, u'x'), 50, 0.1, u"x…"_s },
        { u"E"_s, QString(124, u'x') + u" y"_s, 50, 1.5, u""_s }, { u"E"_s, u"N"_s, 250, 1, u""_s }, { u"E"_s, u"N"_s, -50, 2, u""_s },
    };
    for (const auto &row : rows) {
        SCOPED_TRACE((row.Code.left(9) + u' ' + row.Name.left(9) + QString::number(row.Obtained)).toStdString());
        const auto ruler = [&](const QString &text, bool) { return double(text.size()) * row.Letter; };
        const std::vector<ReportSheet::Text> texts
            = ReportSheet::PlanFor(row.Code, row.Name, u"Friday"_s, { 100, 70, row.Obtained }, ruler).Texts;
        const bool isTwoLines = texts[3].Y == 65;
        for (size_t i = 0; i < texts.size(); ++i) {
            const double right = texts[i].X + ruler(texts[i].Content, false) * texts[i].Size;
            EXPECT_TRUE(texts[i].X >= 0 && right < 170.001) << texts[i].Content.toStdString();
            if (texts[i].Y < 130 && i + 1 < texts.size() && texts[i + 1].Y == texts[i].Y) {
                EXPECT_LT(right + 1, texts[i + 1].X) << texts[i].Content.toStdString();
            }
        }
        EXPECT_TRUE(texts[isTwoLines ? 3 : row.Code.size() > 1 ? 0 : 2].Content.endsWith(row.Sign));
        EXPECT_EQ(texts[2].Size, isTwoLines ? texts[3].Size : texts[2].Size);
        EXPECT_EQ(texts[isTwoLines ? 4 : 3].Size, texts[isTwoLines ? 6 : 5].Size);
    }
}
