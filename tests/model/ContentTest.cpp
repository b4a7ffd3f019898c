// SPDX-License-Identifier: Apache-2.0
#include "model/Question.h"
#include "tests/support/Test.h"

TEST(ContentTest, PositionsAndNumbers)
{
    Choices choices;
    const auto twice = std::make_shared<Choice>();
    for (const auto &choice : { twice, std::make_shared<Choice>(), std::make_shared<Choice>(), twice })
        choices.Add(choice);
    choices.ResetNumbers();
    EXPECT_EQ(twice->Number(), 4) << "one object at two positions";
    choices.Remove(2);
    EXPECT_EQ(choices.Item(2)->Number(), 3) << "the numbers stay";
    choices.RemoveObject(twice);
    EXPECT_EQ(choices.Count(), 1);
    for (const qint32 position : { -1, 0, 2, 0x7FFFFFFF }) {
        EXPECT_EQ(ResultOf([&] { choices.Item(position); }), u"9 "_s) << position;
        EXPECT_EQ(ResultOf([&] { choices.Remove(position); }), u"9 "_s) << position;
    }
    while (choices.Count() <= 32'767)
        choices.Add(twice);
    EXPECT_EQ(ResultOf([&] { choices.ResetNumbers(); }) + ResultOf([&] { choices.Clear(); }), u"6 6 "_s);
}

TEST(ContentTest, KeysAndCounts)
{
    Exam exam;
    EXPECT_EQ(AddItem(exam, { u"?"_s, { u"a"_s, u"b"_s } })->CorrectAnswer(), u""_s);
    // The order of the collection, not of the numbers; the stored count waits.
    const auto question = AddItem(exam, { u"?"_s, { u"*a"_s, u"b"_s, u"*c"_s } });
    question->Choices().Item(1)->SetNumber(7);
    question->Choices().Item(2)->SetIsSolution(true);
    EXPECT_EQ(question->CorrectAnswer(), u"7,2,3"_s);
    EXPECT_EQ(question->SolutionCount(), 2);
    question->CalculateSolutionCount();
    EXPECT_EQ(question->SolutionCount(), 3);
}
