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
    const std::tuple<QString, QString, QString> rows[] = {
        { words, words, u""_s },
        { x115 + u" y"_s, x115, u"y"_s },
        { x115 + u"y "_s, x115 + u'y', u""_s },
        { x115.left(114) + u" yy zz"_s, x115.left(114) + u" yy"_s, u"zz"_s },
        { u"a b "_s + x115 + x115, u"a b "_s + x115 + x115, u""_s },
    };
    for (const auto &[name, first, rest] : rows) {
        const ReportSheet::Title title = ReportSheet::TitleOf(name);
        EXPECT_EQ(title.First + u'|' + title.Rest, u"Exam Title: "_s + first + u'|' + rest);
    }
}

// What stands where is measured on the painted page; here are its words. Every letter is a millimetre wide.
TEST(ReportSheetTest, Words)
{
    const auto ruler = [](const QString &text, bool, double size) { return double(text.size()) * size; };
    const auto plan = ReportSheet::PlanFor({ u"EX-101"_s, u"Name"_s, u"Friday"_s, { 100, 70, 120 } }, ruler);
    QStringList words;
    for (const ReportSheet::Text &text : plan.Texts)
        words += u"%1 %2"_s.arg(text.Y).arg(text.Content);
    words.removeLast();
    EXPECT_EQ(words.join(u'|'),
              u"55 Exam Code: EX-101|55 Dated: Friday|60 Exam Title: Name|110 Required Score:|110 70%|120 Your Score:|120 120%|"
              "132 0%|132 100%|145 Required Score: 70|145 Your Score: 120|145 Grade: Pass|"
              "250 Score report printed with Practorium - The Most Realistic Exam Simulator"_s);
    EXPECT_EQ(plan.Bars[1].Rectangle, QRectF(30, 116, 156, 8)) << "wider than the scale";
    const auto failed = ReportSheet::PlanFor({ u"E"_s, u"N"_s, u"D"_s, { 100, 70, 69 } }, ruler);
    EXPECT_EQ(failed.Texts[11].Content, u"Grade: Fail"_s);
}

// A print server refuses jobs of a name with a control character or of more than 255 bytes.
TEST(ReportSheetTest, JobNames)
{
    const QString x60(60, u'x');
    EXPECT_EQ(ReportSheet::JobName(u"A\n\x01 B\0C"_s), u"Score report: A B"_s);
    EXPECT_EQ(ReportSheet::JobName(x60) + ReportSheet::JobName(x60 + x60),
              u"Score report: "_s + x60 + u"Score report: "_s + x60 + u"..."_s);
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
