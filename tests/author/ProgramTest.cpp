// SPDX-License-Identifier: Apache-2.0
#include "tests/author/AuthorFixture.h"
#include "tests/support/Program.h"
#include "tests/support/SmallDisk.h"

#include <csignal>

namespace {

const QString Program = QStringLiteral(AUTHOR_PROGRAM);

// Runs the program in a folder of the sandbox, on a machine with a platform chosen that needs a display and without one.
Outcome Started(const QStringList &arguments, const Preparation &prepare = {})
{
    return OutcomeOf(Program, arguments, [&](QProcess &process) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(u"DISPLAY"_s);
        environment.remove(u"WAYLAND_DISPLAY"_s);
        environment.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
        process.setProcessEnvironment(environment);
        if (prepare)
            prepare(process);
    });
}

QStringList BuildArguments(const QString &source, const QString &out, const QString &more = {})
{
    return QStringList{ u"build"_s, source, u"--code"_s, u"A\"\u00C4"_s, u"--name"_s, u"Sample"_s, u"--out"_s, out }
    + (u"--max 32767 --pass 0 --minutes 546 "_s + more).split(u' ', Qt::SkipEmptyParts);
}

void Write(const QString &name, const QByteArray &bytes)
{
    Sandbox::WriteFile(Sandbox::Path(name), bytes);
}

}

TEST(ProgramTest, FromBankToPackage)
{
    Write(u"bank/b.gift"_s,
          "// [exhibit:p.bmp]\nOne\n\tnext {=a ~b####why}\n\nTwo {=x}\n\n\nThree {~%50%a ~%50%b}\n\n// [exhibit:q.bmp]\nFour "
          "{T}");
    Write(u"bank/p.bmp"_s, Bmp(4));
    const QString shortAnswer = u"bank/b.gift:5: a short-answer question has no options\n"_s;
    const QString notFound = System::TextOf(System::NotFound);
    EXPECT_EQ(
        Started(BuildArguments(u"bank/b.gift"_s, u"bank/PACK"_s)),
        (Outcome{
            0, {}, shortAnswer + u"bank/b.gift:11: the exhibit \"q.bmp\": %1\n2 items taken, 2 left out\n"_s.arg(notFound) }));
    EXPECT_EQ(Names(Sandbox::Path(u"bank/PACK"_s)), (QStringList{ u"PACK.exam"_s, u"p.bmp"_s }));
    EXPECT_EQ(Started({ u"check"_s, u"bank/PACK"_s, u"bank/PACK/PACK.exam"_s }), Outcome{});
    Write(u"reserved.exam"_s,
          Sandbox::ReadFile(Sandbox::Path(u"bank/PACK/PACK.exam"_s)).replace(0, 4, QByteArray::fromHex("0200000000fe")));
    EXPECT_EQ(Started({ u"dump"_s, u"reserved.exam"_s }).Out,
              uR"({"reserved":"00fe","code":"A\"Ä","name":"Sample","maxScore":32767,"passScore":0,"duration":546,"questions":[
{"number":1,"solutionCount":1,"hasHint":false,"exhibit":"p.bmp","problem":"One\n\tnext","explanation":"why","choices":[{"number":1,"isSolution":true,"statement":"a"},{"number":2,"isSolution":false,"statement":"b"}]},
{"number":2,"solutionCount":2,"hasHint":true,"exhibit":"","problem":"Three","explanation":"","choices":[{"number":1,"isSolution":true,"statement":"a"},{"number":2,"isSolution":true,"statement":"b"}]}]}
)"_s);

    // The pictures from elsewhere this time, and one item less to leave out.
    Write(u"drawings/p.bmp"_s, Bmp(5));
    Write(u"drawings/q.bmp"_s, Bmp(1'201));
    EXPECT_EQ(Started(BuildArguments(u"bank/b.gift"_s, u"bank/PACK"_s, u"--replace --pictures drawings"_s)),
              (Outcome{ 0, {}, shortAnswer + u"3 items taken, 1 left out\n"_s }));
    EXPECT_EQ(Sandbox::ReadFile(Sandbox::Path(u"bank/PACK/p.bmp"_s)), Bmp(5));
    const QString line = QDir::toNativeSeparators(u"bank/PACK/PACK.exam: %1item 3: the exhibit \"q.bmp\"%2\n"_s);
    EXPECT_EQ(Started({ u"check"_s, u"bank/PACK"_s }),
              (Outcome{ 0, line.arg(u"warning: "_s, u" is 1201 pixels wide, wider than many screens"_s) }));
    QFile::remove(Sandbox::Path(u"bank/PACK/q.bmp"_s));
    EXPECT_EQ(Started({ u"check"_s, u"bank/PACK"_s, u"bank/b.gift"_s }).Code, 1);
    EXPECT_EQ(Started({ u"check"_s, u"bank/PACK"_s }), (Outcome{ 1, line.arg(QString(), u": "_s + notFound) }));
}

TEST(ProgramTest, AllOrNothing)
{
    // The name looks like a place for another text.
    Write(u"all/q%1.gift"_s, "Q {T}\n\nR {=x}\n");
    Write(u"all/good.gift"_s, "Q {T}");
    Write(u"all/none.gift"_s, "Just text");
    Write(u"all/OLD/OLD.exam"_s, "old");
    const QString reason = u"all/q%1.gift:3: a short-answer question has no options\n"_s;
    const QString missing = u"practorium-author: all/x.gift: %1\n"_s.arg(System::TextOf(System::NotFound));
    const std::pair<QStringList, Outcome> rows[] = {
        { BuildArguments(u"all/q%1.gift"_s, u"all/OUT"_s, u"--strict"_s),
          { 1, {}, reason + u"1 item taken, 1 left out, nothing made (--strict)\n"_s } },
        { BuildArguments(u"all/none.gift"_s, u"all/OLD"_s, u"--replace"_s),
          { 1, {}, u"all/none.gift:1: a description without answers is no question\n0 items taken, 1 left out\n"_s } },
        { BuildArguments(u"all/x.gift"_s, u"all/OUT"_s), { 1, {}, missing } },
        { { u"dump"_s, u"all/OLD/OLD.exam"_s }, { 1, {}, u"all/OLD/OLD.exam: Input past end of file\n"_s } },
    };
    const auto before = Snapshot(Sandbox::Path(u"all"_s));
    for (const auto &[arguments, expected] : rows)
        EXPECT_EQ(Started(arguments), expected);
    EXPECT_EQ(Snapshot(Sandbox::Path(u"all"_s)), before);
    EXPECT_EQ(Started(BuildArguments(u"all/good.gift"_s, u"all/GOOD"_s, u"--strict"_s)),
              (Outcome{ 0, {}, u"1 item taken, 0 left out\n"_s }));
}

TEST(ProgramTest, UsageAndHelp)
{
    Write(u"u/b.gift"_s, "Q {T}");
    const auto build = [](const QString &more) { return BuildArguments(u"u/b.gift"_s, u"u/OUT"_s, more); };
    const std::pair<QStringList, QString> rows[] = {
        { { u"bogus"_s }, u"there is no command \"bogus\""_s },
        { { u"dump"_s, u"a"_s, u"b"_s }, u"one exam file is required"_s },
        { { u"check"_s }, u"an exam file or a package folder is required"_s },
        { { u"check"_s, u"--x"_s }, u"Unknown option 'x'."_s },
        { { u"pack"_s }, u"one package folder is required"_s },
        { { u"pack"_s, u"a"_s }, u"--out is missing"_s },
        { { u"pack"_s, u"a"_s, u"--out"_s, u"b"_s, u"--for"_s, u"x"_s }, u"--for takes linux or windows"_s },
        { build(u"b.gift"_s), u"one question bank is required"_s },
        { { u"build"_s, u"u/b.gift"_s }, u"--code is missing"_s },
        { build(u"--max 32768"_s), u"--max must be a number from 1 to 32767"_s },
        { build(u"--max 0"_s), u"--max must be a number from 1 to 32767"_s },
        { build(u"--max 1e3"_s), u"--max must be a number from 1 to 32767"_s },
        { build(u"--max 9 --pass 10"_s), u"--pass must be a number from 0 to 9"_s },
        { build(u"--minutes 547"_s), u"--minutes must be a number from 1 to 546"_s },
        { build({}) + QStringList{ u"--code"_s, u" "_s }, u"--code is empty"_s },
        { build(u"--name \u0007"_s), u"--name holds the control character U+0007"_s },
        { build(u"--name \u2192"_s), u"--name: \"\u2192\" has a character that code page 1252 lacks"_s },
    };
    for (const auto &[arguments, expected] : rows)
        EXPECT_EQ(Started(arguments), (Outcome{ 2, {}, u"practorium-author: %1 (see --help)\n"_s.arg(expected) }));
    EXPECT_FALSE(QFile::exists(Sandbox::Path(u"u/OUT"_s)));

    const QString help = Started({ u"--help"_s }).Out;
    EXPECT_EQ(Started({ u"-h"_s }), (Outcome{ 0, help }));
    EXPECT_EQ(Started({}), (Outcome{ 2, {}, help }));
    for (const QString &command : { u"build"_s, u"check"_s, u"dump"_s, u"pack"_s }) {
        EXPECT_TRUE(help.contains(u"\n  %1  "_s.arg(command.leftJustified(6)))) << help.toStdString();
        const Outcome outcome = Started({ command, u"--help"_s });
        EXPECT_TRUE(outcome.Code == 0 && outcome.Err.isEmpty());
        EXPECT_TRUE(outcome.Out.startsWith(u"Usage: practorium-author %1 [options] "_s.arg(command)))
            << outcome.Out.toStdString();
    }
    EXPECT_TRUE(Started({ u"build"_s, u"-h"_s }).Out.contains("code page 1252"_L1)) << "the notes";
    const Outcome version = Started({ u"--version"_s });
    EXPECT_TRUE(version.Out.startsWith("practorium-author "_L1) && version == Started({ u"-v"_s }))
        << version.Out.toStdString();
}

TEST(ProgramTest, AFullDiskLeavesNoHalfPackage)
{
    if (const char *reason = SmallDisk::WhyNot())
        GTEST_SKIP() << reason;
    Write(u"full/small.gift"_s, "// [exhibit:p.bmp]\nQ {T}\n");
    Write(u"full/large.gift"_s, "Q {=" + QByteArray(20'000, 'x') + " ~b}\n");
    Write(u"full/p.bmp"_s, Bmp(100, 100));
    Write(u"full/OLD/OLD.exam"_s, "old");
    const auto before = Snapshot(Sandbox::Path(u"full"_s));
    for (const auto &[source, file] : { std::pair(u"small"_s, u"p.bmp"_s), std::pair(u"large"_s, u"%1.exam"_s) }) {
        for (const QString &out : { u"OLD"_s, u"NEW"_s, u"a/b/NEW"_s }) {
            const Outcome build
                = Started(BuildArguments(u"full/%1.gift"_s.arg(source), u"full/"_s + out, u"--replace"_s), SmallFiles(8'000));
            const QString name = file.contains(u'%') ? file.arg(out.section(u'/', -1)) : file;
            EXPECT_EQ(build.Code, 1);
            EXPECT_TRUE(build.Err.endsWith(u"practorium-author: %1: File too large\n"_s.arg(name))) << build.Err.toStdString();
            EXPECT_EQ(Snapshot(Sandbox::Path(u"full"_s)), before);
        }
    }
    const auto exam = NewExam();
    const auto toFull = [](QProcess &process) { process.setStandardOutputFile(u"/dev/full"_s); };
    EXPECT_EQ(Started({ u"dump"_s, Install(*exam, u"FULL"_s) }, toFull),
              (Outcome{ 1, {}, u"practorium-author: the output cannot be written\n"_s }));
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
    process.start(Program, BuildArguments(u"cancel/b.gift"_s, u"cancelled/OUT"_s));
    Await([&] { return !Names(parent).isEmpty(); });
    Signal(process, SIGTERM);
    EXPECT_EQ(EndOf(process), (Outcome{ 1, {}, u"practorium-author: Cancelled\n"_s }));
    EXPECT_EQ(Names(parent), QStringList());
}
