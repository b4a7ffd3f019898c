#include "shell/ReviewList.h"
#include "tests/support/Test.h"

TEST(ReviewListTest, Entries)
{
    const struct { int Solutions; QString Answer; bool IsMarked; QString Text, Icon; } rows[] = {
        { 1, u""_s, false, u"1"_s, u"Incomplete"_s },     { 1, u"2"_s, false, u"2 - B"_s, u"Complete"_s },
        { 1, u""_s, true, u"3"_s, u"Checked"_s },         { 2, u"1,3"_s, false, u"4 - A,C"_s, u"Complete"_s },
        { 3, u"1,2"_s, false, u"5 - A,B"_s, u"Incomplete"_s }, { 0, u""_s, false, u"6"_s, u"Complete"_s },
    };
    const auto exam = NewExam();
    for (const auto &row : rows) {
        QStringList options(3, u"no"_s);
        for (int i = 0; i < row.Solutions; ++i)
            options[i] = u"*yes"_s;
        const auto item = AddItem(*exam, { u"?"_s, options });
        item->SetAnswer(row.Answer);
        item->SetIsMarked(row.IsMarked);
    }
    const std::vector<ReviewList::Entry> entries = ReviewList::Entries(*exam);
    ASSERT_EQ(entries.size(), std::size(rows));
    for (size_t i = 0; i < entries.size(); ++i) {
        EXPECT_EQ(entries[i].Text, rows[i].Text);
        EXPECT_EQ(entries[i].Icon, rows[i].Icon) << rows[i].Text.toStdString();
    }
    EXPECT_TRUE(ReviewList::HasMarked(*exam));
    exam->Questions().Item(3)->SetIsMarked(false);
    EXPECT_FALSE(ReviewList::HasMarked(*exam));
}

// Of fifty items.
TEST(ReviewListTest, NumberField)
{
    const struct { QString Typed, Held, Number; } rows[] = {
        { u"  "_s, u"  "_s, u"0"_s }, { u"50"_s, u"50"_s, u"50"_s }, { u"51"_s, u"50"_s, u"50"_s }, { u"000"_s, u"1"_s, u"1"_s },
        { u"x"_s, u"1"_s, u"1"_s }, { u"-3"_s, u"1"_s, u"1"_s }, { u"7x9"_s, u"7x9"_s, u"7"_s },
        { u"9"_s.repeated(400), u"50"_s, u"50"_s },
    };
    for (const auto &row : rows) {
        const QString held = ReviewList::Limited(row.Typed, 50);
        EXPECT_EQ(held, row.Held) << row.Typed.left(20).toStdString();
        EXPECT_EQ(ResultOf([&] { return ReviewList::NumberIn(held); }), row.Number) << row.Typed.left(20).toStdString();
    }
    EXPECT_EQ(ResultOf([] { return ReviewList::NumberIn(u"32768"_s); }), u"6 "_s);
}
