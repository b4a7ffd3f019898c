// SPDX-License-Identifier: Apache-2.0
#include "tests/bank/BankFixture.h"

#include <QRegularExpression>

namespace {

Bank::Source Quiz(const QString &questions)
{
    return { u"bank.xml"_s, (u"<quiz>"_s + questions + u"</quiz>"_s).toUtf8(),
             std::make_shared<Bank::FolderFiles>(Sandbox::Path(u"bank"_s)) };
}

struct Items : Bank::Receiver {
    std::vector<Bank::Item> All;
    QString Fault;

    explicit Items(const QString &questions, const Bank::Options &options = {})
    {
        try {
            Bank::FormatOf(u"moodle"_s)->Read(Quiz(questions), options, *this);
        } catch (const Error &error) {
            Fault = error.Description();
        }
    }
    void Add(Bank::Item &&item) override { All.push_back(std::move(item)); }
    void SetName(const QString &) override { }
    void Warn(int, const QString &) override { }
};

QString Typed(const QString &type, const QString &content)
{
    return u"<question type=\"%1\"><name><text> A name</text></name>%2</question>"_s.arg(type, content);
}
QString Asked(const QString &content, const QString &type = u"multichoice"_s)
{
    return Typed(type, u"<questiontext format=\"html\"><text>Q</text></questiontext>"_s + content);
}
QString Answer(int fraction, const QString &text, const QString &more = {})
{
    return u"<answer fraction=\"%1\"><text>%2</text>%3</answer>"_s.arg(fraction).arg(text, more);
}
QString Feedback(const QString &text)
{
    return u"<feedback><text>%1</text></feedback>"_s.arg(text);
}
QString Category(const QString &path)
{
    return u"<question type=\"category\"><category><text>%1</text></category></question>"_s.arg(path);
}

}

TEST(MoodleXmlTest, Questions)
{
    const QString a = Answer(100, u"a"_s);
    const QString b = Answer(0, u"b"_s);
    const QString half = Answer(50, u"c"_s);
    const QString several = u"<single>false</single>"_s;
    const QString others = u"\n"_s + Typed(u"matching"_s, a) + u"\n"_s + Typed(u"cloze"_s, {}) + Typed(u"own"_s, {});
    const std::vector<Row> rows = {
        { "one right", Asked(u"<single>true</single>"_s + a + b), u"Q | *a | b"_s },
        { "says not how many", Asked(b + a + half), u"Q | b | *a | c"_s },
        { "two right alone", Asked(a + b + a), u"1: several answers are right alone"_s },
        { "several", Asked(several + half + Answer(-100, u"d"_s) + half), u"Q | *c | d | *c | multiple"_s },
        { "said last, with a comma", Asked(u"<answer fraction=\"0,5\"><text>a</text></answer>"_s + b + several),
          u"Q | *a | b | multiple"_s },
        { "feedback",
          Asked(
              Answer(100, u"a"_s, Feedback(u" well done "_s)) + b + u"<hint><text>x</text></hint>"_s
              + u"<generalfeedback><text>so it is</text></generalfeedback><correctfeedback><text>x</text></correctfeedback>"_s),
          u"1! hints, and feedback on an answer as a whole, are left out here and below\nQ | *a(well done) | b | #so it is"_s },
        { "keeps its order", Asked(a + b + u"<shuffleanswers>0</shuffleanswers>"_s), u"Q | *a! | b!"_s },
        { "true", Asked(Answer(100, u"true"_s, Feedback(u"yes"_s)) + Answer(0, u"false"_s), u"truefalse"_s),
          u"Q | *True(yes) | False"_s },
        { "false first", Asked(Answer(100, u"FALSE"_s) + Answer(0, u"true"_s), u"truefalse"_s), u"Q | True | *False"_s },
        { "neither", Asked(a + b, u"truefalse"_s), u"1: its answers are not \"true\" and \"false\""_s },
        { "tags as they are", Asked(Answer(100, u"2<sup>n</sup> &lt; x<br/>"_s) + b), u"Q | *2<sup>n</sup> &lt; x<br> | b"_s },
        { "both kinds of text", Asked(Answer(100, u" <![CDATA[<b>&amp;</b>]]>&lt;i>"_s) + b), u"Q | *<b>&amp;</b><i> | b"_s },
        { "none", Asked({}), u"1: it has no options"_s },
        { "too many", Asked(a.repeated(1001)), u"1: it has more than 1000 options"_s },
        { "others", others,
          u"2: a matching question has no options\n3: an embedded-answers question (Cloze) has its options inside the text\n"
          "3: a question of the type \"own\" is not known"_s },
        { "categories",
          Category(u"$course$/top/Default for Art/Colours of a//b"_s) + Asked(a) + Category(u"top/ c / d"_s) + Asked(a),
          u"name: Colours of a/b\nQ | *a | in Default for Art/Colours of a/b\nQ | *a | in c/d"_s },
        { "no question before", Typed(u"description"_s, {}), u"1: a description without answers is no question"_s },
    };
    ExpectRows([](const QString &source) { return Shown(Quiz(source), u"moodle"_s); }, rows);
}

TEST(MoodleXmlTest, FormatsOfTexts)
{
    const Items items(
        Typed(u"multichoice"_s,
              u"<questiontext format=\"markdown\"><text>Q</text></questiontext>"
              "<answer format=\"plain_text\"><text>a</text><feedback format=\"html\"><text>b</text></feedback></answer>"
              "<answer format=\"moodle_auto_format\"><text>c</text></answer>"_s)
        + u"\n"_s + Asked(u"\n<answer>&x;</answer>"_s));
    // What stands before a fault is taken.
    EXPECT_EQ(items.Fault, u"line 3: Entity 'x' not declared."_s);
    ASSERT_EQ(items.All.size(), 1U);
    const Bank::Item &item = items.All.front();
    using Markup::Kind;
    EXPECT_EQ(item.Title, u"A name"_s);
    EXPECT_EQ(item.Problem.Kind, Kind::Markdown);
    EXPECT_EQ(item.Options.at(0).Statement.Kind, Kind::Plain);
    EXPECT_EQ(item.Options.at(0).Feedback.Kind, Kind::Html);
    EXPECT_EQ(item.Options.at(1).Statement.Kind, Kind::Moodle);
}

TEST(MoodleXmlTest, PicturesAndPassages)
{
    const auto text = [](const QString &element, const QString &markup, const char *picture) {
        return u"<%1><text><![CDATA[%2]]></text><file name=\"a b.png\" path=\"/\" encoding=\"base64\">%3</file></%1>"_s.arg(
            element, markup, QString::fromLatin1(QByteArray(picture).toBase64()));
    };
    const QString picture = u"<img src=\"@@PLUGINFILE@@/a%20b.png\">"_s;
    const QString all = text(u"questiontext"_s, picture, "stem") + text(u"answer"_s, picture, "option")
        + text(u"answer"_s, picture, "stem") + text(u"generalfeedback"_s, u"<img src=\"pictures/c.png\">"_s, "")
        + u"<image>old.png</image><image_base64>b2xk</image_base64>"_s;
    Sandbox::WriteFile(Sandbox::Path(u"bank/pictures/c.png"_s), "beside");
    Bank::Options options;
    options.HasPassages = true;
    const Items items(Typed(u"description"_s, text(u"questiontext"_s, picture, "passage"))
                          + Typed(u"description"_s, text(u"questiontext"_s, picture, "more")) + Typed(u"multichoice"_s, all)
                          + Asked(Answer(100, u"a"_s)) + Category(u"c"_s) + Asked(Answer(100, u"a"_s)),
                      options);
    ASSERT_EQ(items.All.size(), 3U);
    const Bank::Item &item = items.All.front();
    const auto pictures = [&](const Markup::Text &in) {
        static const QRegularExpression source(u"src=\"([^\"]*)\""_s);
        QByteArrayList contents;
        for (auto match = source.globalMatch(in.Source); match.hasNext();)
            contents += item.Files->Read(Bank::PathOf(match.next().captured(1))).value_or("nothing");
        return contents.join(' ');
    };
    EXPECT_EQ(pictures(item.Passage), "passage more");
    EXPECT_EQ(pictures(item.Problem), "stem old");
    EXPECT_EQ(pictures(item.Options.at(0).Statement), "option");
    EXPECT_EQ(pictures(item.Options.at(1).Statement), "stem");
    EXPECT_EQ(pictures(item.Feedback), "beside");
    EXPECT_EQ(items.All.at(1).Passage, item.Passage);
    EXPECT_EQ(items.All.at(2).Passage, Markup::Text());
}

TEST(MoodleXmlTest, Recognised)
{
    for (const auto &[bytes, isMoodle] : { std::pair{ "<!-- {x} --><quiz>\n<!-- y --><question type='essay'/></quiz>", true },
                                           { "<quiz/>", true },
                                           { "<quiz><item/></quiz>", false } }) {
        const Bank::Format *format = Bank::FormatOf(Bank::Source{ u"bank.txt"_s, bytes, nullptr });
        EXPECT_EQ(format && format->Name == u"moodle"_s, isMoodle) << bytes;
    }
    const QByteArray russian
        = "<quiz>" + Asked(Answer(100, u"a"_s) + Answer(0, u"b"_s)).toUtf8().replace("Q", "\xC4\xE0") + "</quiz>";
    EXPECT_EQ(Shown({ {}, russian, {}, u"cp1251"_s }, u"moodle"_s), u"\u0414\u0430 | *a | b"_s);
    EXPECT_EQ(Shown({ {}, "<bank/>", nullptr }, u"moodle"_s), u"line 1: the root is the element \"bank\" and not \"quiz\""_s);
}
