// SPDX-License-Identifier: Apache-2.0
#include "bank/Xml.h"
#include "common/Error.h"
#include "tests/support/Test.h"

namespace {

// The names of the elements with their lines and what is in them; behind it, the
// error that ends it.
void Outline(Xml::Reader &reader, QString &outline)
{
    while (reader.NextChild()) {
        outline += reader.Name().toString() + QString::number(reader.Line()) + u'(';
        if (reader.Name() == u"text")
            outline += reader.Text();
        else if (reader.Name() == u"skip")
            reader.Skip();
        else
            Outline(reader, outline);
        outline += u')';
    }
}

QString Outline(const QByteArray &bytes)
{
    QString outline;
    try {
        Xml::Reader reader(bytes, u"bank.xml"_s);
        Outline(reader, outline);
    } catch (const Error &error) {
        EXPECT_EQ(error.Number(), InvalidCall);
        EXPECT_EQ(error.Source(), u"bank.xml"_s);
        outline += u' ' + error.Description();
    }
    return outline;
}

QByteArray Utf16(const QString &text)
{
    return QByteArray(reinterpret_cast<const char *>(text.utf16()), text.size() * 2);
}

QByteArray Declared(const char *encoding, const char *text)
{
    return QByteArray("<?xml version='1.0'\n encoding='") + encoding + "'?><text>" + text + "</text>";
}

}

TEST(XmlTest, ElementByElement)
{
    const std::tuple<QByteArray, QString> rows[] = {
        { "\n<a>x<text>b&lt;<!-- c --><![CDATA[<&]]><i>d</i></text>\n<skip><text>e</text></skip><m:c xmlns:m='u'/></a>",
          u"a2(text2(b<<&d)skip3()c3())"_s },
        { "<!DOCTYPE a PUBLIC '-//a' \"[>\"><a/>", u"a1()"_s },
        { "<text>2&nbsp;&times;&Omega;&rarr;&uuml;</text>", u"text1(2\u00A0×Ω→ü)"_s },
        { "<text>a&#13;b&#13;<![CDATA[\nc]]></text>", u"text1(a\nb\nc)"_s },
        { "<?xml version='1.1'?><a/>", u"a1()"_s },
        { "\n \r\n<?xml version='1.0' encoding='ISO-8859-1'?>\n<text>\xE4</text>", u"text4(ä)"_s },
        { "\xEF\xBB\xBF<text>\xC3\xA4</text>", u"text1(ä)"_s },
        { Utf16(u"\uFEFF<text>\u0436</text>"_s), u"text1(ж)"_s },
        { Utf16(u"<?xml version='1.0' encoding='UTF-16'?><text>\u0436</text>"_s), u"text1(ж)"_s },
        { Declared("windows-1251", "\xE6"), u"text2(ж)"_s },
        { Declared("ISO-8859-2", "\xB1"), u"text2(ą)"_s },
        { Declared("iso-8859-1", "\x93\xE4"), u"text2(“ä)"_s },
        { Declared("KOI8-R", "\xD6"), u"text2(ж)"_s },
        { Declared("Shift_JIS", "\x93\xFA"), u"text2(日)"_s },
        { Declared("UTF-16", "\xC3\xA4"), u"text2(ä)"_s },
        { Declared("x-own", "a"), u" line 1: the encoding \"x-own\" is not known"_s },
    };
    for (const auto &[bytes, outline] : rows)
        EXPECT_EQ(Outline(bytes), outline) << bytes.toStdString();
}

TEST(XmlTest, WhatStandsBeforeAFaultIsRead)
{
    const QString declares = u" line 1: its document type declares something, which is not read"_s;
    const auto deep = [](int depth) { return QByteArray("<a>").repeated(depth) + QByteArray("</a>").repeated(depth); };
    EXPECT_TRUE(Outline(deep(200)).endsWith(u")))"_s));
    EXPECT_TRUE(Outline(deep(201)).endsWith(u" line 1: an element stands in more than 200 others"_s));
    QByteArray attributes, namespaces;
    for (int i = 0; i < 200; ++i) {
        attributes += " a" + QByteArray::number(i) + "=''";
        namespaces += " xmlns:n" + QByteArray::number(i) + "='u'";
    }
    const QByteArray half((Xml::MostText >> 1) + 1, 'x');
    const std::tuple<QByteArray, QString> rows[] = {
        { "<a>\n" + half + half + "<b/></a>", u" line 1: a text is longer than 32 MB"_s },
        { "<a><!--" + half + half + "--></a>", u" line 1: a text is longer than 32 MB"_s },
        { "<text>" + half + "<!-- -->" + half + "</text>", u"text1( line 1: a text is longer than 32 MB"_s },
        { "<a>\n<b/>\n<c></b></a>", u"a1(b2()c3( line 3: Opening and ending tag mismatch."_s },
        { "<a>\n<b/>", u"a1(b2() line 2: Premature end of document."_s },
        { "<a/>\n<b/>", u"a1() line 2: Extra content at end of document."_s },
        { "<a>\n<b/>\n<text>\xC3\xA4 \xE4</text>", u"a1(b2()text3( line 3: it holds bytes that are not UTF-8"_s },
        { "<a/>\xFF", u"a1() line 1: it holds bytes that are not UTF-8"_s },
        { "<!DOCTYPE a [<!ENTITY b 'c'>]><text>&b;</text>", declares },
        { "<!DOCTYPE a SYSTEM '>' [\n<!ATTLIST b c CDATA 'd'>]><b/>", declares },
        { "<!DOCTYPE a SYSTEM 'b'>\n<text>c&none;d</text>", u"text2( line 2: the entity \"none\" is not known"_s },
        { "<a" + attributes + "/>", u"a1()"_s },
        { "<a>\n<b" + attributes + " b='>'/></a>", u"a1( line 2: an element has more than 200 attributes"_s },
        { "<a>" + ("<a" + namespaces + "/>").repeated(6) + "</a>", u"a1("_s + u"a1()"_s.repeated(6) + u")"_s },
        { ("<a" + namespaces + ">").repeated(5) + "\n<a xmlns:n='u'/>",
          u"a1(a1(a1(a1(a1( line 2: more than 1000 namespaces are declared"_s },
    };
    for (const auto &[bytes, outline] : rows)
        EXPECT_EQ(Outline(bytes), outline) << bytes.left(200).toStdString();
}

TEST(XmlTest, Markup)
{
    Xml::Reader reader("<q xmlns='a' xmlns:m='b'><p class='x\"' xml:lang='de'>1 &lt;&#13;2<br/><!-- c --><![CDATA[&]]></p>"
                       "<m:math><m:mn>3</m:mn></m:math><gap id='4'><p>5</p></gap><i/></q>",
                       {});
    ASSERT_TRUE(reader.NextChild());
    const auto gap = [](Xml::Reader &inner, QString &markup) {
        if (inner.Name() != u"gap")
            return false;
        markup += u"<gap "_s + inner.Attribute("id"_L1) + u'>';
        markup += inner.Text();
        return true;
    };
    EXPECT_EQ(reader.Markup(gap),
              u"<p class=\"x&quot;\" lang=\"de\">1 &lt;\n2<br>&amp;</p><math><mn>3</mn></math><gap 4>5<i></i>"_s);
    EXPECT_FALSE(reader.NextChild());
}

TEST(XmlTest, Beginning)
{
    const std::tuple<QByteArray, QString, QString> rows[] = {
        { "<?xml version='1.0'?><!-- a --><q:b xmlns:q='u'>c<!-- d --><q:e/><f/></q:b>", u"b u"_s, u"e"_s },
        { "<a>" + QByteArray(100'000, ' ') + "<b/>", u"a "_s, {} },
        { "<a></b>", u"a "_s, {} },
        { "a", u"none"_s, {} },
    };
    for (const auto &[bytes, root, child] : rows) {
        const auto beginning = Xml::BeginningOf(bytes);
        EXPECT_EQ(beginning ? beginning->Root + u' ' + beginning->Namespace : u"none"_s, root) << bytes.left(99).toStdString();
        EXPECT_EQ(beginning.value_or(Xml::Beginning()).Child, child) << bytes.left(99).toStdString();
    }
}
