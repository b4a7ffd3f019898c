// SPDX-License-Identifier: Apache-2.0
#include "tests/bank/BankFixture.h"

#include <QRegularExpression>

namespace {

// The elements as questions of a quiz whose first line is the first of them.
QString Read(const QString &questions, const Bank::Options &options = {})
{
    return Shown({ u"bank.xml"_s, (u"<quiz>"_s + questions + u"</quiz>"_s).toUtf8(), nullptr }, u"moodle"_s, options);
}

struct Items : Bank::Receiver {
    std::vector<Bank::Item> All;
    QString Fault;

    explicit Items(const QString &questions, const Bank::Options &options = {})
    {
        const auto files = std::make_shared<Bank::FolderFiles>(Sandbox::Path(u"bank"_s));
        try {
            Bank::FormatOf(u"moodle"_s)->Read({ {}, (u"<quiz>"_s + questions + u"</quiz>"_s).toUtf8(), files }, options, *this);
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
    return u"<question type=\"%1\"><name><text>A name</text></name>%2</question>"_s.arg(type, content);
}

QString Asked(const QString &content, const QString &type = u"multichoice"_s)
{
    return Typed(type, u"<questiontext format=\"html\"><text>Q</text></questiontext>"_s + content);
}

QString Answer(const QString &fraction, const QString &text, const QString &more = {})
{
    return u"<answer fraction=\"%1\"><text>%2</text>%3</answer>"_s.arg(fraction, text, more);
}

QString Category(const QString &path)
{
    return u"<question type=\"category\"><category><text>%1</text></category></question>"_s.arg(path);
}

QString Several(const QString &content)
{
    return Asked(u"<single>false</single>"_s + content);
}

}

TEST(MoodleXmlTest, Questions)
{
    const QString ab = Answer(u"100"_s, u"a"_s) + Answer(u"0"_s, u"b"_s);
    ExpectRows(
        [](const QString &source) { return Read(source); },
        {
            { "one right", Asked(u"<single>true</single>"_s + ab), u"Q | *a | b"_s },
            { "says not how many", Asked(ab), u"Q | *a | b"_s },
            { "all credit alone", Asked(Answer(u"50"_s, u"a"_s) + Answer(u"100"_s, u"b"_s)), u"Q | a | *b"_s },
            { "two right alone", Asked(ab + Answer(u"100"_s, u"c"_s)), u"1: several answers are right alone"_s },
            { "several", Several(Answer(u"33,33333"_s, u"a"_s) + Answer(u"66.66667"_s, u"b"_s) + Answer(u"-100"_s, u"c"_s)),
              u"Q | *a | *b | c | multiple"_s },
            { "said last", Asked(ab + Answer(u"50"_s, u"c"_s) + u"<single>0</single>"_s), u"Q | *a | b | *c | multiple"_s },
            { "feedback",
              Asked(Answer(u"100"_s, u"a"_s, u"<feedback><text> well done </text></feedback>"_s) + Answer(u"0"_s, u"b"_s)
                    + u"<generalfeedback><text>so it is</text></generalfeedback>"
                      "<correctfeedback><text>lost</text></correctfeedback><hint><text>lost</text></hint>"_s),
              u"Q | *a(well done) | b | #so it is"_s },
            { "keeps its order", Asked(ab + u"<shuffleanswers>0</shuffleanswers>"_s), u"Q | *a! | b!"_s },
            { "true",
              Asked(Answer(u"100"_s, u"true"_s, u"<feedback><text>yes</text></feedback>"_s) + Answer(u"0"_s, u"false"_s),
                    u"truefalse"_s),
              u"Q | *True(yes) | False"_s },
            { "false first", Asked(Answer(u"100"_s, u"FALSE"_s) + Answer(u"0"_s, u"true"_s), u"truefalse"_s),
              u"Q | True | *False"_s },
            { "neither", Asked(ab, u"truefalse"_s), u"1: its answers are not \"true\" and \"false\""_s },
            { "tags as they are", Asked(Answer(u"100"_s, u"2<sup>n</sup> &lt; x<br/>"_s) + Answer(u"0"_s, u"2n"_s)),
              u"Q | *2<sup>n</sup> &lt; x<br> | 2n"_s },
            { "characters of both kinds", Asked(Answer(u"100"_s, u" <![CDATA[<b>&amp;</b>]]>&lt;i>"_s)),
              u"Q | *<b>&amp;</b><i>"_s },
            { "none", Asked({}), u"1: it has no options"_s },
            { "too many", Asked(ab.repeated(501)), u"1: it has more than 1000 options"_s },
            { "others",
              u"\n"_s + Typed(u"matching"_s, ab) + u"\n"_s + Typed(u"cloze"_s, {}) + Typed(u"own"_s, {})
                  + Typed(u"description"_s, {}),
              u"2: a matching question has no options\n3: an embedded-answers question (Cloze) has its options inside the "
              u"text\n"
              "3: a question of the type \"own\" is not known\n3: a description without answers is no question"_s },
            { "categories",
              Category(u"$course$/top/Default for Art/Colours of a//b"_s) + Asked(ab) + Category(u"top/ c / d"_s) + Asked(ab),
              u"name: Colours of a/b\nQ | *a | b | in Default for Art/Colours of a/b\nQ | *a | b | in c/d"_s },
        });
}

TEST(MoodleXmlTest, FormatsOfTexts)
{
    const Items items(u"<question type=\"multichoice\"><name><text> A name</text></name>"
                      "<questiontext format=\"markdown\"><text>Q</text></questiontext>"
                      "<answer fraction=\"100\" format=\"plain_text\"><text>a</text>"
                      "<feedback format=\"html\"><text>b</text></feedback></answer>"
                      "<answer format=\"moodle_auto_format\"><text>c</text><feedback><text>d</text></feedback></answer>"
                      "</question>"_s);
    const Bank::Item &item = items.All.at(0);
    using Markup::Kind;
    EXPECT_EQ(item.Title, u"A name"_s);
    EXPECT_EQ(item.Problem.Kind, Kind::Markdown);
    EXPECT_EQ(item.Options.at(0).Statement.Kind, Kind::Plain);
    EXPECT_EQ(item.Options.at(0).Feedback.Kind, Kind::Html);
    EXPECT_EQ(item.Options.at(1).Statement.Kind, Kind::Moodle);
    EXPECT_EQ(item.Options.at(1).Feedback.Kind, Kind::Markdown);
}

TEST(MoodleXmlTest, WhatStandsBeforeAFaultIsTaken)
{
    const Items items(Asked(Answer(u"100"_s, u"a"_s)) + u"\n"_s + Asked(u"\n<answer>&x;</answer>"_s));
    EXPECT_EQ(items.All.size(), 1U);
    EXPECT_EQ(items.Fault, u"line 3: Entity 'x' not declared."_s);
}

TEST(MoodleXmlTest, PicturesWithinAndBeside)
{
    const auto text = [](const QString &element, const QString &markup, const QString &files) {
        return u"<%1 format=\"html\"><text>%2</text>%3</%1>"_s.arg(element, markup.toHtmlEscaped(), files);
    };
    const auto file = [](const QString &name, const char *content) {
        return u"<file name=\"%1\" path=\"/\" encoding=\"base64\">%2</file>"_s.arg(name,
                                                                                   QString::fromLatin1(
                                                                                       QByteArray(content).toBase64()));
    };
    const QString picture = u"<img src=\"@@PLUGINFILE@@/a%20b.png\">"_s;
    Sandbox::WriteFile(Sandbox::Path(u"bank/pictures/c.png"_s), "beside");
    Bank::Options options;
    options.HasPassages = true;
    const QString passage = Typed(u"description"_s, text(u"questiontext"_s, u"P"_s + picture, file(u"a b.png"_s, "passage")));
    const QString item = Typed(u"multichoice"_s,
                               text(u"questiontext"_s, picture, file(u"a b.png"_s, "stem"))
                                   + text(u"answer"_s, picture, file(u"a b.png"_s, "option"))
                                   + text(u"answer"_s, picture, file(u"a b.png"_s, "stem"))
                                   + text(u"generalfeedback"_s, u"<img src=\"pictures/c.png\">"_s, {})
                                   + u"<image>old.png</image><image_base64>b2xk</image_base64>"_s);
    const Items items(passage + item + Category(u"c"_s) + Asked(Answer(u"100"_s, u"a"_s)), options);
    const auto pictures = [&](size_t index, const Markup::Text &in) {
        static const QRegularExpression source(u"src=\"([^\"]*)\""_s);
        QByteArrayList contents;
        for (auto match = source.globalMatch(in.Source); match.hasNext();)
            contents += items.All.at(index).Files->Read(Bank::PathOf(match.next().captured(1))).value_or("nothing");
        return contents.join(' ');
    };
    const Bank::Item &first = items.All.at(0);
    EXPECT_EQ(pictures(0, first.Passage), "passage");
    EXPECT_EQ(pictures(0, first.Problem), "stem old");
    EXPECT_EQ(pictures(0, first.Options.at(0).Statement), "option");
    EXPECT_EQ(pictures(0, first.Options.at(1).Statement), "stem");
    EXPECT_EQ(pictures(0, first.Feedback), "beside");
    EXPECT_EQ(items.All.at(1).Passage, Markup::Text());
}

TEST(MoodleXmlTest, Passages)
{
    const auto told = [](const QString &text) {
        return Typed(u"description"_s, u"<questiontext><text>%1</text></questiontext>"_s.arg(text));
    };
    const QString item = Asked(Answer(u"100"_s, u"a"_s));
    Bank::Options options;
    options.HasPassages = true;
    ExpectRows([&](const QString &source) { return Read(source, options); },
               {
                   { "two parts, two items", told(u"P"_s) + told(u"R"_s) + item + item,
                     u"[P\n<div>R</div>] | Q | *a\n[P\n<div>R</div>] | Q | *a"_s },
                   { "the next one", told(u"P"_s) + item + told(u"R"_s) + item, u"[P] | Q | *a\n[R] | Q | *a"_s },
                   { "ends with the category", told(u"P"_s) + item + Category(u"c"_s) + item,
                     u"[P] | Q | *a\nname: c\nQ | *a | in c"_s },
                   { "of nothing", told(u"P"_s) + Category(u"top"_s), u"1! no question follows the description\nname: "_s },
               });
}

TEST(MoodleXmlTest, Recognised)
{
    const auto name = [](const QByteArray &bytes) {
        const Bank::Format *format = Bank::FormatOf(Bank::Source{ u"bank.txt"_s, bytes, nullptr });
        return format ? format->Name : QString();
    };
    EXPECT_EQ(name("<?xml version=\"1.0\"?>\n<!-- from: {x} --><quiz>\n<!-- question: 1 --><question type='essay'/></quiz>"),
              u"moodle"_s);
    EXPECT_EQ(name("<quiz/>"), u"moodle"_s);
    EXPECT_NE(name("<quiz><item/></quiz>"), u"moodle"_s);
    EXPECT_EQ(Shown({ {}, "<bank/>", nullptr }, u"moodle"_s), u"line 1: the root is the element \"bank\" and not \"quiz\""_s);
}
