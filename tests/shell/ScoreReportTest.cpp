// SPDX-License-Identifier: Apache-2.0
#include "shell/ReportSheet.h"
#include "shell/ScoreReport.h"
#include "tests/support/Test.h"

TEST(ScoreReportTest, Shares)
{
    const struct {
        qint16 Total, Required, Obtained;
        bool IsPassed;
        QString RequiredShare, ObtainedShare;
    } rows[] = {
        { 1000, 700, 700, true, u"70"_s, u"70"_s },   { 1000, 700, 699, false, u"70"_s, u"70"_s },
        { 100, 250, 100, false, u"250"_s, u"100"_s }, { 200, 1, 5, true, u"0"_s, u"2"_s },
        { 200, 3, 201, true, u"2"_s, u"100"_s }, // halves to even
        { 1, 700, 0, false, u"6 "_s, u"0"_s },        { 0, 0, 0, true, u"11 "_s, u"11 "_s },
        { -100, 70, 80, true, u"-70"_s, u"-80"_s },
    };
    for (const auto &row : rows) {
        const ScoreReport report{ row.Total, row.Required, row.Obtained };
        EXPECT_EQ(report.IsPassed(), row.IsPassed) << row.Total << ' ' << row.Obtained;
        const QString shares
            = ResultOf([&] { return report.RequiredShare(); }) + u'|' + ResultOf([&] { return report.ObtainedShare(); });
        EXPECT_EQ(shares, row.RequiredShare + u'|' + row.ObtainedShare);
    }
    EXPECT_FLOAT_EQ(ReportLayout::BarWidth(250, 8'000), 20'000) << "nothing clamps it";
}

// Behind its label of 12 characters: lines of 127, with a blank as the 128th, 129th and 127th character, without one.
TEST(ReportSheetTest, LongTitles)
{
    const QString x115(115, u'x'), words = u"a b "_s.repeated(28) + u"c d"_s;
    const struct {
        QString Name, First, Rest;
    } rows[] = {
        { words, words, u""_s },
        { x115 + u" y"_s, x115, u"y"_s },
        { x115 + u"y "_s, x115 + u'y', u""_s },
        { x115.left(114) + u" yy zz"_s, x115.left(114) + u" yy"_s, u"zz"_s },
        { u"a b "_s + x115 + x115, u"a b "_s + x115 + x115, u""_s },
    };
    for (const auto &row : rows) {
        const ReportSheet::Title title = ReportSheet::TitleOf(row.Name);
        EXPECT_EQ(title.First + u'|' + title.Rest, u"Exam Title: "_s + row.First + u'|' + row.Rest);
    }
}

// Every letter a millimetre wide, a bold one two.
TEST(ReportSheetTest, Positions)
{
    const auto ruler
        = [](const QString &text, bool isBold, double size) { return double(text.size()) * (isBold ? 2 : 1) * size; };
    const QString title(120, u'x');
    const ReportSheet::Plan plan
        = ReportSheet::PlanFor({ u"EX-101"_s, title + u" rest"_s, u"Friday"_s, { 200, 140, 100 } }, ruler);
    QStringList texts;
    for (const ReportSheet::Text &text : plan.Texts)
        texts += u"%1 %2 %3"_s.arg(std::round(text.X)).arg(text.Y).arg(text.Content);
    EXPECT_EQ(texts.mid(0, 14),
              (QStringList{ u"0 55 Exam Code: EX-101"_s, u"157 55 Dated: Friday"_s, u"0 60 Exam Title: "_s + title,
                            u"12 65 rest"_s, u"5 110 Required Score:"_s, u"123 110 70%"_s, u"5 120 Your Score:"_s,
                            u"97 120 50%"_s, u"30 132 0%"_s, u"160 132 100%"_s, u"0 145 Required Score: 140"_s,
                            u"70 145 Your Score: 100"_s, u"148 145 Grade: Fail"_s,
                            u"49 250 Score report printed with Practorium - The Most Realistic Exam Simulator"_s }));
    const ReportSheet::Plan passed = ReportSheet::PlanFor({ u"E"_s, u"N"_s, u"D"_s, { 100, 70, 120 } }, ruler);
    EXPECT_EQ(passed.Texts[11].Content, u"Grade: Pass"_s);
    EXPECT_EQ(passed.Bars[1].Rectangle, QRectF(30, 116, 156, 8)) << "wider than the scale";
}

// Nothing leaves the page or runs into its neighbour, and a pair has letters of one size.
TEST(ReportSheetTest, TextsWithoutRoom)
{
    const struct {
        QString Code, Name;
        qint16 Obtained;
        double Letter;
        size_t Cut;
    } rows[] = {
        { QString(300, u'C'), u"N"_s, 50, 1, 0 },
        { u"E"_s, QString(400, u'x'), 50, 1, 2 },
        { u"E"_s, QString(100'000, u'x'), 50, 0.1, 2 },
        { u"E"_s, u"many words "_s.repeated(200), 50, 1, 3 },
        { u"E"_s, QString(124, u'x') + u" y"_s, 50, 1.5, 99 },
        { u"E"_s, u"N"_s, 250, 1, 99 },
        { u"E"_s, u"N"_s, -50, 2, 99 },
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << &row - rows);
        const auto ruler = [&](const QString &text, bool, double size) {
            return double(text.size()) * row.Letter * (size < 1 ? size + 0.05 : 1);
        };
        const auto texts = ReportSheet::PlanFor({ row.Code, row.Name, u"Friday"_s, { 100, 70, row.Obtained } }, ruler).Texts;
        for (size_t i = 0; i < texts.size(); ++i) {
            const double right = texts[i].X + ruler(texts[i].Content, false, texts[i].Size);
            const bool hasNeighbour = texts[i].Y < 130 && texts[i + 1].Y == texts[i].Y;
            EXPECT_TRUE(texts[i].X >= 0 && right < (hasNeighbour ? texts[i + 1].X - 1 : 170.001))
                << texts[i].Content.toStdString();
            EXPECT_EQ(texts[i].Content.endsWith(u'…'), i == row.Cut);
        }
        const size_t label = texts[3].Y == 65 ? 4 : 3;
        EXPECT_TRUE(texts[2].Size == texts[label - 1].Size && texts[label].Size == texts[label + 2].Size);
    }
}
