// SPDX-License-Identifier: Apache-2.0
#include "tests/bank/BankFixture.h"
#include "tests/bank/MemoryFiles.h"

namespace {

QByteArray BankOf(const QByteArray &content)
{
    return "<?xml version=\"1.0\"?>\n<questestinterop>" + content + "</questestinterop>";
}

QByteArray Item(const QByteArray &presentation, const QByteArray &rest = {})
{
    return "<item title=\"T\"><presentation>" + presentation + "</presentation>" + rest + "</item>";
}

QByteArray Text(const QByteArray &text, const QByteArray &type = "text/plain")
{
    return "<material><mattext texttype=\"" + type + "\">" + text + "</mattext></material>";
}

// Options a, b and c.
QByteArray Options(const QByteArray &cardinality = "Single")
{
    QByteArray labels;
    for (const char *name : { "a", "b", "c" })
        labels += "<response_label ident=\"" + QByteArray(name) + "\">" + Text(name) + "</response_label>";
    return Text("Q") + "<response_lid ident=\"r\" rcardinality=\"" + cardinality + "\"><render_choice>" + labels
        + "</render_choice></response_lid>";
}

// Conditions, and changes of the score.
QByteArray Equal(const QByteArray &option)
{
    return "<varequal respident=\"r\">" + option + "</varequal>";
}
QByteArray In(const QByteArray &element, const QByteArray &content)
{
    return "<" + element + ">" + content + "</" + element + ">";
}
QByteArray If(const QByteArray &test, const QByteArray &score = {}, const QByteArray &feedback = {},
              const QByteArray &attributes = "continue=\"Yes\"", const QByteArray &action = "Set")
{
    return "<respcondition " + attributes + ">" + In("conditionvar", test)
        + (score.isEmpty() ? QByteArray() : "<setvar action=\"" + action + "\">" + score + "</setvar>")
        + (feedback.isEmpty() ? QByteArray() : "<displayfeedback linkrefid=\"" + feedback + "\"/>") + "</respcondition>";
}
QByteArray Add(const QByteArray &option, const QByteArray &score)
{
    return If(Equal(option), score, {}, {}, "Add");
}

QString ShownBank(const QByteArray &content, const Bank::Options &options = {})
{
    return Shown({ u"bank.xml"_s, BankOf(content), std::make_shared<MemoryFiles>(MemoryFiles::Contents{}) }, u"qti1"_s,
                 options);
}

}

TEST(Qti1Test, Keys)
{
    struct Scoring {
        const char *Name;
        QByteArray Cardinality, Conditions;
        QString Expected;
    };
    const QByteArray ab = Equal("a") + Equal("b");
    const QByteArray notC = In("not", Equal("c"));
    const QString twoRight = u"Q | *a | *b | c | multiple"_s;
    const QString noKey = u"2: its scoring cannot be expressed as one key"_s;
    const std::vector<Scoring> rows = {
        { "one", "Single", If(Equal("b"), "100"), u"Q | a | *b | c"_s },
        { "the best", "Single", If(Equal("a"), "50") + If(Equal("b"), "100") + If(Equal("c"), "-5"), u"Q | a | *b | c"_s },
        { "two", "Single", If(Equal("a"), "1") + If(Equal("b"), "1"), u"2: several answers are right alone"_s },
        { "either", "Single", If(In("or", ab), "1"), u"2: several answers are right alone"_s },
        { "none", "Single", If(Equal("a"), "0") + If(Equal("x"), "1"), u"Q | a | b | c"_s },
        { "unscored", "Single", {}, u"Q | a | b | c"_s },
        { "all but", "Single", If(In("not", In("or", ab)), "1"), u"Q | a | b | *c"_s },
        { "the rest", "Single", If(In("or", ab), "0", {}, "") + If("<other/>", "1"), u"Q | a | b | *c"_s },
        { "the first ends", "Single", If(Equal("a"), "1", {}, "continue=\"No\"") + If("", "0", {}, ""), u"Q | *a | b | c"_s },
        { "by name", "Single", If(Equal("a"), "SCORE.max"), u"Q | *a | b | c"_s },
        { "each and not", "Multiple", If(In("and", ab + notC), "100"), twoRight },
        { "each", "Multiple", If(ab, "100"), twoRight },
        { "sum", "Multiple", Add("a", "50") + Add("b", "50") + Add("c", "-50"), twoRight },
        { "sum of a missing one", "Multiple", Add("a", "1") + If(notC, "1", {}, {}, "Add") + Add("b", "1"), twoRight },
        { "one of several", "Multiple", If(In("and", Equal("a") + In("not", In("or", Equal("b") + Equal("c")))), "1"),
          u"Q | *a | b | c | multiple"_s },
        { "partly", "Multiple", If(In("and", ab + notC), "100", {}, "continue=\"No\"") + If(In("or", ab), "50"), twoRight },
        { "partly in the end", "Multiple", If(In("and", ab + notC), "100") + If(In("or", ab), "50"), noKey },
        { "either set", "Multiple", If(In("or", In("and", ab) + Equal("c")), "1"), noKey },
        { "any", "Multiple", If(In("or", ab), "1"), noKey },
        { "counted mistakes", "Multiple",
          If(Equal("c"), "1", {}, "", "Add\" varname=\"X_Incorrect") + If(Equal("a"), "1", {}, "", "Add\" varname=\"X_Correct")
              + If(Equal("b"), "1", {}, "", "Add\" varname=\"X_Correct"),
          twoRight },
        { "more together", "Multiple", Add("a", "1") + If(In("and", Equal("b") + Equal("c")), "2", {}, {}, "Add"), noKey },
        { "by order", "Single", If("<durlt>5</durlt>", "1"), noKey },
    };
    for (const Scoring &row : rows)
        EXPECT_EQ(ShownBank(Item(Options(row.Cardinality), In("resprocessing", row.Conditions))), row.Expected) << row.Name;
}

TEST(Qti1Test, Texts)
{
    const auto option = [](const QByteArray &material) {
        return "<response_lid><render_choice><flow_label><response_label ident=\"a\" rshuffle=\"No\">" + material
            + "</response_label></flow_label></render_choice></response_lid>";
    };
    const std::pair<QByteArray, QString> rows[] = {
        { Text("&lt;p&gt;1 &amp;lt; 2&lt;/p&gt;", "text/html") + option(Text("1 &lt; 2")), u"<p>1 &lt; 2</p> | 1 < 2!"_s },
        { Text("<![CDATA[<b>b</b>]]>", "text/html") + option(Text("<b>b</b> &lt;")), u"<b>b</b> | <b>b</b> &lt;!"_s },
        { "<flow>" + Text("a") + "<flow>" + Text("b") + "</flow></flow>" + option("<flow_mat>" + Text("c") + "</flow_mat>"),
          u"a\n\nb | c!"_s },
        { "<material><mattext>a &lt; b</mattext><matimage uri=\"i/x y.png\" label=\"&quot;\"/></material>" + option({}),
          u"a < b <img src=\"i/x y.png\" alt=\"&quot;\"> | !"_s },
        { Text("a &lt; b") + Text("c", "text/html") + option("<material><mataudio/></material>"),
          u"a &lt; b\n<div>c</div> | ! | what is played is left out"_s },
        { Text("&lt;img class=\"equation_image\" title=\"\\frac12\" src=\"/e\"&gt; &lt;img src=\"../a b\"&gt;", "text/html")
              + option("<matimage uri=\"../d/a.png\"/>"),
          u"\\(\\frac12\\) <img src=\"../a b\"> | <img src=\"\" alt=\"\">!"_s },
        { "<material><mat_extension><mat_formattedtext type=\"HTML\">&lt;i&gt;</mat_formattedtext></mat_extension></material>"
              + option({}),
          u"<i> | !"_s },
    };
    for (const auto &[presentation, expected] : rows)
        EXPECT_EQ(ShownBank(Item(presentation)), expected) << presentation.toStdString();
}

TEST(Qti1Test, Feedback)
{
    const auto feedback
        = [](const QByteArray &name) { return "<itemfeedback ident=\"" + name + "\">" + Text(name) + "</itemfeedback>"; };
    const QString left = u" | feedback on right or wrong answers as a whole is left out"_s;
    const auto shown = [&](const QByteArray &conditions, const QByteArray &feedbacks) {
        const QByteArray right = If(Equal("a"), "1", "correct_fb");
        return ShownBank(Item(Options(), In("resprocessing", conditions + right) + feedbacks)).section(u" | "_s, 1);
    };
    // As Canvas writes them.
    const QByteArray all = If("<other/>", {}, "general_fb") + If(Equal("b"), {}, "b_fb");
    const QByteArray wrong = If("<other/>", {}, "general_incorrect_fb");
    EXPECT_EQ(shown(all, feedback("general_fb") + feedback("b_fb")), u"*a | b(b_fb) | c | #general_fb"_s);
    EXPECT_EQ(shown(all, feedback("general_fb") + feedback("correct_fb")), u"*a | b | c | #general_fb"_s + left);
    EXPECT_EQ(shown(all, feedback("correct_fb")), u"*a | b | c | #correct_fb"_s);
    EXPECT_EQ(shown(all + wrong, feedback("general_incorrect_fb")), u"*a | b | c"_s + left);
    // As others do: one text for all wrong options, the solution, a text that nothing refers to.
    const QByteArray same = If(Equal("b"), {}, "no") + If(Equal("c"), {}, "no") + If(Equal("a"), {}, "yes");
    EXPECT_EQ(shown(same, feedback("no") + feedback("yes")), u"*a(yes) | b | c"_s + left);
    EXPECT_EQ(shown({},
                    "<itemfeedback ident=\"s\"><solution><solutionmaterial>" + Text("S")
                        + "</solutionmaterial></solution><hint>" + Text("H") + "</hint></itemfeedback>"),
              u"*a | b | c | #S | a hint is left out"_s);
    EXPECT_EQ(shown(If("<varequal respident=\"b\"/>", {}, "x"), feedback("x")), u"*a | b(x) | c"_s);
    EXPECT_EQ(shown({}, feedback("x")), u"*a | b | c"_s + left);
}

TEST(Qti1Test, OtherQuestions)
{
    const auto type = [](const QByteArray &name) {
        return "<itemmetadata><qtimetadata><qtimetadatafield><fieldlabel>question_type</fieldlabel><fieldentry>" + name
            + "</fieldentry></qtimetadatafield></qtimetadata></itemmetadata>";
    };
    const QByteArray gap = "<response_str><render_fib/></response_str>";
    const QByteArray compared = In("resprocessing", If(Equal("x"), "1"));
    const std::pair<QByteArray, QString> rows[] = {
        { Item(Text("Q")), u"a description without answers is no question"_s },
        { Item(gap), u"an essay question has no options"_s },
        { Item(gap, compared), u"a short-answer question has no options"_s },
        { Item(gap + gap, compared), u"a fill-in-the-blanks question has no options"_s },
        { Item(gap, type("numerical_question") + compared), u"a numerical question has no options"_s },
        { Item("<response_num/>"), u"a numerical question has no options"_s },
        { Item(Options() + Options()), u"a question of several gaps has a choice for each"_s },
        { Item(Options() + Options(), type("matching_question")), u"a matching question has no options"_s },
        { Item("<response_grp/>"), u"a matching question has no options"_s },
        { Item("<response_xy/>"), u"a hotspot question has no options"_s },
        { Item(Options("Ordered")), u"an ordering question has no options"_s },
        { Item("<response_str/>", type("file_upload_question")), u"a file-upload question has no options"_s },
        { Item("<response_lid/>"), u"it has no options"_s },
    };
    for (const auto &[item, refusal] : rows)
        EXPECT_EQ(ShownBank(item), u"2: "_s + refusal) << item.toStdString();
    EXPECT_EQ(Shown({ u"x"_s, "<quiz/>", {} }, u"qti1"_s), u"line 1: the root element is not \"questestinterop\""_s);
}

TEST(Qti1Test, GroupsAndPassages)
{
    const QByteArray item = Item(Options());
    const QByteArray groups = "<assessment title=\"Test\"><section><section title=\"One\">" + Item(Text("P")) + Item(Text("P2"))
        + item + item + "</section><section title=\"Two\"><presentation_material><flow_mat>" + Text("M")
        + "</flow_mat></presentation_material>" + item + "</section>" + Item(Text("End")) + "</section></assessment>";
    Bank::Options passages;
    passages.HasPassages = true;
    EXPECT_EQ(
        ShownBank(groups, passages),
        u"name: Test\n[P\n\nP2] | Q | a | b | c | in One\n[P\n\nP2] | Q | a | b | c | in One\n[M] | Q | a | b | c | in Two\n"
        "2! no question follows the description"_s);
    const QByteArray many = Item(Text(QByteArray(1 << 20, 'x'))) + item.repeated(33);
    EXPECT_EQ(ShownBank(many, passages).section(u'\n', 32), u"2: its passage is too long to be repeated in every item"_s);
    EXPECT_EQ(
        ShownBank(groups).section(u'\n', 3, 6),
        u"Q | a | b | c | in One\nQ | a | b | c | in One\n2! a text before questions is left out\nQ | a | b | c | in Two"_s);
}

TEST(Qti1Test, Packages)
{
    const auto resource = [](const QByteArray &type, const QByteArray &paths) {
        QByteArray files;
        for (const QByteArray &path : paths.split(' '))
            files += "<file href=\"" + path + "\"/>";
        return "<resource type=\"" + type + "\">" + files + "</resource>";
    };
    const auto test = [](const QByteArray &title, const QByteArray &stem) {
        return BankOf("<assessment title=\"" + title + "\">" + Item(Options()).replace(">Q<", ">" + stem + "<")
                      + "</assessment>");
    };
    // As Canvas writes it, in a folder of the archive: the first test in two ways, the second in one.
    const QByteArray manifest = "<manifest><resources>"
        + resource("imsqti_xmlv1p2/imscc_xmlv1p1/assessment", "g1/assessment_qti.xml")
        + resource("associatedcontent/x", "g1/assessment_meta.xml non_cc_assessments/g1.xml.qti")
        + resource("imsqti_xmlv1p2", "g%202/g2.xml g%202/g2.xml gone.xml") + resource("webcontent", "other.xml")
        + "</resources></manifest>";
    const MemoryFiles::Contents contents = { { u"p/imsmanifest.xml"_s, manifest },
                                             { u"p/g1/assessment_qti.xml"_s, test("One", "less") },
                                             { u"p/g1/assessment_meta.xml"_s, "<quiz/>" },
                                             { u"p/non_cc_assessments/g1.xml.qti"_s, test("One", "whole") },
                                             { u"p/g 2/g2.xml"_s, test("Two", "second") },
                                             { u"p/other.xml"_s, test("Other", "x") },
                                             { u"p/web_resources/a.png"_s, "1" },
                                             { u"p/b.png"_s, "2" },
                                             { u"p/g 2/c.png"_s, "3" } };
    const Bank::Source source = PackageOf(contents);
    ASSERT_TRUE(Bank::FormatOf(source));
    EXPECT_EQ(Bank::FormatOf(source)->Name, u"qti1"_s);
    EXPECT_EQ(Shown(source, u"qti1"_s), u"name: One\nwhole | a | b | c | in One\nname: Two\nsecond | a | b | c | in Two"_s);
    struct Pictures : Bank::Receiver {
        QStringList Entries;
        QByteArray Last;
        void Add(Bank::Item &&item) override
        {
            Entries += item.Entry;
            Last.clear();
            for (const QString &path : { u"$IMS-CC-FILEBASE$/a.png"_s, u"a.png"_s, u"$IMS-CC-FILEBASE$/b.png"_s, u"b.png"_s,
                                         u"c.png"_s, u"p/b.png"_s, u"d.png"_s, u"embedded-1"_s })
                Last += item.Files->Read(path).value_or("-");
        }
        void SetName(const QString &) override { }
        void Warn(int, const QString &) override { }
    } pictures;
    Bank::FormatOf(source)->Read(source, {}, pictures);
    EXPECT_EQ(pictures.Entries, (QStringList{ u"p/non_cc_assessments/g1.xml.qti"_s, u"p/g 2/g2.xml"_s }));
    EXPECT_EQ(pictures.Last, "112232--");
    const QByteArray embedded = "<material><matimage embedded=\"base64\">aGk=</matimage></material>";
    Bank::FormatOf(u"qti1"_s)->Read({ {}, BankOf(Item(embedded + Options())), {} }, {}, pictures);
    EXPECT_EQ(pictures.Last, "-------hi");

    // A manifest that names nothing; one file is damaged.
    const auto unnamed = [](MemoryFiles::Contents files) {
        files[u"imsmanifest.xml"_s] = "<manifest/>";
        return Shown(PackageOf(std::move(files)), u"qti1"_s);
    };
    const QByteArray whole = test("Two", "second");
    EXPECT_EQ(
        unnamed({ { u"a.xml"_s, whole.chopped(30) }, { u"b.xml"_s, whole }, { u"c.txt"_s, whole } }),
        u"name: Two\nsecond | a | b | c | in Two\n0! a.xml: line 2: Premature end of document.\nname: Two\nsecond | a | b | c | in Two"_s);
    EXPECT_EQ(unnamed({ { u"a.xml"_s, whole.chopped(300) } }), u"a.xml: line 2: Premature end of document."_s);
    EXPECT_EQ(unnamed({ { u"a.xml"_s, "<quiz/>" } }), u"no file of the package is QTI 1.2"_s);
    // Without a manifest each file is a bank of its own.
    EXPECT_FALSE(Bank::FormatOf(PackageOf({ { u"a.xml"_s, whole } })));
}
