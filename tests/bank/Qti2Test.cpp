// SPDX-License-Identifier: Apache-2.0
#include "bank/Qti2.h"
#include "tests/bank/BankFixture.h"

#include <QMap>
#include <QRegularExpression>

namespace {

class Files : public Bank::Files {
public:
    explicit Files(QMap<QString, QString> texts)
        : m_texts(std::move(texts))
    {
    }
    std::optional<QByteArray> Read(const QString &path) const override
    {
        return m_texts.contains(path) ? std::optional(m_texts.value(path).toUtf8()) : std::nullopt;
    }
    QStringList Paths() const override { return m_texts.keys(); }

private:
    QMap<QString, QString> m_texts;
};

QString Item(const QString &parts)
{
    return u"<assessmentItem xmlns='http://www.imsglobal.org/xsd/imsqti_v2p1' identifier='i'>%1</assessmentItem>"_s.arg(parts);
}

// "single A" or "multiple A C" as the declaration of the response.
QString Declared(const QString &key)
{
    const QStringList words = key.split(u' ');
    QString values;
    for (const QString &value : words.mid(1))
        values += u"<value> %1 </value>"_s.arg(value);
    return u"<responseDeclaration identifier='R' cardinality='%1'><correctResponse>%2</correctResponse></responseDeclaration>"_s
        .arg(words.first(), values);
}

const QString Abc = u"<simpleChoice identifier='A'>a</simpleChoice><simpleChoice identifier='B'>b</simpleChoice>"
                    "<simpleChoice identifier='C'>c</simpleChoice>"_s;

QString Asked(const QString &attributes = {}, const QString &choices = Abc)
{
    return u"<itemBody><p>s</p><choiceInteraction responseIdentifier='R' %1>%2</choiceInteraction></itemBody>"_s.arg(attributes,
                                                                                                                     choices);
}

// The same in the names of QTI 3.
QString InThree(QString xml)
{
    static const QRegularExpression name(
        u"(?<=<)(/?)([a-z]+[A-Z]\\w*|value|mapping|prompt|correct|match|multiple|variable|not)\\b"_s);
    static const QRegularExpression attribute(u"(?<= )([a-z]+[A-Z]\\w*)(?==)"_s);
    for (const QRegularExpression &which : { name, attribute }) {
        for (qsizetype at = 0;;) {
            const auto match = which.match(xml, at);
            if (!match.hasMatch())
                break;
            QString kebab;
            for (const QChar c : match.captured(match.lastCapturedIndex()))
                kebab += c.isUpper() ? u'-' + QString(c.toLower()) : QString(c);
            const QString prefix = which == name ? match.captured(1) + u"qti-"_s : QString();
            xml.replace(match.capturedStart(), match.capturedLength(), prefix + kebab);
            at = match.capturedStart() + prefix.size() + kebab.size();
        }
    }
    return xml.replace("imsqti_v2p1"_L1, "imsqtiasi_v3p0"_L1);
}

QString ShownItem(const QString &parts)
{
    const QString shown = Shown({ u"i.xml"_s, Item(parts).toUtf8(), nullptr }, u"qti2"_s);
    EXPECT_EQ(Shown({ u"i.xml"_s, InThree(Item(parts)).toUtf8(), nullptr }, u"qti2"_s), shown) << parts.toStdString();
    return shown;
}

QString ShownPackage(const QMap<QString, QString> &files, bool hasPassages = false)
{
    const Bank::Source source{ u"bank.zip"_s, {}, std::make_shared<Files>(files) };
    EXPECT_TRUE(Qti2::Suits(source));
    Bank::Options options;
    options.HasPassages = hasPassages;
    return Shown(source, u"qti2"_s, options);
}

QString Resource(const QString &type, const QString &href)
{
    return u"<resource type='%1' href='%2'/>"_s.arg(type, href);
}

QString Manifest(const QString &resources)
{
    return u"<manifest><resources>%1</resources></manifest>"_s.arg(resources);
}

}

TEST(Qti2Test, KeysAndOptions)
{
    const QString mapping = u"<responseDeclaration identifier='R' cardinality='%1'><mapping defaultValue='0'>"
                            "<mapEntry mapKey='A' mappedValue='0.5'/><mapEntry mapKey='B' mappedValue='2'/>"
                            "<mapEntry mapKey='C' mappedValue='-1'/></mapping></responseDeclaration>"_s;
    const QString fixed = QString(Abc).replace("'C'"_L1, "'C' fixed='true'"_L1);
    ExpectRows(
        ShownItem,
        {
            { "one", Declared(u"single B"_s) + Asked(), u"<p>s</p> | a | *b | c"_s },
            { "several", Declared(u"multiple A C"_s) + Asked(u"maxChoices='0'"_s), u"<p>s</p> | *a | b | *c | multiple"_s },
            { "one of a list", Declared(u"multiple B"_s) + Asked(u"maxChoices='1'"_s), u"<p>s</p> | a | *b | c"_s },
            { "room for a wrong one", Declared(u"multiple B"_s) + Asked(u"maxChoices='2'"_s),
              u"<p>s</p> | a | *b | c | multiple | unlimited"_s },
            { "no limit", Declared(u"multiple B"_s) + Asked(u"maxChoices='3'"_s), u"<p>s</p> | a | *b | c | multiple"_s },
            { "no room for the key", Declared(u"multiple A B C"_s) + Asked(u"maxChoices='2'"_s),
              u"<p>s</p> | *a | *b | *c | multiple | 3 options are right, but it lets only 2 be chosen"_s },
            { "two for one", Declared(u"single A B"_s) + Asked(), u"1: several answers are right alone"_s },
            { "worth most", mapping.arg(u"single"_s) + Asked(), u"<p>s</p> | a | *b | c"_s },
            { "worth something", mapping.arg(u"multiple"_s) + Asked(), u"<p>s</p> | *a | *b | c | multiple"_s },
            { "fixed", Declared(u"single A"_s) + Asked(u"shuffle='true'"_s, fixed), u"<p>s</p> | *a | b | c!"_s },
            { "never shuffled", Declared(u"single A"_s) + Asked(u"shuffle='false'"_s), u"<p>s</p> | *a! | b! | c!"_s },
            { "unknown", Declared(u"single Z"_s) + Asked(), u"1: its key names an option that it does not have"_s },
            { "no options", Asked({}, {}), u"1: it has no options"_s },
            { "none", Asked(), u"<p>s</p> | a | b | c"_s },
            { "computed", Asked() + u"<responseProcessing><responseCondition/></responseProcessing>"_s,
              u"1: its key stands only in its response processing"_s },
        });
}

TEST(Qti2Test, Texts)
{
    const auto shown = [](const QString &body) { return ShownItem(Declared(u"single A"_s) + body); };
    const QString choice = u"<choiceInteraction responseIdentifier='R'>%1</choiceInteraction>"_s;
    const QString asked = choice.arg(Abc);
    ExpectRows(
        shown,
        {
            { "in its order", u"<itemBody>x"_s + choice.arg(u"<prompt>y</prompt>"_s + Abc) + u"<p>z</p></itemBody>"_s,
              u"x<div>y</div><p>z</p> | *a | b | c"_s },
            { "gap",
              u"<itemBody>x <inlineChoiceInteraction responseIdentifier='R'><inlineChoice identifier='A'>a</inlineChoice>"
              "<inlineChoice identifier='B'>b</inlineChoice></inlineChoiceInteraction>.</itemBody>"_s,
              u"x _____. | *a | b"_s },
            { "formula",
              u"<itemBody><m:math xmlns:m='http://www.w3.org/1998/Math/MathML'><m:mi>x</m:mi></m:math>%1</itemBody>"_s.arg(
                  asked),
              u"<math><mi>x</mi></math> | *a | b | c"_s },
            { "pictures",
              u"<itemBody><img src='a.png' alt='p &amp; q'/><object data='b.svg' type='image/svg+xml'>r</object>%1</itemBody>"_s
                  .arg(asked),
              u"<img src=\"a.png\" alt=\"p &amp; q\"><img src=\"b.svg\" alt=\"r\"> | *a | b | c"_s },
            { "rubrics",
              u"<itemBody><rubricBlock view='scorer'>x</rubricBlock><rubricBlock view='candidate'>y</rubricBlock>%1</itemBody>"_s
                  .arg(asked),
              u"<div>y</div> | *a | b | c | #x"_s },
            { "what only a player shows",
              u"<itemBody><infoControl>x</infoControl><svg><text>y</text></svg>%1</itemBody>"_s.arg(asked),
              u"x<svg></svg> | *a | b | c | a drawing that stands in its text is left out"_s },
            { "button", u"<itemBody><endAttemptInteraction title='Hint'/>x%1</itemBody>"_s.arg(asked),
              u"x | *a | b | c | the button \"Hint\" is left out"_s },
            { "variable", u"<itemBody><printedVariable identifier='v'/>%1</itemBody>"_s.arg(asked),
              u"1: its text is made of variables"_s },
            { "two", u"<itemBody>%1%1</itemBody>"_s.arg(asked), u"1: it has several questions in one"_s },
            { "gaps", u"<itemBody><textEntryInteraction/><textEntryInteraction/></itemBody>"_s, u"1: it has several gaps"_s },
            { "order", u"<itemBody><orderInteraction>%1</orderInteraction></itemBody>"_s.arg(Abc),
              u"1: an ordering question has no options"_s },
            { "other", u"<itemBody><portableCustomInteraction/></itemBody>"_s, u"1: a custom question has no options"_s },
            { "nothing asked", u"<itemBody>x</itemBody>"_s, u"1: a description without answers is no question"_s },
        });
}

TEST(Qti2Test, Feedback)
{
    const QString declared = Declared(u"single A"_s)
        + u"<outcomeDeclaration identifier='F'><defaultValue><value>first</value></defaultValue></outcomeDeclaration>"_s;
    const auto shown = [&](const QString &parts) { return ShownItem(declared + parts); };
    const auto modal = [](const QString &identifier, const QString &text, const QString &showHide = u"show"_s) {
        return u"<modalFeedback outcomeIdentifier='F' showHide='%1' identifier='%2'>%3</modalFeedback>"_s.arg(showHide,
                                                                                                              identifier, text);
    };
    // The value is set where the response has the other, or is not right.
    const auto processing = [](const QString &value, const QString &condition) {
        return u"<responseProcessing><responseCondition><responseIf>%1<setOutcomeValue identifier='F'><baseValue>%2</baseValue>"
               "</setOutcomeValue></responseIf></responseCondition></responseProcessing>"_s.arg(condition, value);
    };
    const QString inside = QString(Abc).replace(
        ">b<"_L1, ">b<feedbackInline outcomeIdentifier='F' showHide='show' identifier='B'>no</feedbackInline><"_L1);
    const QString block = u"<itemBody><feedbackBlock outcomeIdentifier='F' showHide='%1' identifier='%2'>x</feedbackBlock>"
                          "<choiceInteraction responseIdentifier='R'>%3</choiceInteraction></itemBody>"_s;
    ExpectRows(
        shown,
        {
            { "in the option", Asked({}, inside), u"<p>s</p> | *a | b(no) | c"_s },
            { "named like the option", Asked() + modal(u"C"_s, u"no"_s), u"<p>s</p> | *a | b | c(no)"_s },
            { "by a condition",
              Asked() + processing(u"f1"_s, u"<match><variable identifier='R'/><baseValue>C</baseValue></match>"_s)
                  + modal(u"f1"_s, u"no"_s),
              u"<p>s</p> | *a | b | c(no)"_s },
            { "by two options",
              Asked() + processing(u"f1"_s, u"<multiple><baseValue>C</baseValue><baseValue>B</baseValue></multiple>"_s)
                  + modal(u"f1"_s, u"x"_s),
              u"<p>s</p> | *a | b | c | #x"_s },
            { "not right",
              Asked() + processing(u"f1"_s, u"<not><match><variable identifier='R'/><correct identifier='R'/></match></not>"_s)
                  + modal(u"f1"_s, u"no"_s),
              u"<p>s</p> | *a | b | c | its feedback for wrong answers is left out"_s },
            { "right and wrong alike",
              Asked() + modal(u"correct"_s, u"x"_s) + modal(u"incorrect"_s, u"x"_s) + modal(u"solution"_s, u"y"_s),
              u"<p>s</p> | *a | b | c | #x\n<div>y</div>"_s },
            { "seen always", Asked() + modal(u"general"_s, u"x"_s, u"hide"_s), u"<p>s</p> | *a | b | c | #x"_s },
            { "not where it is chosen", Asked() + modal(u"A"_s, u"x"_s, u"hide"_s),
              u"<p>s</p> | *a | b | c | its feedback for wrong answers is left out"_s },
            { "seen at first", block.arg(u"show"_s, u"first"_s, Abc), u"x | *a | b | c"_s },
            { "seen until", block.arg(u"hide"_s, u"later"_s, Abc), u"x | *a | b | c"_s },
            { "seen afterwards", block.arg(u"show"_s, u"later"_s, Abc), u"*a | b | c | #x"_s },
        });
}

TEST(Qti2Test, Packages)
{
    const QString item = Item(Declared(u"single A"_s) + Asked());
    const QString pictured = Item(Declared(u"single A"_s)
                                  + u"<assessmentStimulusRef href='../texts/t%25.xml'/><itemBody><img src='p.png'/>"
                                    "<choiceInteraction responseIdentifier='R'>%1</choiceInteraction></itemBody>"_s.arg(Abc));
    const QString test
        = u"<assessmentTest title='T'><testPart><assessmentSection title='S'><selection select='1'/><rubricBlock "
          u"view='candidate'>r</rubricBlock>"
          "<assessmentSection title='U'>\n<assessmentItemRef href='../items/2.xml'/><assessmentItemRef "
          "href='none.xml'/></assessmentSection>"
          "<assessmentItemRef href='../items/2.xml'/><assessmentSectionRef href='section.xml'/></assessmentSection></testPart></assessmentTest>"_s;
    const QMap<QString, QString> files = {
        { u"x/imsmanifest.xml"_s,
          Manifest(Resource(u"imsqti_item_xmlv2p1"_s, u"items/1.xml"_s) + Resource(u"imsqti_item_xmlv2p1"_s, u"items/2.xml"_s)
                   + Resource(u"imsqti_test_xmlv2p1"_s, u"tests/test.xml"_s)
                   + Resource(u"imsqti_item_xmlv2p2"_s, u"items/broken.xml"_s) + Resource(u"imsqti_xmlv1p2"_s, u"old.xml"_s)) },
        { u"x/y/imsmanifest.xml"_s, u"<manifest/>"_s },
        { u"x/items/1.xml"_s, item },
        { u"x/items/2.xml"_s, pictured },
        { u"x/items/broken.xml"_s, u"<assessmentItem>\n<itemBody></assessmentItem>"_s },
        { u"x/texts/t%.xml"_s, u"<assessmentStimulus><stimulusBody><img src='q.png'/></stimulusBody></assessmentStimulus>"_s },
        { u"x/tests/test.xml"_s, test },
        { u"x/tests/section.xml"_s,
          u"<assessmentSection title='V'><assessmentSectionRef href='section.xml'/>"
          "<assessmentItemRef href='3.xml'/></assessmentSection>"_s },
        { u"x/tests/3.xml"_s, item },
    };
    EXPECT_EQ(ShownPackage(files),
              u"name: T\n"
              "1! x/tests/test.xml: a section picks some of its items; all are taken\n"
              "0! x/imsmanifest.xml: items of QTI 1 are left out (old.xml)\n"
              "name: \n"
              "[r\n<div><img src=\"x/texts/q.png\" alt=\"\"></div>] | <img src=\"x/items/p.png\" "
              "alt=\"\"> | *a | b | c | in S/U\n"
              "2! x/tests/test.xml: the item \"none.xml\" is not there\n"
              "[r] | <p>s</p> | *a | b | c | in S/V\n"
              "<p>s</p> | *a | b | c\n"
              "x/items/broken.xml:2: Opening and ending tag mismatch."_s);

    // Without a manifest, and with descriptions.
    const QString described = Item(u"<itemBody>d</itemBody>"_s);
    EXPECT_EQ(ShownPackage({ { u"1.xml"_s, described },
                             { u"2.xml"_s, described },
                             { u"3.XML"_s, InThree(item) },
                             { u"4.xml"_s, described } },
                           true),
              u"[d\n<div>d</div>] | <p>s</p> | *a | b | c\n1! 4.xml: no question follows the description"_s);
}

TEST(Qti2Test, Recognised)
{
    const auto suits = [](const QString &text) { return Qti2::Suits({ u"x"_s, text.toUtf8(), nullptr }); };
    EXPECT_TRUE(suits(InThree(Item({}))));
    EXPECT_TRUE(suits(u"<!-- x --><assessmentTest>"_s));
    EXPECT_TRUE(suits(Manifest(Resource(u"imsqti_apipitem_xmlv2p2"_s, {}))));
    for (const QString &other :
         { u"<questestinterop/>"_s, Manifest(Resource(u"imsqti_xmlv1p2"_s, {})), u"::assessmentItem:: {=a ~b}"_s, QString() })
        EXPECT_FALSE(suits(other)) << other.toStdString();
    EXPECT_FALSE(Qti2::Suits({ u"x"_s, {}, std::make_shared<Files>(QMap<QString, QString>{ { u"a.xml"_s, u"<quiz/>"_s } }) }));
    EXPECT_EQ(Shown({ u"x"_s, "<quiz/>", nullptr }, u"qti2"_s), u"it is no item, test or package of QTI 2 or 3"_s);
    EXPECT_EQ(Shown({ u"x"_s, "<assessmentItem>", nullptr }, u"qti2"_s), u"line 1: Premature end of document."_s);
}

TEST(Qti2Test, Limits)
{
    QString sections;
    for (int i = 0; i < 20; ++i)
        sections = u"<assessmentSection title='s'>%1</assessmentSection>"_s.arg(sections);
    EXPECT_EQ(ShownPackage({ { u"t.xml"_s, u"<assessmentTest>%1</assessmentTest>"_s.arg(sections) },
                             { u"u.xml"_s, Item(Asked({}, Abc.repeated(400))) } }),
              u"name: \n1! t.xml: sections in more than 16 others are left out\nu.xml:1: it has more than 1000 options"_s);
}
