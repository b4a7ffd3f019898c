// SPDX-License-Identifier: Apache-2.0
#include "author/PlainText.h"
#include "tests/support/Test.h"

#include <QImage>

namespace {

struct Row {
    const char *Name;
    const char16_t *Source, *Expected;
};

void ExpectRows(Gift::Markup markup, const std::vector<Row> &rows)
{
    for (const Row &row : rows)
        EXPECT_EQ(PlainText::Readable({ QString::fromUtf16(row.Source), markup }), QString::fromUtf16(row.Expected))
            << row.Name;
}

}

TEST(PlainTextTest, Html)
{
    ExpectRows(Gift::Markup::Html,
               {
                   { "paragraphs", u"<p>one\n two</p>\n<p>three</p>", u"one two\n\nthree" },
                   { "line breaks", u"a<br>b<br/>c<div>d</div><div>e</div>", u"a\nb\nc\nd\ne" },
                   { "entities", u"&lt;x&gt; &amp;amp; &quot;&#65;&#x42;&quot;&nbsp;&eacute;&hellip;",
                     u"<x> &amp; \"AB\" \u00E9\u2026" },
                   { "comments and scripts", u"a<!-- b --><script>c()</script><style>p{}</style>d", u"ad" },
                   { "bullets", u"<p>q</p><ul>\n<li>a<ul><li>b</li></ul></li>\n<li><p>c</p></li>\n</ul>d",
                     u"q\n\n- a\n  - b\n- c\n\nd" },
                   { "numbers", u"<ol><li>a</li><li>b</li></ol><ol type='a'><li>c</li></ol>", u"1. a\n2. b\na. c" },
                   { "table",
                     u"a<table><tr><th>h</th><th "
                     u"colspan='2'>i</th></tr><tr><td>1</td><td>2</td><td><p>3</p><p>4</p></td></tr></table>b",
                     u"a\n\nh | i\n1 | 2 | 3 4\n\nb" },
                   { "code", u"<pre>if (x)\n    y;\n\n\tz</pre>", u"if (x)\n    y;\n\n\tz" },
                   { "scripts", u"H<sub>2</sub>O, 2<sup>10</sup>, 10<sup>-3</sup>, 1<sup>st</sup>, <sup>1</sup>",
                     u"H2O, 2^10, 10^-3, 1st, 1" },
                   { "pictures",
                     u"<img src='x/y.png' alt='a cat'> <img src=\"x/y.png\"> <img src='data:image/png;base64,AAAA'>",
                     u"[a cat] [y.png] [picture]" },
                   { "links",
                     u"<a href=\"https://x.org/a\">the <b>page</b></a>, <a href='http://y.org'>http://y.org</a>, <a "
                     u"href='#n'>here</a>",
                     u"the page (https://x.org/a), http://y.org, here" },
               });
}

TEST(PlainTextTest, TextWithoutAFormat)
{
    ExpectRows(Gift::Markup::Moodle,
               {
                   { "lines and indents", u"for x:  \n    y\n\n\n\tz", u"for x:\n    y\n\n\n\tz" },
                   { "a closed tag", u"<b>Which</b> is it?\n    a < b\n  List<int> &count; &amp;",
                     u"Which is it?\n    a < b\n  List<int> &count; &" },
                   { "code", u"Code:\n<pre>\na\n  b\n</pre>", u"Code:\n\na\n  b" },
                   { "a tag in a quoted value", u"<span title=\"a > b\">x</span>", u"x" },
               });
    ExpectRows(Gift::Markup::Plain, { { "nothing is markup", u"<b>a</b> &amp;  \n  *b*\n", u"<b>a</b> &amp;\n  *b*" } });
}

TEST(PlainTextTest, Markdown)
{
    ExpectRows(Gift::Markup::Markdown,
               {
                   { "emphasis", u"# Head\n\nthis *is*\n**it** `a*b*`", u"Head\n\nthis is it a*b*" },
                   { "lists", u"- a\n- b\n    1. c\n\nx", u"- a\n- b\n  1. c\n\nx" },
                   { "table", u"| a | b |\n|---|---|\n| 1 | 2 |", u"a | b\n1 | 2" },
                   { "tags that are never closed", u"List<int> or a<br>b <img src=\"x\" alt=\"cat\"> <b>c</b>\n\nlast",
                     u"List<int> or a\nb [cat] c\n\nlast" },
                   { "pictures and links", u"![dog](x.png) [page](https://x.org)", u"[dog] page (https://x.org)" },
               });
}

// A style sheet that is read would keep the blanks.
TEST(PlainTextTest, NothingIsLoaded)
{
    const QString path = Sandbox::Path(u"style.css"_s);
    Sandbox::WriteFile(path, "p { white-space: pre }");
    for (const QString &sheet :
         { u"<link rel=\"stylesheet\" type=\"text/css\" href=\"%1\">"_s, u"<style>@import url(\"%1\");</style>"_s,
           u"<style>p { white-space: normal } @import \"%1\";</style>"_s }) {
        for (const QString &address : { path, u"file://"_s + path })
            EXPECT_EQ(PlainText::Readable({ sheet.arg(address) + u"<p>a   b</p>"_s, Gift::Markup::Html }), u"a b"_s)
                << sheet.toStdString();
    }
}

TEST(PlainTextTest, LongTextsEndInTime)
{
    const QString open = u"<a "_s.repeated(20'000);
    EXPECT_EQ(PlainText::Readable({ open, Gift::Markup::Moodle }), open.trimmed());
    const QString spaces = u"<p"_s + u" x"_s.repeated(50'000) + u"<p>"_s;
    EXPECT_TRUE(PlainText::Readable({ spaces, Gift::Markup::Html }).startsWith("<p x x"_L1));
    EXPECT_EQ(PlainText::Readable({ u"<div>"_s.repeated(2'000) + u"x"_s, Gift::Markup::Html }), u"x"_s);
}
