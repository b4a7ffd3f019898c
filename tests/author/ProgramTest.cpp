// SPDX-License-Identifier: Apache-2.0
#include "tests/author/AuthorFixture.h"
#include "tests/support/Program.h"
#include "tests/support/SmallDisk.h"

#include <QtEndian>

#include <csignal>

namespace {

const QString Program = QStringLiteral(AUTHOR_PROGRAM);

// Options of "build" behind which the folder stands.
const QString Options = u" --code A\"\u00C4 --name Sample --max 32767 --pass 0 --minutes 546 --out "_s;

// Runs the program in a folder of the sandbox.
Outcome Started(const QString &arguments, const Preparation &prepare = {}, const QByteArray &input = {})
{
    return OutcomeOf(Program, arguments.split(u' ', Qt::SkipEmptyParts), prepare, input);
}

void Write(const QString &name, const QByteArray &bytes)
{
    Sandbox::WriteFile(Sandbox::Path(name), bytes);
}

}

TEST(ProgramTest, FromBankToPackage)
{
    Write(u"bank/b.gift"_s,
          "// [exhibit:p.bmp]\nO\n\tne {=a ~b####why}\n\nTwo {=x}\n\n\nThree {~%50%a ~%50%b}\n\n// [exhibit:q.bmp]\nFour {T}");
    Write(u"bank/p.bmp"_s, Bmp(4));
    const QString build = u"build bank/b.gift"_s + Options + u"bank/PACK"_s;
    const QString two = u"bank/b.gift:5: a short-answer question has no options\n"_s;
    const QString four = u"bank/b.gift:11: the exhibit \"q.bmp\" is not there\n"_s;
    const QString made
        = u"bank/PACK: %1 items, texts in code page 1252\nNext: practorium-author pack bank/PACK --out PACK.exe\n"_s;
    EXPECT_EQ(Started(build),
              (Outcome{ 0,
                        {},
                        two + four
                            + u"2 items taken, 2 left out\n  1 left out: a short-answer question has no options\n"
                              "  1 left out: the exhibit \"q.bmp\" is not there\n"_s
                            + made.arg(2) }));
    EXPECT_EQ(Started(u"check bank/PACK bank/PACK/PACK.exam"_s), Outcome{});
    const QByteArray bytes = Sandbox::ReadFile(Sandbox::Path(u"bank/PACK/PACK.exam"_s));
    const qsizetype block = 4 + qFromLittleEndian<qint32>(bytes.constData());
    Write(u"reserved.exam"_s, QByteArray::fromHex("0200000000fe") + bytes.mid(block));
    EXPECT_EQ(
        Started(u"dump reserved.exam"_s).Out.chopped(1),
        uR"({"reserved":"00fe","codePage":null,"code":"A\"Ä","name":"Sample","maxScore":32767,"passScore":0,"duration":546,"questions":[
{"number":1,"solutionCount":1,"hasHint":false,"exhibit":"p.bmp","problem":"O\n\tne","explanation":"why","choices":[{"number":1,"isSolution":true,"statement":"a"},{"number":2,"isSolution":false,"statement":"b"}]},
{"number":2,"solutionCount":2,"hasHint":true,"exhibit":"","problem":"Three","explanation":"","choices":[{"number":1,"isSolution":true,"statement":"a"},{"number":2,"isSolution":true,"statement":"b"}]}]})"_s);

    // The pictures from elsewhere this time, and one item less to leave out.
    Write(u"drawings/p.bmp"_s, Bmp(5));
    Write(u"drawings/q.bmp"_s, Bmp(1'201));
    EXPECT_EQ(Started(build + u" --replace --pictures drawings"_s),
              (Outcome{ 0,
                        {},
                        two + u"3 items taken, 1 left out\n  1 left out: a short-answer question has no options\n"_s
                            + made.arg(3) }));
    EXPECT_EQ(Sandbox::ReadFile(Sandbox::Path(u"bank/PACK/p.bmp"_s)), Bmp(5));
    EXPECT_EQ(Started(u"check bank/PACK"_s).Code, 0) << "a warning";
    QFile::remove(Sandbox::Path(u"bank/PACK/q.bmp"_s));
    // What each path holds stands in its turn, up to one that cannot be read.
    const QString package = Started(u"check bank/PACK"_s).Out;
    const QString exam = Started(u"check reserved.exam"_s).Out;
    EXPECT_TRUE(package.contains(u"PACK.exam: item 3: the exhibit \"q.bmp\": "_s));
    EXPECT_TRUE(exam.startsWith("reserved.exam: item 1: the exhibit \"p.bmp\": "_L1)) << exam.toStdString();
    EXPECT_EQ(Started(u"check bank/PACK reserved.exam bank/PACK bank/PACK reserved.exam bank/PACK bank/PACK bank/PACK"_s),
              (Outcome{ 1, package + exam + package + package + exam + package + package + package, {} }));
    EXPECT_EQ(Started(u"check bank/PACK nowhere reserved.exam bank/PACK"_s).Out, package);
}

TEST(ProgramTest, AllOrNothing)
{
    Write(u"all/q%1.gift"_s, "Q {T}\n\nR {=x}\n"); // the name looks like a place for another text
    Write(u"all/good.gift"_s, "Q {T}");
    Write(u"all/none.gift"_s, "Just text");
    // Beside a file of a package, which is not its own.
    Write(u"all/empty"_s, {});
    Write(u"all/h5p.json"_s, "{}");
    Write(u"all/OLD/OLD.exam"_s, "old");
    const std::tuple<QString, int, QString> rows[] = {
        { u"q%1.gift --strict"_s, 1,
          u"all/q%1.gift:3: a short-answer question has no options\n1 item taken, 1 left out, nothing made (--strict)\n  1 left out: a short-answer question has no options\n"_s },
        { u"none.gift"_s, 1,
          u"all/none.gift: it is no question bank; it seems to be a text\n0 items taken, 1 left out\n"
          "  1 left out: it is no question bank; it seems to be a text\n"_s },
        { u"empty"_s, 1,
          u"all/empty: it is no question bank; it seems to be an empty file\n0 items taken, 1 left out\n"
          "  1 left out: it is no question bank; it seems to be an empty file\n"_s },
        { u"x.gift"_s, 1, u"practorium-author: all/x.gift: %1\n"_s.arg(System::TextOf(System::NotFound)) },
        { u"good.gift --strict"_s, 0,
          u"1 item taken, 0 left out\nall/OLD: 1 item, texts in code page 1252\n"
          "Next: practorium-author pack all/OLD --out OLD.exe\n"_s },
    };
    const auto before = Snapshot(Sandbox::Path(u"all"_s));
    EXPECT_EQ(Started(u"dump all/OLD/OLD.exam"_s), (Outcome{ 1, {}, u"all/OLD/OLD.exam: Input past end of file\n"_s }));
    for (const auto &[source, code, expected] : rows) {
        EXPECT_EQ(Snapshot(Sandbox::Path(u"all"_s)), before);
        EXPECT_EQ(Started(u"build --replace all/"_s + source + Options + u"all/OLD"_s), (Outcome{ code, {}, expected }));
    }
}

TEST(ProgramTest, AnExamFromSeveralBanks)
{
    Write(u"many/bank/a.gift"_s, "$CATEGORY: net/IP\n\n1 {=a ~b ~c}\n\n2 {=a ~b ~c}\n\nE {}\n");
    Write(u"many/bank/b.csv"_s, "Question,A,B,Key,Topic\n3,x,y,A,IP\n4,x,y,B,DNS\n");
    Write(u"many/bank/c.png"_s, Bmp());
    Write(u"many/bank/d.pdf"_s, "%PDF-1.5");
    const QString left = u"many/bank/a.gift:7: an essay question has no options\n"
                         "many/bank/d.pdf: it is no question bank; it seems to be a PDF document"_s;
    // The code is the folder's name, the name that of the first category.
    const Outcome all = Started(u"build many/bank - --out many/ALL"_s, {}, "5 {T}");
    EXPECT_TRUE(all.Err.startsWith(left)) << all.Err.toStdString();
    EXPECT_TRUE(all.Err.contains("\n5 items taken, 2 left out\n"_L1)) << all.Err.toStdString();
    const QString dump = Started(u"dump many/ALL"_s).Out;
    EXPECT_TRUE(dump.contains(uR"("codePage":null,"code":"bank","name":"IP","maxScore":1000,"passScore":700,"duration":8,)"_s))
        << dump.left(200).toStdString();
    // Nothing of chance is left once the seed is given.
    const QString chosen = u"build many/bank --code X --category ip --pick 2 --shuffle items,options --seed 3 --variants 2 "
                           "--report many/r.%1 --out many/%2"_s;
    EXPECT_TRUE(Started(chosen.arg(u"json"_s, u"ONE"_s)).Err.contains("3 items taken, 2 left out, 1 not chosen\n"_L1));
    EXPECT_EQ(Started(chosen.arg(u"html"_s, u"TWO"_s)).Code, 0);
    for (const QString &letter : { u"A"_s, u"B"_s }) {
        const QString made = Sandbox::Path(u"many/%1-%2/%1-%2.exam"_s);
        EXPECT_EQ(Sandbox::ReadFile(made.arg(u"ONE"_s, letter)), Sandbox::ReadFile(made.arg(u"TWO"_s, letter)));
        EXPECT_TRUE(Started(u"dump many/ONE-"_s + letter).Out.contains(u"\"code\":\"X-%1\""_s.arg(letter)));
    }
    EXPECT_NE(Sandbox::ReadFile(Sandbox::Path(u"many/ONE-A/ONE-A.exam"_s)).mid(20),
              Sandbox::ReadFile(Sandbox::Path(u"many/ONE-B/ONE-B.exam"_s)).mid(20));
    const QByteArray json = Sandbox::ReadFile(Sandbox::Path(u"many/r.json"_s));
    const QByteArray html = Sandbox::ReadFile(Sandbox::Path(u"many/r.html"_s));
    EXPECT_EQ(json.count("\"fate\":\"taken\""), 3);
    EXPECT_EQ(html.count("<td>not chosen<"), 1);
    EXPECT_TRUE(json.contains("\"place\":\"many/bank/a.gift:7\"") && html.contains("<td>an essay question has no options"));
}

TEST(ProgramTest, WhatTheUserSaysOfTheBanks)
{
    const QByteArray quiz
        = "<quiz><question type=\"truefalse\"><questiontext><text>%</text></questiontext>"
          "<answer fraction=\"100\"><text>true</text></answer><answer><text>false</text></answer></question></quiz>\n";
    Write(u"said/joined.xml"_s, quiz + quiz);
    Write(u"said/tags.csv"_s, "Question,A,B,Key\nIs <br/> right?,<b>x</b>,&amp;,A\n");
    Write(u"said/in.gift"_s, "$CATEGORY: x\n\nQ {T}\n\n$CATEGORY: y\n\nR {}\n");
    for (int i = 0; i < 103; ++i)
        Write(u"said/many/%1"_s.arg(i), "%PDF-");
    const std::tuple<QString, QString, QString> rows[] = {
        { u"joined.xml"_s,
          u"said/joined.xml: line 2: Extra content at end of document.; what stands behind it is not read\n1 item"_s, u"%"_s },
        { u"tags.csv"_s, {}, u"Is\\nright?"_s },
        { u"tags.csv --plain"_s, {}, u"\"statement\":\"<b>x</b>\""_s },
        { u"in.gift --strict --category x"_s, u"1 item taken, 1 left out\n"_s, u"Q"_s },
        { u"in.gift --strict --category y"_s, u"nothing made (--strict)\n"_s, {} },
        { u"many said/in.gift"_s, u"\nsaid/many: 3 more of its files are no question banks\n"_s, u"Q"_s },
    };
    for (const auto &[arguments, expected, content] : rows) {
        const Outcome made = Started(u"build --replace --out said/OUT said/"_s + arguments);
        EXPECT_TRUE(made.Err.contains(expected)) << made.Err.toStdString();
        EXPECT_EQ(made.Code, content.isEmpty() ? 1 : 0) << arguments.toStdString();
        EXPECT_TRUE(Started(u"dump said/OUT"_s).Out.contains(content)) << arguments.toStdString();
    }
}

TEST(ProgramTest, UsageAndHelp)
{
    Write(u"u.gift"_s, {});
    const QString build = u"build u.gift"_s + Options + u"OUT "_s;
    const std::pair<QString, QStringList> rows[] = {
        { u"there is no command \"bogus\""_s, { u"bogus"_s } },
        { u"one exam file or package folder is required"_s, { u"dump"_s, u"dump a b"_s } },
        { u"an exam file, a package folder or a pack is required"_s, { u"check"_s } },
        { u"Unknown option 'x'."_s, { u"check --x"_s, u"build --x"_s, u"pack --x"_s, u"dump --x"_s } },
        { u"one package folder is required"_s, { u"pack"_s, u"pack a b"_s } },
        { u"--out is missing"_s, { u"key"_s, u"pack a"_s, u"build a --code a --name a --max 1 --pass 1 --minutes 1"_s } },
        { u"--for takes linux or windows"_s, { u"pack a --out b --for x"_s } },
        { u"--exam goes with --sign"_s, { u"pack a --out b --exam x"_s } },
        { u"--sign is given more than 2 times"_s, { u"pack a --out b --sign k --sign k --sign k --pack-version 1"_s } },
        { u"--sign takes --pack-version, a number from 1 to 2147483647"_s,
          { u"pack a --out b --sign k"_s, u"pack a --out b --sign k --pack-version 0"_s,
            u"pack a --out b --sign k --pack-version 2147483648"_s } },
        { u"a question bank is required"_s, { u"build"_s } },
        { u"--max must be a number from 1 to 32767"_s, { build + u"--max 32768"_s, build + u"--max 0"_s } },
        { u"--pass must be a number from 0 to 9"_s, { build + u"--max 9 --pass 10"_s, build + u"--max 9 --pass 1e0"_s } },
        { u"--minutes must be a number from 1 to 546"_s, { build + u"--minutes 547"_s, build + u"--minutes 0"_s } },
        { u"\"./u.gift\" is named twice"_s, { build + u"./u.gift"_s } },
        { u"--encoding \"x\" is not known (UTF-8, UTF-16, ISO-8859-1, windows-1251, KOI8-R, Shift_JIS and the like are)"_s,
          { build + u"--encoding x"_s } },
        { u"--report: there is no folder \"no\""_s, { build + u"--report no/r.json"_s } },
        { u"--code is empty"_s, { build + u"--code \u00A0"_s } },
        { u"--name holds the control character U+0007"_s, { build + u"--name \u0007"_s } },
        { u"--code and --name: the character \"\u2192\" (U+2192) is not in code page 1252"_s,
          { build + u"--name \u2192 --code-page 1252"_s } },
    };
    for (const auto &[expected, commands] : rows) {
        const Outcome refused{ 2, {}, u"practorium-author: %1 (see --help)\n"_s.arg(expected) };
        for (const QString &command : commands)
            EXPECT_EQ(Started(command), refused) << command.toStdString();
    }
    const QString help = Started(u"--help"_s).Out;
    EXPECT_EQ(Started({}), (Outcome{ 2, {}, help }));
    for (const QString &command : { u"build"_s, u"check"_s, u"dump"_s, u"key"_s, u"pack"_s }) {
        EXPECT_TRUE(help.contains(u"\n  %1  "_s.arg(command.leftJustified(6)))) << help.toStdString();
        const QString usage = Started(command + u" -h"_s).Out;
        EXPECT_TRUE(usage.startsWith(u"Usage: practorium-author %1 [options]"_s.arg(command))) << usage.toStdString();
    }
    EXPECT_TRUE(Started(u"-v"_s).Out.startsWith("practorium-author "_L1));
}

TEST(ProgramTest, AFullDiskLeavesNoHalfPackage)
{
    if (const char *reason = SmallDisk::WhyNot())
        GTEST_SKIP() << reason;
    Write(u"full/small"_s, "// [exhibit:p.bmp]\nQ {T}\n");
    Write(u"full/large"_s, "Q {=" + QByteArray(20'000, 'x') + " ~b}\n");
    Write(u"full/p.bmp"_s, Bmp(100, 100));
    Write(u"full/OLD/OLD.exam"_s, "old");
    const auto before = Snapshot(Sandbox::Path(u"full"_s));
    for (const QString &source : { u"small"_s, u"large"_s }) {
        for (const QString &out : { u"OLD"_s, u"NEW"_s, u"a/b/NEW"_s }) {
            const QString said
                = Started(u"build --replace full/"_s + source + Options + u"full/"_s + out, SmallFiles(8'000)).Err;
            const QString file = source == "small"_L1 ? u"p.bmp"_s : out.right(3) + u".exam"_s;
            EXPECT_TRUE(said.endsWith(file + u": File too large\n"_s)) << said.toStdString();
            EXPECT_EQ(Snapshot(Sandbox::Path(u"full"_s)), before);
        }
    }
}

TEST(ProgramTest, ACancelledRunLeavesNothing)
{
    QByteArray gift;
    for (int i = 0; i < 12; ++i) {
        const QString name = u"p%1.bmp"_s.arg(i);
        gift += "// [exhibit:" + name.toUtf8() + "]\nQ {T}\n\n";
        Write(u"cancel/"_s + name, Bmp(2'000, 2'000));
    }
    Write(u"cancel/b.gift"_s, gift);
    const QString parent = Sandbox::Path(u"cancelled"_s);
    QDir().mkpath(parent);
    QProcess process;
    process.setWorkingDirectory(Sandbox::Path({}));
    if (!HearsSignals(process))
        GTEST_SKIP() << "Wine has no console to send a signal through where no terminal is";
    process.start(Program, (u"build cancel/b.gift"_s + Options + u"cancelled/OUT"_s).split(u' ', Qt::SkipEmptyParts));
    Await([&] { return !Names(parent).isEmpty(); });
    Signal(process, SIGTERM);
    EXPECT_EQ(EndOf(process), (Outcome{ 1, {}, u"practorium-author: Cancelled\n"_s }));
    EXPECT_EQ(Names(parent), QStringList());
}
