// SPDX-License-Identifier: Apache-2.0
#include "tests/author/AuthorFixture.h"

namespace {

// The items of an exam made from a question bank, one a line, and behind them what
// is left out and lost, each behind its line.
QString Taken(const QString &source, const Assembler::Settings &settings = {})
{
    const Assembled bank(source, Sandbox::Path(u"bank"_s), settings);
    const auto exam = Package::Compose(bank.Made.Items, {});
    QStringList lines;
    for (const auto &question : exam->Questions()) {
        QStringList parts = { question->Problem() };
        for (const auto &choice : question->Choices())
            parts.append((choice->IsSolution() ? u"*"_s : QString()) + choice->Statement());
        parts += { question->StoredExplaination(), question->HasHint() ? u"limited"_s : QString(), question->Exhibit() };
        parts.removeAll(QString());
        lines.append(parts.join(u" | "_s));
    }
    for (const Draft::Fate &fate : bank.Made.Fates) {
        for (const QString &text : fate.Reason.isEmpty() ? fate.Warnings : QStringList(fate.Reason))
            lines.append(fate.Place.mid(1) + u": "_s + text);
    }
    return lines.join(u'\n');
}

}

TEST(GiftTest, ItemsOfABank)
{
    for (const QString &name : { u"a b.bmp"_s, u"b.bmp"_s })
        Sandbox::WriteFile(Sandbox::Path(u"bank/"_s + name), Bmp());
    const QString twice = u"Q | *a | b\nR | *c | d"_s;
    const std::vector<Row> rows = {
        { "several right in single choice", u"Q {=a ~b =c}"_s, u"1: several answers are right alone"_s },
        { "full credit beside =", u"Q {=a ~%100%b}"_s, u"1: several answers are right alone"_s },
        { "part of the credit beside =", u"Q {=a -> b ~%99%b ~c}"_s, u"Q | *a -> b | b | c"_s },
        { "weights", u"Q {~%33.33333%a ~%-0.5%b ~ %0,7% c ~%0%d ~e}"_s, u"Q | *a | b | *c | d | e | limited"_s },
        { "a percentage is no weight", u"Q {=50% ~%x% ~5%6%}"_s, u"Q | *50% | %x% | 5%6%"_s },
        { "true", u" Q { t }\n\nS {TRUE#no####all}"_s, u"Q | *True | False\nS | *True | False | all\n\nB: no"_s },
        { "false", u"R {F#no#yes#too}\n\nS {false}"_s, u"R | True | *False | A: no\nB: yes#too\nS | True | *False"_s },
        { "short answer", u"Q {=a =b}"_s, u"1: a short-answer question has no options"_s },
        { "matching", u"Q {=a -> b =c -> d}"_s, u"1: a matching question has no options"_s },
        { "numerical", u"Q {#3.14:0.01}"_s, u"1: a numerical question has no options"_s },
        { "essay", u"Q { ####why}"_s, u"1: an essay question has no options"_s },
        { "description", u"Just text"_s, u"1: a description without answers is no question"_s },
        { "text before the marks", u"Q {a ~b =c}"_s, u"1: the answer block begins with neither \"=\" nor \"~\""_s },
        { "one option", u"Q {~%100%a}"_s, u"1: it has fewer than 2 options"_s },
        { "27 options", u"Q {=a"_s + u"~b"_s.repeated(26) + u'}', u"1: it has 27 options, and an exam has letters for 26"_s },
        { "26 options", u"Q {=a"_s + u"~b"_s.repeated(25) + u'}',
          u"Q | *a"_s + u" | b"_s.repeated(25) + u"\n1: options B and C read the same"_s },
        { "no right one", u"Q {~a ~b}"_s, u"1: no option is right"_s },
        { "an empty option", u"Q {=a ~~b}"_s, u"1: option 2 is empty"_s },
        { "no question", u"::t:: {T}"_s, u"1: it has no question text"_s },
        { "escapes", uR"(a\~b\=c\#d\{e\}f\:g\\h\ni\j {=x\=# y\#z ~y})"_s, u"a~b=c#d{e}f:g\\h\ni\\j | *x= | y | A: y#z"_s },
        { "a title", u"::t:: Q::R {T}\n\n::Q {T}"_s, u"Q::R | *True | False\n::Q | *True | False"_s },
        { "missing word", u"Grant is {=a ~b} here."_s, u"Grant is _____ here. | *a | b"_s },
        { "end tags", u"[html]<p>Q {=a ~b}</p> </div >"_s, u"Q | *a | b"_s },
        { "formats", u"[html]*Q*<br> {=<p>a#<p>f ~[plain]<p>b####<p>g}"_s, u"*Q* | *a | <p>b | g\n\nA: f"_s },
        { "after a weight", u"Q {~%50%[markdown]*a*#[html]*f* ~%50% [moodle] *b*}"_s, u"Q | *a | **b* | A: *f* | limited"_s },
        { "feedback", u"Q {=a # yes ~b#no\n####All = ~fine # really}"_s,
          u"Q | *a | b | All = ~fine # really\n\nA: yes\nB: no"_s },
        { "several lines", u"Q one\n  two {\n\t=a\n\n\t  more\n\t~b\n}"_s, u"Q one\n  two | *a\n\n\t  more | b"_s },
        { "an accent of its own", u"e\u0301 {T}"_s, u"\u00E9 | *True | False"_s },
        { "no UTF-8", u"Q\uFDD0 {=\uFFFD ~b}"_s, u"1: it holds bytes that are not UTF-8, or the character U+FFFD"_s },
        { "NUL", u"Q\0R {T}"_s, u"1: it holds the control character U+0000"_s },
        { "ESC", u"Q {=a ~b#[html]&#27;[2J}"_s, u"1: it holds the control character U+001B"_s },
        { "a million", u"Q {=a~"_s + u"b"_s.repeated(999'998) + u"}\n\nR {T}"_s,
          u"Q | *a | "_s + u"b"_s.repeated(999'998) + u"\nR | *True | False"_s },
        { "one more", u"Q {=a~"_s + u"b"_s.repeated(999'999) + u'}', u"1: it has more than 1000000 characters"_s },
        { "blank lines", u"Q {=a ~b}\n \t\nR {=c ~d}\n"_s, twice },
        { "in a block", u"Q {\n\n=a\n \n\n~b\n\n}\n\nR {=c ~d}"_s, twice },
        { "comments in a block", u"Q {\n=a\n // ~x\n//}\n~b\n}\n\nR {=c ~d}"_s, twice },
        { "a category", u"$CATEGORY: a/b\n\nQ {=a ~b}\n$CATEGORY: c\nR {=c ~d}"_s, twice },
        { "not closed", u"Q {\n=a\n\nR {=c ~d}"_s, u"R | *c | d\n1: the answer block is not closed"_s },
        { "category", u"Q {\n\n$CATEGORY: x\n}"_s, u"1: the answer block is not closed\n4: a \"}\" without its \"{\""_s },
        { "no blank line", u"Q {=a ~b}\nR {=c ~d}"_s,
          u"1: more than one answer block (is a blank line missing between two questions?)"_s },
        { "a brace too many", u"Q {=a{x} ~b}"_s, u"1: more than one \"}\" (write \"\\{\" and \"\\}\" for braces in a text)"_s },
        { "an exhibit", u"// [exhibit:b.bmp]\n\n$CATEGORY: x\n\nQ {T}"_s, u"Q | *True | False | b.bmp"_s },
        { "no limit", u"Q {~%50%a\n// [NoLimit] [exhibit: a b.bmp ]\n~%50%b}"_s, u"Q | *a | *b | a b.bmp"_s },
        { "other comments", u"// see [nolimit]\n// [limit]\nQ {~%50%a ~%50%b}"_s, u"Q | *a | *b | limited"_s },
        { "behind the block", u"Q {=a ~b}\n// [exhibit:b.bmp]\n\nR {=c ~d}"_s, twice + u" | b.bmp"_s },
        { "two exhibits", u"// [exhibit:a b.bmp]\n// [exhibit:b.bmp]\nQ {T}"_s, u"3: more than one exhibit is named"_s },
        { "for nothing", u"Q {=a ~b}\n\n//\n// [exhibit:b.bmp]\n//"_s,
          u"Q | *a | b\n4: the exhibit \"b.bmp\" stands before no question"_s },
    };
    ExpectRows([](const QString &source) { return Taken(source); }, rows);
}

TEST(GiftTest, ExhibitsAndTheirNames)
{
    for (const QString &name : { u"a.EXAM"_s, u"\u03B1.bmp"_s })
        Sandbox::WriteFile(Sandbox::Path(u"bank/"_s + name), Bmp(5));
    Sandbox::WriteFile(Sandbox::Path(u"bank/text.bmp"_s), "text");
    Sandbox::WriteFile(Sandbox::Path(u"outside.bmp"_s), Bmp(6));
    const std::vector<std::pair<QString, QString>> rows = {
        { u"x.bmp"_s, u"2: the exhibit \"x.bmp\" is not there"_s },
        { u"text.bmp"_s,
          u"2: the exhibit \"text.bmp\": The file is not a BMP, GIF, JPEG, ICO, PNG, WebP, SVG or TIFF picture"_s },
        { u"../outside.bmp"_s, u"2: the exhibit \"../outside.bmp\" is not there"_s },
        { u"a\u0007.bmp"_s, u"2: it holds the control character U+0007"_s },
        { u"a.EXAM"_s, u"Q | *True | False | a.EXAM.bmp"_s },
        { u"\u03B1.bmp"_s, u"Q | *True | False | picture.bmp"_s },
    };
    for (const auto &[name, expected] : rows)
        EXPECT_EQ(Taken(u"// [exhibit:%1]\nQ {T}"_s.arg(name)), expected);
    for (const QString &name :
         { u""_s, u"."_s, u".."_s, u"a/b"_s, u"a\\b"_s, u"a:b"_s, u"a\"b"_s, u"a\0b"_s, u" a"_s, u"a "_s })
        EXPECT_FALSE(Package::IsPlainName(name)) << name.toStdString();
}
