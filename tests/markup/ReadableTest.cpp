// SPDX-License-Identifier: Apache-2.0
#include "markup/Readable.h"
#include "tests/support/Rows.h"

#include <QElapsedTimer>

using Markup::Kind;

namespace {

QString Shown(const QString &source, Kind kind)
{
    return Markup::Spelled(Markup::Read({ source, kind }), false);
}

}

TEST(ReadableTest, Html)
{
    const std::vector<Row> rows = {
        { "line breaks", u"a\n a<br>b<BR/>c<div>d</div> <p>e<hr>f<br><br><br>g<p>&nbsp;"_s,
          u"a a\nb\nc\nd\n\ne\n\n-----\nf\n\ng"_s },
        { "entities", u"&lt;x&gt; &amp;amp; &#65;&#x42;&nbsp;&hellip; &bogus; &lt"_s, u"<x> &amp; AB \u2026 &bogus; &lt"_s },
        { "not shown", u"<!DOCTYPE html>a<!-- b --><script>c('<p>')</script><style>p{}</style><link href='x'>d"_s, u"ad"_s },
        { "concealed",
          u"a<span aria-hidden='true'>b<span>c</span></span><p hidden>d</p><b style='display: none'>e</b>f<i hidden>g"_s,
          u"afg"_s },
        { "unknown tags", u"List<int> a<b <o:p>office</o:p> <h7>x</h7>"_s, u"List<int> a<b office <h7>x</h7>"_s },
        { "bullets", u"q<ul>\n<li>a<br>x<ul><li>b</ul></li>\n<li><p>c</p></li>\n</ul>d"_s,
          u"q\n\n- a\n  x\n  - b\n- c\n\nd"_s },
        { "numbers", u"<ol><li>a</li><li>b</li></ol><ol type='a'><li>c</li></ol>"_s, u"1. a\n2. b\na. c"_s },
        { "numbers that are given",
          u"<ol start='3'><li>a<li value='9'>b<li>c</ol><p>x</p><ol type='I' reversed><li>d<li><ul><li>e</ul></ol>"_s,
          u"3. a\n9. b\n10. c\n\nx\n\nII. d\nI. - e"_s },
        { "items of several lines", u"<ul><li><p>a</p><p>b<ol><li>c</ol></li><li></li><li>d</ul>"_s,
          u"- a\n\n  b\n  1. c\n- d"_s },
        { "table", u"a<table><tr><th>h<th colspan='2'>i<tr><td>1<td>2<td><p>3<p>4</table>b"_s,
          u"a\n\nh | i\n1 | 2 | 3 4\n\nb"_s },
        { "closed rows", u"<table><tbody>\n<tr>\n<td>a</td><td></td>\n</tr>\n<tr><td>b</td><td>c</td></tr></tbody></table>"_s,
          u"a |\nb | c"_s },
        { "beside cells", u"<table>x<tr><td>a</td>y<td><b>b</b></td></tr><p>z</p></table>"_s, u"x\na | y | b\nz"_s },
        { "table in a cell", u"<table><tr><td><table><tr><td>a<td>b</table></td><td>c</table>"_s, u"a | b | c"_s },
        { "one cell", u"<table><tr><td>a<p>b</table>"_s, u"a\n\nb"_s },
        { "signs of their own",
          u"<q>a</q> <u>&nbsp; &nbsp;</u> <input> <ruby>b<rp>(</rp><rt>c</rt></ruby> &lbrace;&#128;&#0;\uFFFC"_s,
          u"“a” _____ _____ b(c) {\u20AC\uFFFD\uFFFD"_s },
        { "code", u"<pre>if (x)\n    y;\n\n\tz</pre>"_s, u"if (x)\n    y;\n\n\tz"_s },
        { "raised",
          u"H<sub>2</sub>O, (2)<sup> 10</sup>, x<sup>-3</sup>, 1<sup>st</sup>, n<sup>th</sup>, 2<sup>e</sup>, "
          "n<sup>o</sup> 1, .<sup>1</sup>, a<sup></sup>b, x<sup>n + 1</sup>, 90<sup>°</sup>"_s,
          u"H₂O, (2)¹⁰, x⁻³, 1st, nth, 2e, nº 1, .¹, ab, xⁿ⁺¹, 90°"_s },
        { "raised by a style",
          u"a<span style='font-size:9px; Vertical-Align: super;'>2<span>3</span></span>b <b style=vertical-align:sub>1</b> "
          "<sup><span style='vertical-align:super'>4</span></sup> <td style='vertical-align:sub'>c</td>"_s,
          u"a²³b ₁ ⁴\nc"_s },
        { "ordinal numbers and powers",
          u"2<sup>a</sup>, 3<sup>o</sup>, x = 2<sup>a</sup>, 5·10<sup>o</sup>, x2<sup>a</sup>, 1-2<sup>e</sup>"_s,
          u"2ª, 3º, x = 2ᵃ, 5·10ᵒ, x2ᵃ, 1-2ᵉ"_s },
        { "raised without characters for it",
          u"2<sup>n<sup>2</sup></sup>, x<sup>n/2</sup>, x<sub>b</sub>, x<sub>b</sub>c, "
          "x<sub>bc</sub>, m<sub>max</sub>, a<sup>[1]</sup>, <sup>a<br>d"_s,
          u"2^(n²), x^(n/2), x_b, x_(b)c, x_bc, mₘₐₓ, a[1], ᵃ\nᵈ"_s },
        { "pictures", u"<img src='y.png' alt=' cat'><img src='x/y.png'><img src='data:x/y,AA'><video></video>"_s,
          u"[cat][y.png][picture][video]"_s },
        { "links", u"<a href='https://x'>a <b>b</b></a>, <a href='http://y'>http://y</a>, <a href='#n'>c</a>"_s,
          u"a b (https://x), http://y, c"_s },
    };
    ExpectRows([](const QString &source) { return Shown(source, Kind::Html); }, rows);
}

TEST(ReadableTest, TextWithoutAFormat)
{
    const std::vector<Row> rows = {
        { "lines and indents", u"for x:  \n    y\n\n\n\tz"_s, u"for x:\n    y\n\n\n\tz"_s },
        { "a closed tag", u"<b x=\">\">Which</b> is it?\n    a < b\n<i>List<int></i> &count; &amp;"_s,
          u"Which is it?\n    a < b\nList<int> &count; &"_s },
        { "an entity alone", u"a &lt; b\n\tc"_s, u"a < b\n    c"_s },
        { "a tag that is asked about", u"<b></b>"_s, u"<b></b>"_s },
        { "a tag alone", u"<hr>"_s, u"<hr>"_s },
        { "tags that are not closed", u"<b>a <p> </i> <!-- c -->"_s, u"<b>a <p> </i> <!-- c -->"_s },
        { "parts of a page", u"<form></form> <i>or</i> <body></body><!-- c -->"_s, u"<form></form> or <body></body>"_s },
        { "code", u"Code:\n<pre>\na\n  b\n</pre>\nend<br>\nline"_s, u"Code:\n\na\n  b\n\nend\nline"_s },
        { "lines of a list", u"a\n<ul>\n  <li>b</li>\n  <li>c\n</li>\n</ul>\nd\n<b>e</b>"_s, u"a\n\n- b\n- c\n\nd\ne"_s },
    };
    ExpectRows([](const QString &source) { return Shown(source, Kind::Moodle); }, rows);
    EXPECT_EQ(Shown(u"<b>a</b> &amp;  \n  *b*\n"_s, Kind::Plain), u"<b>a</b> &amp;\n  *b*"_s);
}

TEST(ReadableTest, Markdown)
{
    const std::vector<Row> rows = {
        { "emphasis", u"# Head\n\nthis *is*\n**it** `a*b*`"_s, u"Head\n\nthis is it a*b*"_s },
        { "lists", u"- a\n- b<br>y\n    1. c\n- [x] d\n- [ ] e\n\nx"_s, u"- a\n- b\n  y\n  1. c\n[x] d\n[ ] e\n\nx"_s },
        { "table", u"| a | b |\n|---|---|\n| 1 | 2 |"_s, u"a | b\n1 | 2"_s },
        { "a cell too many", u"| a |\n|---|\n| 1 | 2 |<br>"_s, u"| a |\n|---|\n| 1 | 2 |"_s },
        { "lowered", u"H~2~O ~~H2O~~ SO~4~^2-^ ~/a"_s, u"H₂O H2O SO₄^2-^ ~/a"_s },
        { "never closed", u"List<int> or a <br> b <img src=\"x\" alt=\"cat\"> <b>c\n\nlast"_s,
          u"List<int> or a\nb [cat] c\n\nlast"_s },
        { "code", u"`<b>` &lt; \\<br\\>\n```c\n<br>\n  x\n```"_s, u"<b> < <br>\n\n<br>\n  x"_s },
        { "links", u"![dog](x.png) [page](https://x.org) <video>"_s, u"[dog] page (https://x.org) [video]"_s },
    };
    ExpectRows([](const QString &source) { return Shown(source, Kind::Markdown); }, rows);
}

TEST(ReadableTest, Pictures)
{
    const auto read = [](const QString &source, Kind kind) { return Markup::Read({ source, kind }); };
    const Markup::Readable html = read(u"a <img src='b%20c.png?x&amp;y'><p><img alt='cat' src=d.png> <img src='data:,x'></p>"
                                       "<svg><path/></svg> e<object data=f.png type=image/png></object>"_s,
                                       Kind::Html);
    EXPECT_EQ(html.Text, u"a \uFFFC\n\n\uFFFC \uFFFC\n\n\uFFFC e\uFFFC"_s);
    ASSERT_EQ(html.Pictures.size(), 5U);
    EXPECT_EQ(html.Pictures[0].Source, u"b%20c.png?x&y"_s);
    EXPECT_EQ(html.Pictures[1].Alt, u"cat"_s);
    EXPECT_TRUE(html.Pictures[3].Source.startsWith(u"data:image/svg+xml;base64,PHN2Zz4"_s));
    EXPECT_EQ(html.Pictures[4].Source, u"f.png"_s);
    EXPECT_EQ(Markup::Spelled(html, true), u"a [b c.png]\n\n[picture] e[f.png]"_s);

    const Markup::Readable markdown = read(u"1 ![a](b.png) <img src=c.png> ![](d.png)\n\n3. e"_s, Kind::Markdown);
    EXPECT_EQ(Markup::Spelled(markdown, false), u"1 [a] [c.png] [d.png]\n\n3. e"_s);
    ASSERT_EQ(markdown.Pictures.size(), 3U);
    EXPECT_EQ(markdown.Pictures[1].Source, u"c.png"_s);
}

TEST(ReadableTest, WhatIsLostIsWarnedOf)
{
    const auto warnings = [](const QString &source) { return Markup::Read({ source, Kind::Html }).Warnings.join(u'|'); };
    EXPECT_EQ(warnings(u"<p><b>a</b> <u>&nbsp;</u></p>"_s), u""_s);
    EXPECT_EQ(warnings(u"<u>a</u> <del>b</del> <u>c</u>"_s),
              u"underlined text is shown like any other|struck-out text is shown like any other"_s);
    EXPECT_EQ(warnings(
                  u"<span style='text-decoration: line-through red'>a</span><p style='text-decoration-line:overline'>b</p>"_s),
              u"struck-out text is shown like any other|overlined text is shown like any other"_s);
    EXPECT_EQ(Markup::Read({ u"*a* ~~b~~ <u>c</u>"_s, Kind::Markdown }).Warnings.join(u'|'),
              u"struck-out text is shown like any other|underlined text is shown like any other"_s);
    EXPECT_EQ(warnings(u"<video src='x'></video>"_s), u"what is played or embedded (video) is left out"_s);
}

TEST(ReadableTest, LongTextsEndInTime)
{
    QElapsedTimer timer;
    timer.start();
    for (const QString &part : { u"<a "_s,
                                 u"<a b='"_s,
                                 u"<a b=\"<a b='"_s,
                                 u"<!--"_s,
                                 u"<script>"_s,
                                 u"<math>"_s,
                                 u"<mrow><mi>"_s,
                                 u"<div>"_s,
                                 u"<ul><li>a"_s,
                                 u"<table><tr><td>a"_s,
                                 u"<sup>a<br>"_s,
                                 u"<u>a</b>"_s,
                                 u"$a"_s,
                                 u"$$"_s,
                                 u"\\("_s,
                                 u"\\({\\frac"_s,
                                 u"a^{"_s,
                                 u"```a`"_s,
                                 u"&lt"_s,
                                 u"<p>a</p>"_s,
                                 u"- "_s,
                                 u"> "_s }) {
        const QString source = part.repeated(200'000 / part.size());
        for (const Kind kind : { Kind::Moodle, Kind::Html, Kind::Markdown })
            EXPECT_FALSE(Markup::Read({ source + u"x"_s, kind }).Text.isEmpty()) << part.toStdString();
        EXPECT_FALSE(Markup::Read({ u"y<math>"_s + source + u"</math>"_s, Kind::Html }).Text.isEmpty()) << part.toStdString();
    }
    EXPECT_LT(timer.elapsed(), 30'000);
}
