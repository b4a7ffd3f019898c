#include "model/Question.h"
#include "tests/support/ExamBuilder.h"
#include "tests/support/ExpectError.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

QString Numbers(const Choices &choices)
{
    QStringList numbers;
    for (const auto &choice : choices)
        numbers << QString::number(choice->Number());
    return numbers.join(u' ');
}

}

TEST(ContentTest, PositionsAndNumbers)
{
    Choices choices;
    const auto twice = std::make_shared<Choice>();
    EXPECT_EQ(choices.Add(twice), twice);
    for (int i = 0; i < 3; ++i)
        choices.Add(std::make_shared<Choice>());
    choices.Add(twice);
    choices.ResetNumbers();
    EXPECT_EQ(Numbers(choices), u"5 2 3 4 5"_s) << "one object at two positions";
    choices.Remove(3);
    EXPECT_EQ(Numbers(choices), u"5 2 4 5"_s) << "the numbers stay";
    choices.RemoveObject(twice);
    EXPECT_EQ(Numbers(choices), u"2 4"_s);
    EXPECT_EQ(choices.Item(2)->Number(), 4);
    for (const qint32 position : { -1, 0, 3, 0x7FFFFFFF }) {
        EXPECT_EQ(ResultOf([&] { choices.Item(position); }), u"9 "_s) << position;
        EXPECT_EQ(ResultOf([&] { choices.Remove(position); }), u"9 "_s) << position;
    }
    choices.Clear();
    EXPECT_EQ(choices.Count(), 0);
}

TEST(ContentTest, MoreItemsThanTheCountersHold)
{
    Question question;
    const auto choice = std::make_shared<Choice>();
    choice->SetIsSolution(true);
    for (int i = 0; i < 32'767; ++i)
        question.Choices().Add(choice);
    EXPECT_EQ(ResultOf([&] { question.Choices().ResetNumbers(); }), u"none"_s);
    EXPECT_EQ(question.AnswerCount(), 32'767);
    question.Choices().Add(choice);
    EXPECT_EQ(ResultOf([&] { question.Choices().ResetNumbers(); }), u"6 "_s);
    EXPECT_EQ(ResultOf([&] { question.Choices().Clear(); }), u"6 "_s);
    EXPECT_EQ(ResultOf([&] { question.AnswerCount(); }), u"6 "_s);
}

TEST(ContentTest, KeysAndCounts)
{
    struct Row { QStringList Options; QString Key; qint16 Count; };
    Exam exam;
    for (const Row &row : { Row{ {}, u""_s, 0 }, Row{ { u"a"_s, u"b"_s }, u""_s, 0 }, Row{ { u"*a"_s, u"b"_s, u"*c"_s }, u"1,3"_s, 2 },
                            Row{ { u"a"_s, u"*b"_s, u"c"_s, u"*d"_s, u"*e"_s }, u"2,4,5"_s, 3 } }) {
        const auto question = AddItem(exam, { u"?"_s, row.Options });
        EXPECT_EQ(question->CorrectAnswer(), row.Key);
        EXPECT_EQ(question->AnswerCount(), row.Count) << row.Key.toStdString();
        EXPECT_EQ(question->SolutionCount(), row.Count) << row.Key.toStdString();
    }
    // The order of the collection, not of the numbers; the stored count waits.
    const auto question = AddItem(exam, { u"?"_s, { u"*a"_s, u"b"_s, u"*c"_s } });
    question->Choices().Item(1)->SetNumber(7);
    question->Choices().Item(2)->SetIsSolution(true);
    EXPECT_EQ(question->CorrectAnswer(), u"7,2,3"_s);
    EXPECT_EQ(question->SolutionCount(), 2);
    question->CalculateSolutionCount();
    EXPECT_EQ(question->SolutionCount(), 3);
}
