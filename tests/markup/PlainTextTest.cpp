// SPDX-License-Identifier: Apache-2.0
#include "markup/PlainText.h"
#include "tests/support/Rows.h"

TEST(PlainTextTest, Html)
{
    const std::vector<Row> rows = {
        { "line breaks", u"a\n a<br>b<BR/>c<div>d</div> <p>e<hr>f<br><br><br>g<p>&nbsp;"_s,
          u"a a\nb\nc\nd\n\ne\n\n-----\nf\n\ng"_s },
        { "entities", u"&lt;x&gt; &amp;amp; &#65;&#x42;&nbsp;&hellip; &bogus; &lt"_s, u"<x> &amp; AB \u2026 &bogus; &lt"_s },
        { "not shown", u"<!DOCTYPE html>a<!-- b --><script>c('<p>')</script><style>p{}</style><link href='x'>d"_s, u"ad"_s },
        { "unknown tags", u"List<int> a<b <o:p>office</o:p> <h7>x</h7>"_s, u"List<int> a<b office <h7>x</h7>"_s },
        { "bullets", u"q<ul>\n<li>a<br>x<ul><li>b</ul></li>\n<li><p>c</p></li>\n</ul>d"_s,
          u"q\n\n- a\n  x\n  - b\n- c\n\nd"_s },
        { "numbers", u"<ol><li>a</li><li>b</li></ol><ol type='a'><li>c</li></ol>"_s, u"1. a\n2. b\na. c"_s },
        { "table", u"a<table><tr><th>h<th colspan='2'>i<tr><td>1<td>2<td><p>3<p>4</table>b"_s,
          u"a\n\nh | i\n1 | 2 | 3 4\n\nb"_s },
        { "beside cells", u"<table>x<tr><td>a</td>y<td><b>b</b></td></tr><p>z</p></table>"_s, u"x |  |\na | y | b z"_s },
        { "table in a cell", u"<table><tr><td><table><tr><td>a<td>b</table></td><td>c</table>"_s, u"a | b | c"_s },
        { "code", u"<pre>if (x)\n    y;\n\n\tz</pre>"_s, u"if (x)\n    y;\n\n\tz"_s },
        { "raised", u"H<sub>2</sub>, (2)<sup>10</sup>, x<sup>-3</sup>, 1<sup>st</sup>, .<sup>1</sup>"_s,
          u"H2, (2)^10, x^-3, 1st, .1"_s },
        { "pictures", u"<img src='y.png' alt=' cat'><img src='x/y.png'><img src='data:x/y,AA'><video></video>"_s,
          u"[cat][y.png][picture][video]"_s },
        { "links", u"<a href='https://x'>a <b>b</b></a>, <a href='http://y'>http://y</a>, <a href='#n'>c</a>"_s,
          u"a b (https://x), http://y, c"_s },
    };
    ExpectRows([](const QString &source) { return PlainText::Readable({ source, Markup::Kind::Html }); }, rows);
}

TEST(PlainTextTest, TextWithoutAFormat)
{
    const std::vector<Row> rows = {
        { "lines and indents", u"for x:  \n    y\n\n\n\tz"_s, u"for x:\n    y\n\n\n\tz"_s },
        { "a closed tag", u"<b x=\">\">Which</b> is it?\n    a < b\n<i>List<int></i> &count; &amp;"_s,
          u"Which is it?\n    a < b\nList<int> &count; &"_s },
        { "an entity alone", u"a &lt; b\n\tc"_s, u"a < b\n    c"_s },
        { "a tag that is asked about", u"<b></b>"_s, u"<b></b>"_s },
        { "tags that are not closed", u"<b>a <p> </i> <!-- c -->"_s, u"<b>a <p> </i> <!-- c -->"_s },
        { "parts of a page", u"<form></form> <i>or</i> <body></body><!-- c -->"_s, u"<form></form> or <body></body>"_s },
        { "code", u"Code:\n<pre>\na\n  b\n</pre>\nend<br>\nline"_s, u"Code:\n\na\n  b\n\nend\nline"_s },
        { "lines of a list", u"a\n<ul>\n  <li>b</li>\n  <li>c\n</li>\n</ul>\nd\n<b>e</b>"_s, u"a\n\n- b\n- c\n\nd\ne"_s },
    };
    ExpectRows([](const QString &source) { return PlainText::Readable({ source, Markup::Kind::Moodle }); }, rows);
    EXPECT_EQ(PlainText::Readable({ u"<b>a</b> &amp;  \n  *b*\n"_s, Markup::Kind::Plain }), u"<b>a</b> &amp;\n  *b*"_s);
}

TEST(PlainTextTest, Markdown)
{
    const std::vector<Row> rows = {
        { "emphasis", u"# Head\n\nthis *is*\n**it** `a*b*`"_s, u"Head\n\nthis is it a*b*"_s },
        { "lists", u"- a\n- b<br>y\n    1. c\n- [x] d\n- [ ] e\n\nx"_s, u"- a\n- b\n  y\n  1. c\n[x] d\n[ ] e\n\nx"_s },
        { "table", u"| a | b |\n|---|---|\n| 1 | 2 |"_s, u"a | b\n1 | 2"_s },
        { "a cell too many", u"| a |\n|---|\n| 1 | 2 |<br>"_s, u"| a |\n|---|\n| 1 | 2 |"_s },
        { "never closed", u"List<int> or a <br> b <img src=\"x\" alt=\"cat\"> <b>c\n\nlast"_s,
          u"List<int> or a\nb [cat] c\n\nlast"_s },
        { "code", u"`<b>` &lt; \\<br\\>\n```c\n<br>\n  x\n```"_s, u"<b> < <br>\n\n<br>\n  x"_s },
        { "links", u"![dog](x.png) [page](https://x.org) <video>"_s, u"[dog] page (https://x.org) [video]"_s },
    };
    ExpectRows([](const QString &source) { return PlainText::Readable({ source, Markup::Kind::Markdown }); }, rows);
}

TEST(PlainTextTest, LongTextsEndInTime)
{
    const QString open = u"<a "_s.repeated(20'000);
    EXPECT_EQ(PlainText::Readable({ open, Markup::Kind::Moodle }), open.trimmed());
    EXPECT_EQ(PlainText::Readable({ u"<div>"_s.repeated(2'000) + u"x"_s, Markup::Kind::Html }), u"x"_s);
}
