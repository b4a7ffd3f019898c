// SPDX-License-Identifier: Apache-2.0
#include "bank/Category.h"
#include "bank/Decode.h"
#include "tests/bank/BankFixture.h"

namespace {

QString Gift(const QString &text)
{
    return Shown({ {}, text.toUtf8(), {} }, u"gift"_s);
}

QString Csv(const QString &text)
{
    return Shown({ {}, text.toUtf8(), {} }, u"csv"_s);
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
        return Bank::Decode({ u"bank"_s, bytes, {}, encoding });
    } catch (const Error &error) {
        EXPECT_EQ(error.Source(), bytes.isEmpty() ? QString() : u"bank"_s);
        return error.Description();
    }
}

}

TEST(TextBanksTest, Gift)
{
    const QString embedded = u"1: an embedded-answers question (Cloze) has its options inside the text"_s;
    const QString braces = u"more than one \"}\" (write \"\\{\" and \"\\}\" for braces in a text)"_s;
    const QString severalRight = u"1: several answers are right alone"_s;
    const QString orSign = u" (write \"\\=\" for an equals sign in a text)"_s;
    const QString sign = u" | option 2 begins at an \"=\" that may be a sign in a text (write \"\\=\" for it)"_s;
    const QString hash = u"the \"#\" at the end of option %1 begins an empty feedback (write \"\\#\" for the sign)"_s;
    ExpectRows(
        Gift,
        {
            { "~= is =", u"Q {~=a ~b ~= c}"_s, severalRight },
            { "one ~=", u"Q {~a ~=%100%b#f}"_s, u"Q | a | *b(f)"_s },
            { "a sign beside weights", u"Q {~%50%a ~%50%b#since x=1 ~%-100%c}"_s,
              u"1: an \"=\" stands behind options with weights (write \"\\=\" for an equals sign in a text)"_s },
            { "close to the other", u"Q {~a~=b ~c}"_s, u"Q | a | *b | c"_s },
            { "blank lines in two", u"Q {\n\n=a ~b}\n\nR {\n\n=a\n\nS {T}"_s,
              u"Q | *a | b\n5: the answer block is not closed\n7: a description without answers is no question\nS | *True | False"_s },
            { "joined files", u"\uFEFFQ {T}\n\n\uFEFF::t:: R {F}"_s, u"Q | *True | False\nR | True | *False"_s },
            { "embedded", u"A {1:MULTICHOICE:=a~b} c {:SA:x}"_s, embedded },
            { "embedded alone", u"A {:NM:=3\\:1}"_s, embedded },
            { "two in a line", u"A {#3} and {#4}."_s, embedded },
            { "braces of a formula", u"Q \\frac{a}{b} {=x ~y}\n\nR {=x ~y} {z}"_s, u"1: "_s + braces + u"\n3: "_s + braces },
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
                   { "for nothing", u"P\n\n$CATEGORY:A\nR\n\nS"_s,
                     u"1! no question follows the description\nname: A\n4! no question follows the description"_s },
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
            { "lower case and blanks", u"\n Q \n\n a) a\n\n b)  b \n\nc) c\nAnswer :  B. \n\n"_s, taken + u" | c"_s },
            { "several lines", u"Q\n\nR\nA. a\n1\nB. b\n\n2"_s, missing.arg(1) + u'\n' + missing.arg(8) },
            { "a letter that only looks so", u"Q\nA) a\nB) b\n\u0421) c\nANSWER: B"_s,
              u"Q | a | *b\n\u0421) c | \"\u0421)\" begins no option, because its letter is not A to Z"_s },
            { "lines of options", u"Q\n\nR\nA. a\n1\nB.\nb\n2\nANSWER: A"_s, u"Q\n\nR | *a\n1 | b\n2"_s },
            { "no option of its own", u"A. Smith wrote\nB.C. is\nC. too\nA. a\nC. more\nB. b\nA. A\nANSWER: A"_s,
              u"A. Smith wrote\nB.C. is\nC. too | *a\nC. more | b\nA. A"_s },
            { "no blanks", u"Q\nA)a\nb)b\nANSWER: B\n\nA.M. T.\nA.a\n\nB.b\nC.c\nANSWER: B"_s,
              taken + u"\nA.M. T. | a | *b | c"_s },
            { "several right", u"Q\nA. a\nB. b\nC. c\nANSWER: A., and C\n\nR\nA. a\nB. b\nANSWER:BA"_s,
              u"Q | *a | b | *c | multiple\nR | *a | *b | multiple"_s },
            { "the same twice", u"Q\nA. a\nB. b\nANSWER: B B"_s, taken },
            { "the text in the key",
              u"Q\nA. AC\nB. b\nc\nC. c\nANSWER: A. AC\nQ\nA. a\nB. b\nAnswer: b)b\nQ\nA. a\nB. b\nANSWER: A. ab"_s,
              u"Q | *AC | b\nc | c\n"_s + taken + u"\n11: the key \"A. ab\" has another text than its option"_s },
            { "wrong letters", u"Q\nA. a\nB. b\nANSWER: C\n\nQ\nA. a\nB. b\nANSWER: A;C\nQ\nA. a\nB. b\nANSWER: x y 1"_s,
              u"1: no option is right\n6: the key \"A;C\" names an option that is not there\n10: no option is right"_s },
            { "no answer", u"Q\nA. a\nB. b\n\nQ\nA. a\nB. b\nANSWER: B"_s, missing.arg(1) + u'\n' + taken },
            { "no blank line either", u"Q\nA. a\nB. b\nR\nA. c\nB. d\nANSWER: A"_s, missing.arg(1) },
            { "the end", u"Q\nA. a\nB. b"_s, missing.arg(1) },
            { "no options", u"Answer: what?\nANSWER: A\nANSWER: B"_s, u"1: it has no options\n3: it has no options"_s },
            { "explained", u"Q\nA. a\nB. b\nANSWER: B\nExplanation: e\nf\n\nFEEDBACK: g\nA. a\nB. <b>\nANSWER: B"_s,
              taken + u" | #e\nf\nFEEDBACK: g | a | *<b>"_s },
        });
}

TEST(TextBanksTest, Tables)
{
    const QString taken = u"Q | a | *b"_s;
    const QString head = u"Question,A,B,C,Key\n"_s;
    const QString cyrillic = u"Вопрос;А;Б;В;Ключ\n"_s;
    const QString looks = u"letters of the key \"%1\" are taken for those of the other script that look like them"_s;
    const QString unknown = u"no column is named like %1; columns are: %2; say --columns"_s;
    ExpectRows(
        Csv,
        {
            { "quoted", u"\uFEFFQuestion,Option A,Option B,Answer\r\n\"Q \"\"1\"\",\r\n2\", \"a\" ,b,B\r\n\r\nQ,a,b,B"_s,
              u"Q \"1\",\n2 | a | *b\nQ | a | *b"_s },
            { "lines", u"sep=;\nFrage;Antwort 1;Antwort 2;Richtig\n\"Q\n\n\";a;b;c\n;;;\nQ;a;b;d"_s,
              u"3: the key \"c\" names no option\n7: the key \"d\" names no option"_s },
            { "an odd quotation mark", u"Question\tA\tB\tKey\n\"Q\" is\t\"a\"\tb\tB"_s,
              u"\"Q\" is | a | *b | a quotation mark begins a field and does not enclose it (write two for one in a text)"_s },
            { "never closed", head + u"Q,\"a,b\nQ,a,b,c,B"_s, u"the quotation mark in line 2 is not closed"_s },
            { "not closed in the first line", u"Question,\"A,B,Key"_s, u"the quotation mark in line 1 is not closed"_s },
            { "a field more", head + u"Q, r,a,b,c,B\nQ,a,b,,B,, \n"_s,
              u"2: the row has 6 fields and the first row 5 (is a quotation mark missing?)\n"_s + taken },
            { "Russian", u"Вопрос;А;Б;В;Правильный ответ;Тема\nQ;a;b;c;В;x/ y\nQ;a;b;c;АБ;"_s,
              u"Q | a | b | *c | in x/y\nQ | *a | *b | c | multiple"_s },
            { "B that looks like В", cyrillic + u"Q;x;y;z;Б\nQ;x;y;z;B"_s,
              u"Q | x | *y | z\nQ | x | y | *z | "_s + looks.arg(u"B"_s) },
            { "B among Latin letters", cyrillic + u"Q;x;y;z;C\nQ;x;y;z;B"_s, u"Q | x | y | *z\nQ | x | *y | z"_s },
            { "A and B alone", cyrillic + u"Q;x;y;z;A\nQ;x;y;z;B"_s,
              u"Q | *x | y | z\n3: the letters of the key \"B\" may be Latin or Cyrillic"_s },
            { "В that looks like B", head + u"Q,x,y,z,C\nQ,x,y,z,В"_s,
              u"Q | x | y | *z\nQ | x | *y | z | "_s + looks.arg(u"В"_s) },
            { "French", u"N°|Énoncé|Choix A|Choix B|Bonne réponse|Explication\n1|Q|a|b|Choix B|e"_s, taken + u" | #e"_s },
            { "unused columns", u"Stem,1,2,Correct answer,Points,Source,Feedback 1,Feedback 2\nQ,a,b,b,3,S,f,g"_s,
              u"1! columns that are not read: \"Source\"\nQ | a(f) | *b(g)"_s },
            { "letters",
              head + u"Q,a,b,c,\"A, c\"\nQ,a,b,c,AC\nQ,a,b,c,a;c\nQ,a,b,c,(A) and (C)\nQ,a,b,,C\nQ,a,b,c,CA\nQ,a,b,c,A-C"_s,
              (u"Q | *a | b | *c | multiple\n"_s.repeated(4))
                  + u"6: the key \"C\" names no option\n7: the key \"CA\" names no option\n"_s
                  + u"8: the key \"A-C\" names no option"_s },
            { "a gap", head + u"Q,a,,c,C\nQ,a,,c,B"_s, u"Q | a | *c\n3: the key \"B\" names no option"_s },
            { "from 0", head + u"Q,a,b,c,1\nQ,a,b,c,0\nQ,a,b,c,\"0,2\"\nQ,a,b,c,3"_s,
              u"Q | a | *b | c\nQ | *a | b | c\nQ | *a | b | *c | multiple\n5: the key \"3\" names no option"_s },
            { "from 1", head + u"Q,a,b,c,1\nQ,a,b,c,3\nQ,a,b,c,1. 3\nQ,a,b,c,\u2461"_s,
              u"Q | *a | b | c\nQ | a | b | *c\nQ | *a | b | *c | multiple\nQ | a | *b | c"_s },
            { "from 0 or 1", head + u"Q,a,b,c,1\nQ,a,b,c,2."_s,
              u"1! the keys are taken for numbers from 1; none tells whether they begin at 0\nQ | *a | b | c\nQ | a | *b | c"_s },
            { "texts",
              head
                  + u"Q,a; b,A,c, a ;c\nQ,x,\"a; B\",X, A; b\nQ,7,\"1,5\",x,\"1,5\"\nQ,x,y,z,B) y\nQ,x,y,z,\"z\ny\"\nQ,x,y,z,x|w"_s,
              u"Q | a; b | *A | *c | multiple\nQ | x | *a; B | X\nQ | 7 | *1,5 | x\nQ | x | *y | z\nQ | x | *y | *z | multiple\n"_s
              u"8: the key \"x|w\" names no option"_s },
            { "numbers as texts", head + u"Q,4,2,3,4\nQ,5,2,1,5"_s, u"Q | *4 | 2 | 3\nQ | *5 | 2 | 1"_s },
            { "small numbers as texts", head + u"Q,3,1,2,3\nQ,2,1,3,3"_s,
              u"Q | *3 | 1 | 2 | the key \"3\" is taken for the text of an option, and it may be the place of another\n"_s
              u"Q | 2 | 1 | *3"_s },
            { "a doubt", head + u"Q,b,a,x,B\nQ,a,b,c,C"_s,
              u"Q | b | *a | x | the key \"B\" is taken for the place of an option, and another option reads so\n"_s
              u"Q | a | b | *c"_s },
            { "true and false", u"question,a,b,key\nQ,,,TRUE\nQ,,,wahr\nQ,,,F\nQ,true,false,T\nQ,,,maybe\nQ,,,"_s,
              u"Q | *True | False\nQ | *True | False\nQ | True | *False\nQ | *true | false\n"_s
              u"6: a short-answer question has no options\n7: an essay question has no options"_s },
            { "all options in a cell",
              u"Prompt,Options,Answer\nQ,\"a\n\nb\",b\nQ,a|b, B\nQ,,true\nQ,a;b,2\nQ,"_s + u"|a"_s.repeated(101),
              u"Q | a | *b\nQ | a | *b\nQ | *True | False\nQ | a | *b | the key \"2\" is not written as the others are\n"_s
              u"8: it has more than 100 options"_s },
            { "lists of programs",
              u"Question,Options,Answer\nQ,\"[\"\"a, c\"\",\"\"b\"\"]\",b\nQ,\"['a', \"\"b's\"\" 'c\\'s']\",C\nQ,\"[1, 2]\",2\nQ,\"[a, b]\",b]\n"_s
              u"Q,\"{\"\"A\"\": \"\"x\"\", \"\"B\"\": \"\"y\"\"}\",B"_s,
              u"Q | a, c | *b\nQ | a | b's | *c's\nQ | 1 | *2 | the key \"2\" is not written as the others are\n"_s
              u"Q | [a | *b]\nQ | x | *y"_s },
            { "keys that name columns", u"Question,Choice_1,Choice_2,Key\nQ,a,b,choice_2"_s, taken },
            { "a solution beside the answer", u"Question,A,B,Answer,Solution\nQ,a,b,B,Because."_s, taken + u" | #Because."_s },
            { "a letter of another option", u"Question,A,B,C,Key\nQ,x,y,z,A) y\nQ,x,y,z,B) y"_s,
              u"2: the key \"A) y\" names no option\nQ | x | *y | z"_s },
            { "distractors",
              u"Question #,Question,Correct Answer,Distractor 1,Distractor 2\n1,Q,a,b,c\n2,Q,,b,c\n3,Q,true,,\n"_s,
              u"1! the right option is the first of every item (--shuffle options mixes them)\nQ | *a | b | c\n"_s
              u"3: no option is right\nQ | *True | False"_s },
            { "names with remarks",
              u"Question - max 120,Answer 1 - max 75,Answer 2 - max 75,Time limit (sec),Correct answer(s) - choose\nQ,a,b,20,2"_s,
              taken },
            { "a heading", u"My quiz;;\n;;\nof, 2020;;\nFrage;A;B;Lösung\nQ;a;b;B"_s,
              u"1! what stands above the names of the columns is not read\n"_s + taken },
            { "letters beside answers", u"stem,A,B,Answer 1,key\nQ,a,b,x,B"_s,
              u"1! columns that are not read: \"Answer 1\"\n"_s + taken },
            { "pictures", u"Text,A,B,Key,Image\nQ,a,b,B,x y.png\nQ,a,b,B,x y.png; i/z.png"_s,
              taken + u" | exhibit x y.png\nQ\n<img src=\"x%20y.png\">\n<img src=\"i/z.png\"> | a | *b"_s },
            { "no key", u"Question;A;B;C"_s, unknown.arg(u"a key"_s, u"\"Question\", \"A\", \"B\", \"C\""_s) },
            { "no question", u"x,key\ny,z"_s, unknown.arg(u"a question"_s, u"\"x\", \"key\""_s) },
            { "no first letter", u"Question,Opton A,Option B,Option C,Key\nQ,a,b,c,B"_s,
              unknown.arg(u"an option"_s, u"\"Question\", \"Opton A\", \"Option B\", \"Option C\", \"Key\""_s) },
            { "no options", u"question,answer\nWho?,I"_s, unknown.arg(u"an option"_s, u"\"question\", \"answer\""_s) },
            { "a key alone", u"question,answer\nQ,true"_s, u"Q | *True | False"_s },
        });
    EXPECT_EQ(Csv(u"question,"_s + u",a"_s.repeated(999)), u"line 1 has more than 1000 columns"_s);
    EXPECT_EQ(Csv(head + u"Q,a,\""_s + u"x"_s.repeated(1'000'001) + u'"'),
              u"line 2 has a field of more than 1000000 characters (is a quotation mark missing?)"_s);
}

TEST(TextBanksTest, ColumnsThatTheUserNames)
{
    const QString taken = u"Q | a | *b"_s;
    const QString first = u"1! the first row is taken for the names of the columns\n"_s;
    const QString named = u"no,Q.,Ans,X,Y,Why\n1,Q,B,a,b,w"_s;
    const std::tuple<QString, QString, QString> rows[] = {
        { u"question=2,options=4-5,key=Ans,explanation=why"_s, named, taken + u" | #w"_s },
        { u"question=2, options=6,4 ,key=3"_s, named, first + u"1! columns that are not read: \"no\", \"Y\"\nQ | w | *a"_s },
        { u"question=1,options=2-3,key=4"_s, u"Q,a,b,2\nQ,a,b,1"_s, u"Q | a | *b\nQ | *a | b"_s },
        { u"key=2"_s, u"Question,Best,A,B,Answer\nQ,B,a,b,A"_s, u"1! columns that are not read: \"Answer\"\nQ | a | *b"_s },
        { u"key=9"_s, named, u"--columns names column 9, and the first row has 6"_s },
        { u"key=9-10"_s, named, u"--columns names column 9, and the first row has 6"_s },
        { u"key=Z"_s, named, u"no column is called \"Z\"; columns are: \"no\", \"Q.\", \"Ans\", \"X\", \"Y\", \"Why\""_s },
        { u"key=1,2"_s, named, u"--columns gives \"key\" 2 columns, and it has one"_s },
        { u"stem=1"_s, named,
          u"--columns names no meaning \"stem\": question, options, key, explanation, picture, category and title are some"_s },
        { u"2,key=1"_s, named, u"--columns \"2,key=1\" is not of the form \"question=2,options=3-6,key=Answer\""_s },
        { u"key="_s, named, u"--columns \"key=\" is not of the form \"question=2,options=3-6,key=Answer\""_s },
    };
    for (const auto &[columns, table, expected] : rows) {
        Bank::Options options;
        options.Columns = columns;
        EXPECT_EQ(Shown({ {}, table.toUtf8(), {} }, u"csv"_s, options), expected) << columns.toStdString();
    }
}

TEST(TextBanksTest, TitlesAndLines)
{
    struct Titles : Bank::Receiver {
        QStringList All;
        void Add(Bank::Item &&item) override { All += u"%1%2/%3"_s.arg(item.Line).arg(item.Title).arg(item.Options.size()); }
        void SetName(const QString &) override { }
        void Warn(int, const QString &) override { }
    };
    const std::tuple<QString, QByteArray, QString> rows[] = {
        { u"gift"_s, "\n::a\\:b :: Q {T}\n\n//\n::c::\nQ {=a ->b}\n\n::d", u"2a:b/2 5c/0 8/0"_s },
        { u"csv"_s, "ID,Question,Key,Title,\n7,\"Q\n\",T,a\n8,Q,F, b ,", u"2a/2 4b/2"_s },
        { u"csv"_s, "No,Question,A,B,C,Key\n7,Q,a,,c,C", u"27/2"_s },
        { u"aiken"_s, "\n\nQ\nA. a\nB. b\nANSWER: A\n\nQ\nA. a\nB. b\nANSWER: A", u"3/2 8/2"_s },
    };
    for (const auto &[format, bytes, expected] : rows) {
        Titles titles;
        Bank::FormatOf(format)->Read({ {}, bytes, {} }, {}, titles);
        EXPECT_EQ(titles.All.join(u' '), expected) << bytes.toStdString();
    }
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
        { "a\nb\xE9\n",
          {},
          u"line 2 holds bytes that are not UTF-8 (say its encoding with --encoding, such as windows-1252)"_s },
        { "a\n\xC3", {}, u"line 2 holds bytes that are not UTF-8 (say its encoding with --encoding, such as windows-1252)"_s },
        { russian, {}, u"line 2 holds bytes that are not UTF-8 (say its encoding with --encoding, such as windows-1251)"_s },
        { "\xC4\xE3\xBA\xC3\xA3\xAC\xCA\xC0\xBD\xE7",
          {},
          u"line 1 holds bytes that are not UTF-8 (say its encoding with --encoding)"_s },
        { russian, u"Windows-1251"_s, u"a\n"_s + privet },
        { russian, u"cp1251"_s, u"a\n"_s + privet },
        { "\xE9", u"latin1"_s, u"\u00E9"_s },
        { "\xEF\xBB\xBF\xC3\xA9", u"1251"_s, u"\u00E9"_s },
        { privet.toUtf8(), u"1251"_s, privet },
        { "\xC3\xA9", u"1252"_s, u"\u00C3\u00A9"_s },
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
        { "{}\n\n::t:: Q {}", u"gift"_s },
        { "Q \\frac{a}{b} {=x ~y}\n", u"gift"_s },
        { "\\frac{a}{b} \\x{c}\n", {} },
        { "The matrix A^{T}, \\text{F} and x_{=1}\n", {} },
        { QByteArray("Q\0{\0T\0}\0", 8), u"gift"_s },
        { "A description", {} },
        { "\xEF\xBB\xBF\"Question\"\t\"A\"\t\"B\"\t\"Correct\"\n", u"csv"_s },
        { "a,b,c\nd,e,f\n", {} },
        { "question,answer\nA text, with, commas\nand, with, more\n", {} },
        { "The question, the answer\nA text, with, commas\n", {} },
        { "// question: 1, name: of, answers: 2\n\nQ {=a ~b}\n", u"gift"_s },
        { "question\n{=a ~b}\n", u"gift"_s },
        { "Question,A,B,Key\n\"" + QByteArray(40'000, 'x') + "\",a,b,A\n\"" + QByteArray(40'000, 'x') + "\",a,b,A\n",
          u"csv"_s },
        { "What is right?\nA. {=a}\nB. {~b}\nANSWER: B", u"aiken"_s },
        { "A. Smith\nAnswer: yes", {} },
        { "Q\nA.a\nB.b\nANSWER: B. " + QByteArray(100, 'b'), u"aiken"_s },
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
    const QByteArray russian("\xC2\xEE\xEF\xF0\xEE\xF1;A;B;\xCA\xEB\xFE\xF7\n?;a;b;A\n");
    ASSERT_TRUE(Bank::FormatOf(Bank::Source{ {}, russian, {}, u"cp1251"_s }));
    EXPECT_EQ(Bank::FormatOf(Bank::Source{ {}, russian, {}, u"cp1251"_s })->Name, u"csv"_s);
    EXPECT_EQ(Bank::KindOf({ {}, russian, {} }),
              u"a text that is not UTF-8 (say its encoding with --encoding, such as windows-1251)"_s);
}
