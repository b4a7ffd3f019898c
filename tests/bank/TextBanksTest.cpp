// SPDX-License-Identifier: Apache-2.0
#include "bank/Category.h"
#include "bank/Decode.h"
#include "tests/bank/BankFixture.h"

namespace {

QString Gift(const QString &text)
{
    return Shown({ {}, text.toUtf8(), {} }, u"gift"_s);
}

QString Passages(const QString &text)
{
    Bank::Options options;
    options.HasPassages = true;
    options.True = u"Wahr"_s;
    options.False = u"Falsch"_s;
    return Shown({ {}, text.toUtf8(), {} }, u"gift"_s, options);
}

// The decoded text, or the error.
QString Decoded(const QByteArray &bytes, const QString &encoding)
{
    try {
        return Bank::Decode({ u"bank"_s, bytes, {} }, encoding);
    } catch (const Error &error) {
        EXPECT_EQ(error.Source(), bytes.isEmpty() ? QString() : u"bank"_s);
        return error.Description();
    }
}

}

TEST(TextBanksTest, Gift)
{
    const QString embedded = u"1: an embedded-answers question (Cloze) has its options inside the text"_s;
    const QString severalRight = u"1: several answers are right alone"_s;
    const QString orSign = u" (write \"\\=\" for an equals sign in a text)"_s;
    const QString sign = u" | option 2 begins at an \"=\" that may be a sign in a text (write \"\\=\" for it)"_s;
    const QString hash = u"the \"#\" at the end of option %1 begins an empty feedback (write \"\\#\" for the sign)"_s;
    ExpectRows(Gift,
               {
                   { "~= is =", u"Q {~=a ~b ~= c}"_s, severalRight },
                   { "one ~=", u"Q {~a ~=%100%b#f}"_s, u"Q | a | *b(f)"_s },
                   { "joined files", u"\uFEFFQ {T}\n\n\uFEFF::t:: R {F}"_s, u"Q | *True | False\nR | True | *False"_s },
                   { "embedded", u"A {1:MULTICHOICE:=a~b} c {:SA:x}"_s, embedded },
                   { "embedded alone", u"A {:NM:=3\\:1}"_s, embedded },
                   { "two in a line", u"A {#3} and {#4}."_s, embedded },
                   { "no type", u"A {1:b:c}"_s, u"1: the answer block begins with neither \"=\" nor \"~\""_s },
                   { "signs", u"Q {\n=x=5\n~x=4\n}"_s, severalRight + orSign },
                   { "apart signs", u"Q {=x = 5 ~y = 3}"_s, severalRight + orSign },
                   { "a wrong key", u"Q {~x=5 ~y ~z}"_s, u"Q | x | *5 | y | z"_s + sign },
                   { "an apart sign", u"Q {~a = b ~c}"_s, u"Q | a | *b | c"_s + sign },
                   { "close marks", u"Q {~a=b~c}\n\nR {~ a = b ~ c}"_s, u"Q | a | *b | c\nR | a | *b | c"_s },
                   { "#", u"Q {=C ~C# ~D#d ~E #}"_s, u"Q | *C | C | D(d) | E | "_s + hash.arg(2) + u" | "_s + hash.arg(4) },
                   { "block ends in #", u"Q {T#}\n\nR {T##r}\n\nS {=a ~b####}"_s,
                     u"Q | *True | False | the \"#\" at the end of the answer block begins an empty feedback\n"_s
                         + u"R | *True(r) | False\n"_s
                         + u"S | *a | b | the \"####\" at the end of the answer block begins an empty feedback"_s },
                   { "categories", u"$CATEGORY: $course$/top/A/Net//Works\n\nQ {T}\n$CATEGORY:B\nR {}"_s,
                     u"name: Net/Works\nQ | *True | False | in A/Net/Works\n5: an essay question has no options"_s },
                   { "no passages", u"P\n\nQ {T}"_s, u"1: a description without answers is no question\nQ | *True | False"_s },
                   { "marks without end", u"Q {=a"_s + u"~"_s.repeated(1000) + u'}', u"1: it has more than 1000 options"_s },
               });
    ExpectRows(Passages,
               {
                   { "of several items", u"[html]P\n\nQ {T}\n\nR {T}\n\nNext\n\nS {T}\n\n$CATEGORY: A\n\nT {F}"_s,
                     u"[P] | Q | *Wahr | Falsch\n[P] | R | *Wahr | Falsch\n[Next] | S | *Wahr | Falsch\nname: A\n"
                     u"T | Wahr | *Falsch | in A"_s },
                   { "of two paragraphs", u"// [exhibit:p.png]\n::t::P\n\nP2\n\nQ {T}\n\n// [exhibit:q.png]\nR {T}"_s,
                     u"[P\n\nP2] | Q | *Wahr | Falsch | exhibit p.png\n[P\n\nP2] | R | *Wahr | Falsch | exhibit q.png"_s },
                   { "for nothing", u"P\n\n$CATEGORY:A\nR\n\n[html]S"_s,
                     u"1! no question follows the description\nname: A\n4! no question follows the description\n"
                     u"6! no question follows the description"_s },
                   { "too many braces", u"P }"_s, u"1: a \"}\" without its \"{\""_s },
               });
}

TEST(TextBanksTest, Aiken)
{
    const QString taken = u"Q | a | *b"_s;
    const QString missing = u"%1: the ANSWER line is missing"_s;
    ExpectRows(
        [](const QString &text) {
            return Shown({ {}, text.toUtf8(), {} }, u"aiken"_s);
        },
        {
            { "one after the other", u"Q\r\nA. a\r\nB. b\r\nANSWER: B\r\nQ\nA) a\nB) b\nANSWER: b"_s, taken + u'\n' + taken },
            { "lower case and blanks", u"\n Q \n\n a) a\n\n b)  b \n\nAnswer :  B. \n\n"_s, taken },
            { "several lines", u"Q\n\nR\nA. a\n1\nB. b\n\n2"_s, missing.arg(1) + u'\n' + missing.arg(8) },
            { "lines of options", u"Q\n\nR\nA. a\n1\nB.\nb\n2\nANSWER: A"_s, u"Q\n\nR | *a\n1 | b\n2"_s },
            { "no option of its own", u"A. Smith wrote\nB.C. is\nC. too\nA. a\nC. more\nB. b\nA. A\nANSWER: A"_s,
              u"A. Smith wrote\nB.C. is\nC. too | *a\nC. more | b\nA. A"_s },
            { "several right", u"Q\nA. a\nB. b\nC. c\nANSWER: A, C\n\nR\nA. a\nB. b\nANSWER:BA"_s,
              u"Q | *a | b | *c | multiple\nR | *a | *b | multiple"_s },
            { "the same twice", u"Q\nA. a\nB. b\nANSWER: B B"_s, taken },
            { "wrong letters", u"Q\nA. a\nB. b\nANSWER: C\n\nQ\nA. a\nB. b\nANSWER: A;C\nQ\nA. a\nB. b\nANSWER: x y 1"_s,
              u"1: no option is right\n6: the key \"A;C\" names an option that is not there\n10: no option is right"_s },
            { "no answer", u"Q\nA. a\nB. b\n\nQ\nA. a\nB. b\nANSWER: B"_s, missing.arg(1) + u'\n' + taken },
            { "no blank line either", u"Q\nA. a\nB. b\nR\nA. c\nB. d\nANSWER: A"_s, missing.arg(1) },
            { "the end", u"Q\nA. a\nB. b"_s, missing.arg(1) },
            { "no options", u"Answer: what?\nANSWER: A\nANSWER: B"_s, u"Answer: what?\n"_s },
            { "explained", u"Q\nA. a\nB. b\nANSWER: B\nExplanation: e\nf\n\nFEEDBACK: g\nA. a\nB. <b>\nANSWER: B"_s,
              taken + u" | #e\nf\nFEEDBACK: g | a | *<b>"_s },
        });
}

TEST(TextBanksTest, Categories)
{
    const std::tuple<QString, QString, QString> rows[] = {
        { u"$course$/ a / b//c /d/"_s, u"a|b/c|d"_s, u"d"_s },
        { u"$system$/top/Default for X"_s, u"Default for X"_s, {} },
        { u"a/top/$x$"_s, u"a|top|$x$"_s, u"$x$"_s },
        { u"$cat1$/top"_s, {}, {} },
    };
    for (const auto &[path, parts, name] : rows) {
        EXPECT_EQ(Bank::CategoryParts(path).join(u'|'), parts) << path.toStdString();
        EXPECT_EQ(Bank::NameOfCategory(Bank::CategoryParts(path)), name) << path.toStdString();
    }
}

TEST(TextBanksTest, Encodings)
{
    const QByteArray russian("a\n\xCF\xF0\xE8\xE2\xE5\xF2");
    const QString privet = u"\u041F\u0440\u0438\u0432\u0435\u0442"_s;
    const std::tuple<QByteArray, QString, QString> rows[] = {
        { "\xEF\xBB\xBFQ\r\n\xEF\xBB\xBF\r\xC3\xA9", {}, u"Q\n\n\u00E9"_s },
        { QByteArray("\xFF\xFEQ\0\r\0\n\0\xE9\0\r\0", 12), {}, u"Q\n\u00E9\n"_s },
        { QByteArray("Q\0R\0", 4), {}, u"QR"_s },
        { QByteArray("\0Q\0R", 4), {}, u"QR"_s },
        { QByteArray("\0Q\xD8\x41\0R", 6), {}, u"the text holds bytes that are not UTF-16BE"_s },
        { QByteArray("Q\0R", 3), {}, u"Q\0R"_s },
        { "a\nb\xE9\n", {}, u"line 2 holds bytes that are not UTF-8 (--encoding windows-1252 reads them as that)"_s },
        { "a\n\xC3", {}, u"line 2 holds bytes that are not UTF-8 (--encoding windows-1252 reads them as that)"_s },
        { russian, {}, u"line 2 holds bytes that are not UTF-8 (--encoding windows-1251 reads them as that)"_s },
        { russian, u"Windows-1251"_s, u"a\n"_s + privet },
        { russian, u"cp1251"_s, u"a\n"_s + privet },
        { "\xE9", u"latin1"_s, u"\u00E9"_s },
        { "\xEF\xBB\xBF\xC3\xA9", u"1251"_s, u"\u00E9"_s },
        { "a?\n\x81 ", u"932"_s, u"line 2 holds bytes that are not windows-932"_s },
        { "a\n\n\x98", u"1251"_s, u"line 3 holds bytes that are not windows-1251"_s },
        { {}, u"1259"_s, u"the encoding \"1259\" is not known (UTF-8, UTF-16, ISO-8859-1, windows-1251 and the like are)"_s },
    };
    for (const auto &[bytes, encoding, text] : rows)
        EXPECT_EQ(Decoded(bytes, encoding), text) << bytes.toHex().toStdString();
}

TEST(TextBanksTest, RecognisedByTheirContent)
{
    const std::pair<QByteArray, QString> rows[] = {
        { "\xEF\xBB\xBF// by me\n\nQ {=a ~b}", u"gift"_s },
        { "$CATEGORY: a\n", u"gift"_s },
        { "Q {\n=a\n~b\n", u"gift"_s },
        { "{}\n\n::t:: Q {T#x}", u"gift"_s },
        { QByteArray("Q\0{\0T\0}\0", 8), u"gift"_s },
        { "A description", {} },
        { "What is right?\nA. {=a}\nB. {~b}\nANSWER: B", u"aiken"_s },
        { "A. Smith\nAnswer: yes", {} },
        { "int main() {}\n\nint f()\n{\n    return 0;\n}\n", {} },
        { "a { color: red }\n\n.b::after { ~x }\n\n.c { top: 0 }", {} },
        { "{\"a\": {\"b\": \"=\"}}", {} },
        { "<?xml version=\"1.0\"?><q>Q {=a ~b}</q>", {} },
        { QByteArray("Q {T}\0\0\0", 8), {} },
    };
    for (const auto &[bytes, name] : rows) {
        const Bank::Format *format = Bank::FormatOf(Bank::Source{ {}, bytes, {} });
        EXPECT_EQ(format ? format->Name : QString(), name) << bytes.toStdString();
    }
}
