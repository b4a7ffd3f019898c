// SPDX-License-Identifier: Apache-2.0
#include "tests/bank/BankFixture.h"
#include "tests/bank/MemoryFiles.h"

namespace {

// A package of one content, and what its reader finds.
QString ShownContent(const QByteArray &library, const QByteArray &content, const Bank::Options &options = {})
{
    return Shown(PackageOf({ { u"h5p.json"_s, "{\"title\":\"Quiz\",\"mainLibrary\":\"" + library + "\"}" },
                             { u"content/content.json"_s, content } }),
                 u"h5p"_s, options)
        .remove(u"name: Quiz\n"_s);
}

QByteArray Nested(const QByteArray &library, const QByteArray &params)
{
    return "{\"library\":\"" + library + " 1.2\",\"params\":" + params + "}";
}

const QByteArray OneChoice
    = R"({"question":"<p>Q?</p>\n","answers":[{"text":"a","correct":true},{"text":"b","correct":false}]})";

}

TEST(H5pTest, Choices)
{
    const std::pair<QByteArray, QString> rows[] = {
        { OneChoice, u"<p>Q?</p> | *a | b"_s },
        { R"({"question":"Q","answers":[{"text":"a","correct":true},{"text":"b","correct":true}]})",
          u"Q | *a | *b | multiple"_s },
        { R"({"question":"Q","answers":[{"text":"a","correct":true}],"behaviour":{"type":"multi"}})", u"Q | *a | multiple"_s },
        { R"({"question":"Q","answers":[{"text":"a","correct":true},{"text":"b","correct":true}],"behaviour":{"type":"single"}})",
          u"1: several answers are right alone"_s },
        { R"({"question":"Q","answers":[{"text":"a","correct":true},{"text":"b","correct":true}],
             "behaviour":{"type":"auto","singleAnswer":true}})",
          u"Q | *a | *b | multiple"_s },
        { R"({"question":"Q","answers":[{"text":"a","correct":true,"tipsAndFeedback":{"tip":"T","chosenFeedback":"C","notChosenFeedback":"N"}},
             {"text":"b","tipsAndFeedback":{"tip":" ","chosenFeedback":"","notChosenFeedback":"N"}}],
             "overallFeedback":[{"from":0,"to":50},{"from":51,"to":100,"feedback":"Well done"}]})",
          u"Q | *a(C) | b(N) | a tip is left out | feedback on options that are not chosen is left out | "
          "feedback on the score is left out"_s },
        { R"({"media":{"type":{"library":"H5P.Image 1.1","params":{"file":{"path":"images/a.png"},"alt":"A \"b\""}}},"question":"Q",
             "answers":[{"text":"a"}]})",
          u"<p><img src=\"images/a.png\" alt=\"A &quot;b&quot;\"></p>\nQ | a"_s },
        { R"({"media":{"library":"H5P.Image 1.0","params":{"file":{"path":"a.png"}}},"question":"Q","answers":[{"text":"a"}]})",
          u"<p><img src=\"a.png\" alt=\"\"></p>\nQ | a"_s },
        { R"({"media":{"type":{"library":"H5P.Video 1.5","params":{"sources":[]}}},"question":"Q","answers":[{"text":"a"}]})",
          u"Q | a | what it plays is left out (H5P.Video)"_s },
        { "{}", u"1: it has no options"_s },
        { R"({"question":7,"answers":{"text":[]}})", u"1: it has no options"_s },
        { "[]", u"content/content.json is no JSON object (no error occurred)"_s },
        { "{", u"content/content.json is no JSON object (unterminated object)"_s },
    };
    for (const auto &[content, expected] : rows)
        EXPECT_EQ(ShownContent("H5P.MultiChoice", content), expected) << content.toStdString();
}

TEST(H5pTest, TrueAndFalse)
{
    const QByteArray content = R"({"question":"Q","correct":"false","l10n":{"trueText":"Wahr","falseText":"Falsch"},
        "behaviour":{"feedbackOnCorrect":"Yes.","feedbackOnWrong":"No."}})";
    EXPECT_EQ(ShownContent("H5P.TrueFalse", content), u"Q | Wahr(No.) | *Falsch(Yes.)"_s);
    Bank::Options options;
    options.True = u"Ja"_s;
    options.False = u"Nein"_s;
    EXPECT_EQ(ShownContent("H5P.TrueFalse", content, options), u"Q | Ja(No.) | *Nein(Yes.)"_s);
    EXPECT_EQ(ShownContent("H5P.TrueFalse", R"({"question":"Q","correct":"true"})"), u"Q | *True | False"_s);
}

TEST(H5pTest, QuestionsWithinContents)
{
    const QByteArray set = R"({"choices":[{"question":"1","answers":["a","b"]},{"question":"2","answers":["c","d"]}]})";
    const QByteArray questions = "{\"questions\":[" + Nested("H5P.MultiChoice", OneChoice) + ',' + Nested("H5P.Essay", "{}")
        + ',' + Nested("H5P.SingleChoiceSet", set) + ','
        + Nested("H5P.FreeTextQuestion", "{\"question\":\"Q\",\"media\":" + Nested("H5P.Image", "{\"file\":{}}") + '}')
        + R"(],"introPage":{"introduction":"<p>Hi</p>"},"endGame":{"overallFeedback":[{"feedback":"F"}]}})";
    const QString lost = u"0! the introduction of a question set is left out\n"
                         "0! the feedback on the score of a question set is left out\n"_s;
    EXPECT_EQ(
        ShownContent("H5P.QuestionSet", questions),
        lost
            + u"<p>Q?</p> | *a | b\n2: an essay question has no options\n1 | *a | b\n2 | *c | d"
              "\n5: a content of the type H5P.Image is not read\n6: a content of the type H5P.FreeTextQuestion is not read"_s);

    const QByteArray column = R"({"content":[{"content":)" + Nested("H5P.AdvancedText", R"({"text":"Read."})")
        + "},{\"content\":" + Nested("H5P.QuestionSet", questions) + "}]}";
    Bank::Options passages;
    passages.HasPassages = true;
    EXPECT_EQ(ShownContent("H5P.Column", column).remove(lost).section(u'\n', 0, 1),
              u"1: a description without answers is no question\n<p>Q?</p> | *a | b"_s);
    EXPECT_EQ(ShownContent("H5P.Column", column, passages).remove(lost).section(u'\n', 0, 0),
              u"[Read.] | <p>Q?</p> | *a | b"_s);

    QByteArray deep = Nested("H5P.MultiChoice", OneChoice);
    for (int i = 0; i < 100; ++i)
        deep = Nested("H5P.Column", "{\"content\":" + deep + "}");
    EXPECT_EQ(ShownContent("H5P.Column", "{\"content\":" + deep + "}"), u"1: a content of the type H5P.Column is not read"_s);
}

TEST(H5pTest, Packages)
{
    const MemoryFiles::Contents contents = { { u"x/h5p.json"_s, "{\"mainLibrary\":\"H5P.MultiChoice\",\"title\":\"T\"}" },
                                             { u"x/content/content.json"_s, OneChoice },
                                             { u"x/content/images/a.png"_s, "picture" },
                                             { u"x/y/h5p.json"_s, "{}" } };
    const Bank::Source source = PackageOf(contents);
    ASSERT_TRUE(Bank::FormatOf(source));
    EXPECT_EQ(Bank::FormatOf(source)->Name, u"h5p"_s);
    EXPECT_EQ(Shown(source, u"h5p"_s), u"name: T\n<p>Q?</p> | *a | b"_s);
    struct Pictures : Bank::Receiver {
        std::optional<QByteArray> Picture;
        void Add(Bank::Item &&item) override { Picture = item.Files->Read(u"images/a.png"_s); }
        void SetName(const QString &) override { }
        void Warn(int, const QString &) override { }
    } pictures;
    Bank::FormatOf(source)->Read(source, {}, pictures);
    EXPECT_EQ(pictures.Picture, "picture");

    EXPECT_EQ(Shown(PackageOf({ { u"a"_s, "" } }), u"h5p"_s), u"no H5P package: it has no h5p.json"_s);
    EXPECT_EQ(Shown(PackageOf({ { u"h5p.json"_s, "{}" } }), u"h5p"_s).section(u'\n', -1),
              u"the H5P package has no content/content.json"_s);
    // Of a file that is no package, the files beside it are not its own.
    EXPECT_EQ(Shown({ u"q.gift"_s, "Q{=a ~b}", source.Files }, u"h5p"_s), u"no H5P package: it has no h5p.json"_s);
}
