#include "author/Gift.h"
#include "tests/support/ExpectError.h"

#include <QStringList>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

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
        { "single choice", "Q {=a ~b}", u"1: Q | *a | b" },
        { "wrong answers first", "Q{~a\n~b\n=c}", u"1: Q | a | b | *c" },
        { "several right in single choice", "Q {=a ~b =c}", u"1! several answers are right alone" },
        { "full credit beside =", "Q {=a ~%100%b ~%50%c}", u"1! several answers are right alone" },
        { "part of the credit beside =", "Q {=a ~%50%b ~c}", u"1: Q | *a | b | c" },
        { "no credit on =", "Q {=a =%0%b ~c}", u"1: Q | *a | b | c" },
        { "weights", "Q {~%50%a ~%50%b ~%-100%c}", u"1: Q | *a | *b | c [multiple]" },
        { "fractions", "Q {~%33.33333%a ~%-0.5%b ~ %66,7% c ~%0%d}", u"1: Q | *a | b | *c | d [multiple]" },
        { "one positive weight", "Q {~%100%a ~%-100%b}", u"1: Q | *a | b [multiple]" },
        { "nothing right", "Q {~a ~b}", u"1: Q | a | b [multiple]" },
        { "a percentage is no weight", "Q {=50% ~%x% ~5%6%}", u"1: Q | *50% | %x% | 5%6%" },
        { "true", "Q {T}", u"1: Q | *<p>True | <p>False" },
        { "false in full", "Q { false }", u"1: Q | <p>True | *<p>False" },
        { "feedback when wrong comes first", "Q {F#no#yes}", u"1: Q | <p>True (no) | *<p>False (yes)" },
        { "feedback when true", "Q {TRUE#no#yes####g}", u"1: Q | *<p>True (yes) | <p>False (no) #g" },
        { "feedback when wrong alone", "Q {T#no}", u"1: Q | *<p>True | <p>False (no)" },
        { "short answer", "Q {=a =b}", u"1! a short-answer question has no options" },
        { "matching", "Q {=a -> b =c -> d}", u"1! a matching question has no options" },
        { "an arrow in an option", "Q {=a -> b ~c}", u"1: Q | *a -> b | c" },
        { "numerical", "Q {#3.14:0.01}", u"1! a numerical question has no options" },
        { "essay", "Q {}", u"1! an essay question has no options" },
        { "essay with feedback", "Q { ####g }", u"1! an essay question has no options" },
        { "description", "Just text", u"1! a description without answers is no question" },
        { "no marks", "Q {a}", u"1! the answer block begins with neither \"=\" nor \"~\"" },
        { "text before the marks", "Q {a ~b =c}", u"1! the answer block begins with neither \"=\" nor \"~\"" },
    });
}

TEST(GiftTest, TextsAndEscapes)
{
    ExpectRows({
        { "all escapes", R"(a\~b\=c\#d\{e\}f\:g\\h\ni {=x ~y})", u"1: a~b=c#d{e}f:g\\h\ni | *x | y" },
        { "an escaped backslash before n", R"(a\\n {=x ~y})", u"1: a\\n | *x | y" },
        { "other backslashes", R"(C:\temp \" {=x ~y})", u"1: C:\\temp \\\" | *x | y" },
        { "escapes in options", R"(Q {=a \= b ~\~c \# d#f\#g})", u"1: Q | *a = b | ~c # d (f#g)" },
        { "a backslash at the end", "Q {=a ~b}\\", u"1: Q _____\\ | *a | b" },
        { "title", "::My title::Q {=a ~b}", u"1: Q | *a | b" },
        { "escaped colons in a title", R"(::My\:\: title:: Q {=a ~b})", u"1: Q | *a | b" },
        { "colons in a stem", "std::vector is {=a ~b}", u"1: std::vector is | *a | b" },
        { "a title without end", "::Q {=a ~b}", u"1: ::Q | *a | b" },
        { "missing word", "Grant is {=a ~b} here.", u"1: Grant is _____ here. | *a | b" },
        { "closing mark", "Two is {=a ~b}.", u"1: Two is _____. | *a | b" },
        { "closing tags are no sentence", "[html]<p>Q {=a ~b}</p>", u"1: <h><p>Q </p> | *<h>a | <h>b" },
        { "formats are handed down", "[html]Q {=a#f ~[plain]b####g}", u"1: <h>Q | *<h>a (<h>f) | <p>b #<h>g" },
        { "formats after a weight", "Q {~%50%[markdown]a#[html]f ~%50% [moodle] b}",
          u"1: Q | *<m>a (<h>f) | *b [multiple]" },
        { "formats after a title", "::t::[markdown]Q {T####[html]g}", u"1: <m>Q | *<p>True | <p>False #<h>g" },
        { "an unknown format", "[bold]Q {=[x]a ~b}", u"1: [bold]Q | *[x]a | b" },
        { "feedback", "Q {=a # yes ~b#no\n####All of it = ~fine # really}",
          u"1: Q | *a (yes) | b (no) #All of it = ~fine # really" },
        { "five marks", "Q {=a ~b#####g}", u"1: Q | *a | b #g" },
        { "empty feedback", "Q {=a# ~b####}", u"1: Q | *a | b" },
        { "an empty option", "Q {=a ~}", u"1: Q | *a | " },
        { "several lines", "Q one\n  two {\n\t=a\n\t  more\n\t~b\n}", u"1: Q one\n  two | *a\n\t  more | b" },
    });
}

TEST(GiftTest, LinesAndComments)
{
    const char16_t twice[] = u"1: Q | *a | b\n3: R | *c | d";
    ExpectRows({
        { "line feeds", "Q {=a ~b}\n\nR {=c ~d}\n", twice },
        { "carriage returns too", "Q {=a ~b}\r\n\r\nR {=c ~d}\r\n", twice },
        { "a byte order mark", "\xEF\xBB\xBFQ {=a ~b}\n \t\nR {=c ~d}", twice },
        { "UTF-16", QByteArray("\xFF\xFEQ\0 \0{\0=\0\xE9\0~\0b\0}\0", 18), u"1: Q | *\u00E9 | b" },
        { "no UTF-8", "Q {=\xE9 ~b}", u"1: Q | *\uFFFD | b" },
        { "first line", "\n// c\n::t::\n// c\nQ {=a ~b}", u"3: Q | *a | b" },
        { "blank lines in a block", "Q {\n\n=a\n \n\n~b\n\n}\n\nR {=c ~d}", u"1: Q | *a | b\n10: R | *c | d" },
        { "comments in a block", "Q {\n=a\n // ~x\n//}\n~b\n}", u"1: Q | *a | b" },
        { "an address is no comment", "See http://x.org {=a ~b}", u"1: See http://x.org | *a | b" },
        { "a category", "$CATEGORY: a/b\n\nQ {=a ~b}\n$CATEGORY: c\nR {=c ~d}", u"3: Q | *a | b\n5: R | *c | d" },
        { "not closed", "Q {\n=a\n\nR {=c ~d}", u"1! the answer block is not closed\n4: R | *c | d" },
        { "not closed before a category", "Q {\n\n$CATEGORY: x\n}", u"1! the answer block is not closed\n4! a \"}\" without its \"{\"" },
        { "not closed at the end", "Q {=a ~b", u"1! the answer block is not closed" },
        { "no blank line between", "Q {=a ~b}\nR {=c ~d}",
          u"1! more than one answer block (is a blank line missing between two questions?)" },
        { "a brace too many", "Q {=a{x} ~b}", u"1! more than one \"}\" (write \"\\{\" and \"\\}\" for braces in a text)" },
        { "nothing", "", u"" },
        { "comments alone", "// x\n\n//y", u"" },
    });
}

TEST(GiftTest, WishesInComments)
{
    ExpectRows({
        { "exhibit", "// [exhibit:a.gif]\nQ {=a ~b}\n\nR {T}", u"2: Q | *a | b [a.gif]\n4: R | *<p>True | <p>False" },
        { "no limit", "//[nolimit]\nQ {~%50%a ~%50%b}", u"2: Q | *a | *b [multiple] [nolimit]" },
        { "both", "// [exhibit: a b.gif ] [NoLimit]\nQ {T}", u"2: Q | *<p>True | <p>False [nolimit] [a b.gif]" },
        { "a blank line and a category between", "// [exhibit:a.gif]\n\n$CATEGORY: x\n\nQ {T}",
          u"5: Q | *<p>True | <p>False [a.gif]" },
        { "in the block", "Q {\n// [exhibit:a.gif]\nT}\n\nR {T}", u"1: Q | *<p>True | <p>False [a.gif]\n5: R | *<p>True | <p>False" },
        { "behind the block", "Q {T}\n// [exhibit:a.gif]\n\nR {T}", u"1: Q | *<p>True | <p>False\n4: R | *<p>True | <p>False [a.gif]" },
        { "in prose", "// an [exhibit:a.gif] names a picture\nQ {T}", u"2: Q | *<p>True | <p>False" },
        { "empty", "// [exhibit:]\nQ {T}", u"2: Q | *<p>True | <p>False []" },
        { "two", "// [exhibit:a.gif]\n// [exhibit:b.gif]\nQ {T}", u"3! more than one exhibit is named" },
        { "for nothing", "Q {T}\n\n// [exhibit:a.gif]\n",
          u"1: Q | *<p>True | <p>False\n3! the exhibit \"a.gif\" stands before no question" },
    });
}

TEST(GiftTest, EveryBeginningOfABankIsRead)
{
    const QByteArray bank = "$CATEGORY: x\n// [exhibit:a.gif]\n::t\\:::[html]<p>Q\\n {=%50%a#f ~[plain]b\n\n####g}</p> end\n\nR {F#n#y}\n";
    const qsizetype lines = bank.count('\n') + 1;
    for (qsizetype length = 0; length <= bank.size(); ++length) {
        for (const Gift::Item &item : Gift::Parse(Gift::Decode(bank.left(length)))) {
            EXPECT_GE(item.Line, 1) << length;
            EXPECT_LE(item.Line, lines) << length;
            EXPECT_NE(item.Refusal.isEmpty(), item.Options.empty()) << length;
        }
    }
}
