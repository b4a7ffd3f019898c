// SPDX-License-Identifier: Apache-2.0
#include "tests/author/AuthorFixture.h"
#include "tests/support/Program.h"
#include "tests/support/SmallDisk.h"
#include "tests/support/System.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <csignal>

namespace {

const QString Program = QStringLiteral(AUTHOR_PROGRAM);

// Runs the program in a folder of the sandbox, on a machine with a platform
// chosen that needs a display and without one.
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

const QStringList Numbers = { u"--max"_s, u"1000"_s, u"--pass"_s, u"700"_s, u"--minutes"_s, u"90"_s };

QStringList BuildArguments(const QString &source, const QString &out, const QStringList &more = {})
{
    return QStringList{ u"build"_s, source, u"--code"_s, u"EX-1"_s, u"--name"_s, u"Sample"_s, u"--out"_s, out } + Numbers
        + more;
}

}

TEST(ProgramTest, FromBankToPackage)
{
    Sandbox::WriteFile(
        Sandbox::Path(u"bank/b.gift"_s),
        "// [exhibit:p.bmp]\nOne {=a ~b####why}\n\nTwo {=x}\n\n\nThree {~%50%a ~%50%b ~c}\n\n// [exhibit:q.bmp]\nFour {T}\n");
    Sandbox::WriteFile(Sandbox::Path(u"bank/p.bmp"_s), Bmp(4));
    const QString report = u"bank/b.gift:4: a short-answer question has no options\n"
                           "bank/b.gift:10: the exhibit \"q.bmp\": %1\n2 items taken, 2 left out\n"_s;
    const QString notFound = System::TextOf(System::NotFound);
    EXPECT_EQ(Started(BuildArguments(u"bank/b.gift"_s, u"bank/PACK"_s)), (Outcome{ 0, {}, report.arg(notFound) }));
    EXPECT_EQ(Names(Sandbox::Path(u"bank/PACK"_s)), (QStringList{ u"PACK.exam"_s, u"p.bmp"_s }));
    const QString dump = Started({ u"dump"_s, u"bank/PACK/PACK.exam"_s }).Out;
    const QJsonObject exam = QJsonDocument::fromJson(dump.toUtf8()).object();
    EXPECT_EQ(exam.value("code"_L1).toString(), u"EX-1"_s);
    EXPECT_EQ(exam.value("questions"_L1).toArray().size(), 2);
    EXPECT_EQ(exam.value("questions"_L1).toArray().at(1).toObject().value("hasHint"_L1).toBool(), true);
    EXPECT_EQ(Started({ u"check"_s, u"bank/PACK"_s, u"bank/PACK/PACK.exam"_s }), Outcome{});

    // The pictures from elsewhere this time, and one item less to leave out.
    Sandbox::WriteFile(Sandbox::Path(u"drawings/p.bmp"_s), Bmp(5));
    Sandbox::WriteFile(Sandbox::Path(u"drawings/q.bmp"_s), Bmp(5));
    const Outcome again
        = Started(BuildArguments(u"bank/b.gift"_s, u"bank/PACK"_s, { u"--replace"_s, u"--pictures"_s, u"drawings"_s }));
    EXPECT_EQ(again.Code, 0) << again.Err.toStdString();
    EXPECT_TRUE(again.Err.endsWith("\n3 items taken, 1 left out\n"_L1)) << again.Err.toStdString();
    EXPECT_EQ(Sandbox::ReadFile(Sandbox::Path(u"bank/PACK/p.bmp"_s)), Bmp(5));

    QFile::remove(Sandbox::Path(u"bank/PACK/q.bmp"_s));
    const QString fault = u"%1: item 3: the exhibit \"q.bmp\": %2\n"_s;
    EXPECT_EQ(Started({ u"check"_s, u"bank/PACK"_s }),
              (Outcome{ 1, fault.arg(QDir::toNativeSeparators(u"bank/PACK/PACK.exam"_s), notFound) }));
}

TEST(ProgramTest, StrictMakesAllOrNothing)
{
    // The name looks like a place for another text.
    Sandbox::WriteFile(Sandbox::Path(u"strict/q%1.gift"_s), "Q {T}\n\nR {=x}\n");
    Sandbox::WriteFile(Sandbox::Path(u"strict/good.gift"_s), "Q {T}\n");
    const QString report = u"strict/q%1.gift:3: a short-answer question has no options\n"
                           "1 item taken, 1 left out, nothing made (--strict)\n"_s;
    EXPECT_EQ(Started(BuildArguments(u"strict/q%1.gift"_s, u"strict/OUT"_s, { u"--strict"_s })), (Outcome{ 1, {}, report }));
    EXPECT_EQ(Names(Sandbox::Path(u"strict"_s)), (QStringList{ u"good.gift"_s, u"q%1.gift"_s }));
    EXPECT_EQ(Started(BuildArguments(u"strict/good.gift"_s, u"strict/GOOD"_s, { u"--strict"_s })),
              (Outcome{ 0, {}, u"1 item taken, 0 left out\n"_s }));
}

TEST(ProgramTest, NothingToTakeAndNothingToRead)
{
    Sandbox::WriteFile(Sandbox::Path(u"none/b.gift"_s), "Just text\n\nR {=a}\n");
    Sandbox::WriteFile(Sandbox::Path(u"none/OLD/OLD.exam"_s), "old");
    const Outcome build = Started(BuildArguments(u"none/b.gift"_s, u"none/OLD"_s, { u"--replace"_s }));
    EXPECT_EQ(build.Code, 1);
    EXPECT_TRUE(build.Err.endsWith("\n0 items taken, 2 left out\n"_L1)) << build.Err.toStdString();
    EXPECT_EQ(Sandbox::ReadFile(Sandbox::Path(u"none/OLD/OLD.exam"_s)), QByteArray("old"));
    const QString missing = u"practorium-author: none/x.gift: %1\n"_s.arg(System::TextOf(System::NotFound));
    EXPECT_EQ(Started(BuildArguments(u"none/x.gift"_s, u"none/NEW"_s)), (Outcome{ 1, {}, missing }));
    EXPECT_EQ(Started({ u"dump"_s, u"none/OLD/OLD.exam"_s }),
              (Outcome{ 1, {}, u"none/OLD/OLD.exam: Input past end of file\n"_s }));
}

TEST(ProgramTest, WrongUsage)
{
    Sandbox::WriteFile(Sandbox::Path(u"u/b.gift"_s), "Q {T}");
    const auto build = [](const QStringList &more) { return BuildArguments(u"u/b.gift"_s, u"u/OUT"_s, more); };
    const std::vector<QStringList> rows = {
        {},
        { u"bogus"_s },
        { u"dump"_s, u"a"_s, u"b"_s },
        { u"check"_s, u"--x"_s },
        { u"build"_s, u"u/b.gift"_s },
        build({ u"--bogus"_s }),
        build({ u"--max"_s, u"32768"_s }),
        build({ u"--max"_s, u"1e3"_s }),
        build({ u"--pass"_s, u"1001"_s }),
        build({ u"--minutes"_s, u"547"_s }),
        build({ u"--code"_s, u" "_s }),
        build({ u"--name"_s, u"\u2192"_s }),
    };
    for (const QStringList &row : rows) {
        const Outcome outcome = Started(row);
        EXPECT_EQ(outcome.Code, 2) << row.join(u' ').toStdString();
        EXPECT_EQ(outcome.Out, QString()) << row.join(u' ').toStdString();
        EXPECT_FALSE(outcome.Err.isEmpty()) << row.join(u' ').toStdString();
        EXPECT_FALSE(QFile::exists(Sandbox::Path(u"u/OUT"_s))) << row.join(u' ').toStdString();
    }
    EXPECT_EQ(Started(build({ u"--max"_s, u"32767"_s, u"--pass"_s, u"0"_s, u"--minutes"_s, u"546"_s })),
              (Outcome{ 0, {}, u"1 item taken, 0 left out\n"_s }));
}

TEST(ProgramTest, AFullDiskLeavesNoHalfPackage)
{
    if (const char *reason = SmallDisk::WhyNot())
        GTEST_SKIP() << reason;
    Sandbox::WriteFile(Sandbox::Path(u"full/small.gift"_s), "// [exhibit:p.bmp]\nQ {T}\n");
    Sandbox::WriteFile(Sandbox::Path(u"full/large.gift"_s), "Q {=" + QByteArray(20'000, 'x') + " ~b}\n");
    Sandbox::WriteFile(Sandbox::Path(u"full/p.bmp"_s), Bmp(100));
    Sandbox::WriteFile(Sandbox::Path(u"full/OLD/OLD.exam"_s), "old");
    const QStringList before = Names(Sandbox::Path(u"full"_s));
    for (const QString &source : { u"small"_s, u"large"_s }) {
        for (const QString &out : { u"OLD"_s, u"NEW"_s, u"a/b/NEW"_s }) {
            const QStringList arguments = BuildArguments(u"full/%1.gift"_s.arg(source), u"full/"_s + out, { u"--replace"_s });
            const Outcome build = Started(arguments, SmallFiles(8'000));
            EXPECT_EQ(build.Code, 1);
            EXPECT_TRUE(build.Err.endsWith(": File too large\n"_L1)) << build.Err.toStdString();
            EXPECT_EQ(Names(Sandbox::Path(u"full"_s)), before);
            EXPECT_EQ(Sandbox::ReadFile(Sandbox::Path(u"full/OLD/OLD.exam"_s)), QByteArray("old"));
        }
    }
    const auto exam = NewExam();
    AddItem(*exam, { u"Q"_s, { u"a"_s } });
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
        Sandbox::WriteFile(Sandbox::Path(u"cancel/"_s + name), Bmp(2'000));
    }
    Sandbox::WriteFile(Sandbox::Path(u"cancel/b.gift"_s), gift);
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
