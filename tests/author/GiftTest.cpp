// SPDX-License-Identifier: Apache-2.0
#include "author/Gift.h"
#include "tests/support/Test.h"

#include <QStringList>

namespace {

QString Shown(const Gift::Text &text)
{
    static const QStringList marks = { QString(), u"<h>"_s, u"<p>"_s, u"<m>"_s };
    return text.Source.isEmpty() ? QString() : marks.at(static_cast<int>(text.Markup)) + text.Source;
}

// "line: stem | *right option (feedback) | option #general [flags]", or
// "line! reason".
QString Shown(const Gift::Item &item)
{
    QString text = QString::number(item.Line);
    if (!item.Refusal.isEmpty())
        return text + u"! "_s + item.Refusal;
    text += u": "_s + Shown(item.Problem);
    for (const Gift::Option &option : item.Options) {
        text += (option.IsRight ? u" | *"_s : u" | "_s) + Shown(option.Statement);
        if (!option.Feedback.Source.isEmpty())
            text += u" ("_s + Shown(option.Feedback) + u')';
    }
    if (!item.Feedback.Source.isEmpty())
        text += u" #"_s + Shown(item.Feedback);
    if (item.IsMultiple)
        text += u" [multiple]"_s;
    if (item.IsUnlimited)
        text += u" [nolimit]"_s;
    if (item.Exhibit)
        text += u" ["_s + *item.Exhibit + u']';
    return text;
}

QString Parsed(const QByteArray &bytes)
{
    QStringList items;
    for (const Gift::Item &item : Gift::Parse(Gift::Decode(bytes)))
        items.append(Shown(item));
    return items.join(u"\n"_s);
}

struct Row {
    const char *Name;
    QByteArray Source;
    const char16_t *Expected;
};

void ExpectRows(const std::vector<Row> &rows)
{
    for (const Row &row : rows)
        EXPECT_EQ(Parsed(row.Source), QString::fromUtf16(row.Expected)) << row.Name;
}

}

TEST(GiftTest, KindsOfItems)
{
    ExpectRows({
        { "several right in single choice", "Q {=a ~b =c}", u"1! several answers are right alone" },
        { "part of the credit beside =", "Q {=a ~%50%b ~c}", u"1: Q | *a | b | c" },
        { "weights", "Q {~%50%a ~%50%b ~%-100%c}", u"1: Q | *a | *b | c [multiple]" },
        { "fractions", "Q {~%33.33333%a ~%-0.5%b ~ %66,7% c ~%0%d}", u"1: Q | *a | b | *c | d [multiple]" },
        { "a percentage is no weight", "Q {=50% ~%x% ~5%6%}", u"1: Q | *50% | %x% | 5%6%" },
        { "feedback when wrong comes first", "Q {F#no#yes}", u"1: Q | <p>True (no) | *<p>False (yes)" },
        { "feedback when true", "Q {TRUE#no#yes####g}", u"1: Q | *<p>True (yes) | <p>False (no) #g" },
        { "short answer", "Q {=a =b}", u"1! a short-answer question has no options" },
        { "matching", "Q {=a -> b =c -> d}", u"1! a matching question has no options" },
        { "an arrow in an option", "Q {=a -> b ~c}", u"1: Q | *a -> b | c" },
        { "numerical", "Q {#3.14:0.01}", u"1! a numerical question has no options" },
        { "essay", "Q {}", u"1! an essay question has no options" },
        { "description", "Just text", u"1! a description without answers is no question" },
        { "text before the marks", "Q {a ~b =c}", u"1! the answer block begins with neither \"=\" nor \"~\"" },
    });
}

TEST(GiftTest, TextsAndEscapes)
{
    ExpectRows({
        { "all escapes", R"(a\~b\=c\#d\{e\}f\:g\\h\ni {=x ~y})", u"1: a~b=c#d{e}f:g\\h\ni | *x | y" },
        { "escapes in options", R"(Q {=a \= b ~\~c \# d#f\#g})", u"1: Q | *a = b | ~c # d (f#g)" },
        { "a title without end", "::Q {=a ~b}", u"1: ::Q | *a | b" },
        { "missing word", "Grant is {=a ~b} here.", u"1: Grant is _____ here. | *a | b" },
        { "closing tags are no sentence", "[html]<p>Q {=a ~b}</p>", u"1: <h><p>Q </p> | *<h>a | <h>b" },
        { "formats are handed down", "[html]Q {=a#f ~[plain]b####g}", u"1: <h>Q | *<h>a (<h>f) | <p>b #<h>g" },
        { "formats after a weight", "Q {~%50%[markdown]a#[html]f ~%50% [moodle] b}", u"1: Q | *<m>a (<h>f) | *b [multiple]" },
        { "feedback", "Q {=a # yes ~b#no\n####All of it = ~fine # really}",
          u"1: Q | *a (yes) | b (no) #All of it = ~fine # really" },
        { "an empty option", "Q {=a ~}", u"1: Q | *a | " },
        { "several lines", "Q one\n  two {\n\t=a\n\t  more\n\t~b\n}", u"1: Q one\n  two | *a\n\t  more | b" },
    });
}

TEST(GiftTest, LinesAndComments)
{
    const char16_t twice[] = u"1: Q | *a | b\n3: R | *c | d";
    ExpectRows({
        { "line feeds", "Q {=a ~b}\n\nR {=c ~d}\n", twice },
        { "a byte order mark", "\xEF\xBB\xBFQ {=a ~b}\n \t\nR {=c ~d}", twice },
        { "UTF-16", QByteArray("\xFF\xFEQ\0 \0{\0=\0\xE9\0~\0b\0}\0", 18), u"1: Q | *\u00E9 | b" },
        { "blank lines in a block", "Q {\n\n=a\n \n\n~b\n\n}\n\nR {=c ~d}", u"1: Q | *a | b\n10: R | *c | d" },
        { "comments in a block", "Q {\n=a\n // ~x\n//}\n~b\n}", u"1: Q | *a | b" },
        { "a category", "$CATEGORY: a/b\n\nQ {=a ~b}\n$CATEGORY: c\nR {=c ~d}", u"3: Q | *a | b\n5: R | *c | d" },
        { "not closed", "Q {\n=a\n\nR {=c ~d}", u"1! the answer block is not closed\n4: R | *c | d" },
        { "not closed before a category", "Q {\n\n$CATEGORY: x\n}",
          u"1! the answer block is not closed\n4! a \"}\" without its \"{\"" },
        { "no blank line between", "Q {=a ~b}\nR {=c ~d}",
          u"1! more than one answer block (is a blank line missing between two questions?)" },
        { "a brace too many", "Q {=a{x} ~b}", u"1! more than one \"}\" (write \"\\{\" and \"\\}\" for braces in a text)" },
    });
}

TEST(GiftTest, WishesInComments)
{
    ExpectRows({
        { "exhibit", "// [exhibit:a.gif]\nQ {=a ~b}\n\nR {T}", u"2: Q | *a | b [a.gif]\n4: R | *<p>True | <p>False" },
        { "both", "// [exhibit: a b.gif ] [NoLimit]\nQ {T}", u"2: Q | *<p>True | <p>False [nolimit] [a b.gif]" },
        { "a blank line and a category between", "// [exhibit:a.gif]\n\n$CATEGORY: x\n\nQ {T}",
          u"5: Q | *<p>True | <p>False [a.gif]" },
        { "behind the block", "Q {T}\n// [exhibit:a.gif]\n\nR {T}",
          u"1: Q | *<p>True | <p>False\n4: R | *<p>True | <p>False [a.gif]" },
        { "two", "// [exhibit:a.gif]\n// [exhibit:b.gif]\nQ {T}", u"3! more than one exhibit is named" },
        { "for nothing", "Q {T}\n\n// [exhibit:a.gif]\n",
          u"1: Q | *<p>True | <p>False\n3! the exhibit \"a.gif\" stands before no question" },
    });
}
