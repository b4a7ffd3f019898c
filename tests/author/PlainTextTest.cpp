// SPDX-License-Identifier: Apache-2.0
#include "author/PlainText.h"
#include "tests/author/AuthorFixture.h"

namespace {

void ExpectRows(Gift::Markup markup, const std::vector<Row> &rows)
{
    ExpectRows([&](const QString &source) { return PlainText::Readable({ source, markup }); }, rows);
}

}

TEST(PlainTextTest, Html)
{
    const std::vector<Row> rows = {
        { "paragraphs", u"<p>one\n two</p>\n<p>three</p>"_s, u"one two\n\nthree"_s },
        { "line breaks", u"a<br>b<BR/>c<div>d</div><div>e</div>"_s, u"a\nb\nc\nd\ne"_s },
        { "one empty line", u"a<br><br><br>b<p>&nbsp;</p><p>c &nbsp;</p>"_s, u"a\n\nb\n\nc"_s },
        { "entities", u"&lt;x&gt; &amp;amp; &quot;&#65;&#x42;&quot;&nbsp;&eacute;&hellip; &bogus; &lt"_s,
          u"<x> &amp; \"AB\" \u00E9\u2026 &bogus; &lt"_s },
        { "not shown", u"<!DOCTYPE html>a<!-- b --><script>c('<p>')</script><style>p{}</style><link href='x'>d"_s, u"ad"_s },
        { "unknown tags", u"List<int> a<b <o:p>office</o:p> <h7>x</h7>"_s, u"List<int> a<b office <h7>x</h7>"_s },
        { "bullets", u"<p>q</p><ul>\n<li>a<br>x<ul><li>b</li></ul></li>\n<li><p>c</p></li>\n</ul>d"_s,
          u"q\n\n- a\n  x\n  - b\n- c\n\nd"_s },
        { "numbers", u"<ol><li>a</li><li>b</li></ol><ol type='a'><li>c</li></ol>"_s, u"1. a\n2. b\na. c"_s },
        { "table",
          u"a<table><tr><th>h</th><th colspan='2'>i</th></tr><tr><td>1</td><td>2</td><td><p>3</p><p>4</p></td></tr></table>b"_s,
          u"a\n\nh | i\n1 | 2 | 3 4\n\nb"_s },
        { "beside cells", u"<table>x<tr><td>a</td>y<td><b>b</b></td></tr><p>z</p></table>"_s, u"x |  |\na | y | b z"_s },
        { "table in a cell", u"<table><tr><td><table><tr><td>a</td><td>b</td></tr></table></td><td>c</td></tr></table>"_s,
          u"a | b | c"_s },
        { "two tables", u"<ul><li>x</ul><table><tr><td>a</table><table><tr><td>b</table><ul><li>y</ul>"_s,
          u"- x\n\na\n\nb\n\n- y"_s },
        { "code", u"<pre>if (x)\n    y;\n\n\tz</pre>"_s, u"if (x)\n    y;\n\n\tz"_s },
        { "raised", u"H<sub>2</sub>O, 2<sup>10</sup>, (x)<sup>-3</sup>, 1<sup>st</sup>, <sup>1</sup>, .<sup>1</sup>"_s,
          u"H2O, 2^10, (x)^-3, 1st, 1, .1"_s },
        { "pictures", u"<img src='x/y.png' alt=' a cat'> <img src=\"x/y.png\"> <img src='data:image/png;base64,AAAA'>"_s,
          u"[a cat] [y.png] [picture]"_s },
        { "what is played", u"<video src='x'></video><svg></svg>"_s, u"[video][svg]"_s },
        { "links",
          u"<a href='https://x.org/a'>the <b>page</b></a>, <a href='http://y.org'>http://y.org</a>, <a href='#n'>here</a>"_s,
          u"the page (https://x.org/a), http://y.org, here"_s },
        { "a rule", u"a<hr>b"_s, u"a\n-----\nb"_s },
    };
    ExpectRows(Gift::Markup::Html, rows);
}

TEST(PlainTextTest, TextWithoutAFormat)
{
    const std::vector<Row> rows = {
        { "lines and indents", u"for x:  \n    y\n\n\n\tz"_s, u"for x:\n    y\n\n\n\tz"_s },
        { "a closed tag", u"<b>Which</b> is it?\n    a < b\n  List<int> &count; &amp;"_s,
          u"Which is it?\n    a < b\n  List<int> &count; &"_s },
        { "an entity alone", u"a &lt; b\n\tc"_s, u"a < b\n    c"_s },
        { "a tag that is asked about", u"<b></b>"_s, u"<b></b>"_s },
        { "tags that are not closed", u"<b>a <p> </i> <!-- c -->"_s, u"<b>a <p> </i> <!-- c -->"_s },
        { "parts of a page", u"<form></form> <i>or</i> <body></body><!-- c -->"_s, u"<form></form> or <body></body>"_s },
        { "code", u"Code:\n<pre>\na\n  b\n</pre>\nend<br>\nline"_s, u"Code:\n\na\n  b\n\nend\nline"_s },
        { "lines of a list", u"a\n<ul>\n  <li>b</li>\n  <li>c\n</li>\n</ul>\nd"_s, u"a\n\n- b\n- c\n\nd"_s },
        { "a tag in a quoted value", u"<span title=\"a > b\">x</span>"_s, u"x"_s },
    };
    ExpectRows(Gift::Markup::Moodle, rows);
    ExpectRows(Gift::Markup::Plain, { { "nothing is markup", u"<b>a</b> &amp;  \n  *b*\n"_s, u"<b>a</b> &amp;\n  *b*"_s } });
}

TEST(PlainTextTest, Markdown)
{
    const std::vector<Row> rows = {
        { "emphasis", u"# Head\n\nthis *is*\n**it** `a*b*`"_s, u"Head\n\nthis is it a*b*"_s },
        { "lists", u"- a\n- b<br>y\n    1. c\n- [x] d\n- [ ] e\n\nx"_s, u"- a\n- b\n  y\n  1. c\n[x] d\n[ ] e\n\nx"_s },
        { "table", u"| a | b |\n|---|---|\n| 1 | 2 |"_s, u"a | b\n1 | 2"_s },
        { "a cell too many", u"| a |\n|---|\n| 1 | 2 |<br>"_s, u"| a |\n|---|\n| 1 | 2 |"_s },
        { "never closed", u"List<int> or a <br> b <img src=\"x\" alt=\"cat\"> <b>c</b>\n\nlast"_s,
          u"List<int> or a\nb [cat] c\n\nlast"_s },
        { "code", u"`<b>` &lt; \\<br\\>\n```c\n<br>\n  x\n```"_s, u"<b> < <br>\n\n<br>\n  x"_s },
        { "links", u"![dog](x.png) [page](https://x.org) <video>"_s, u"[dog] page (https://x.org) [video]"_s },
    };
    ExpectRows(Gift::Markup::Markdown, rows);
}

TEST(PlainTextTest, LongTextsEndInTime)
{
    const QString open = u"<a "_s.repeated(20'000);
    EXPECT_EQ(PlainText::Readable({ open, Gift::Markup::Moodle }), open.trimmed());
    const QString spaces = u"<p"_s + u" x"_s.repeated(50'000) + u"<p>"_s;
    EXPECT_TRUE(PlainText::Readable({ spaces, Gift::Markup::Html }).startsWith("<p x x"_L1));
    EXPECT_EQ(PlainText::Readable({ u"<div>"_s.repeated(2'000) + u"x"_s, Gift::Markup::Html }), u"x"_s);
}
