#include "tests/pack/PackSheet.h"
#include "tests/support/ExpectError.h"
#include "tests/support/Sandbox.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QThread>

#include <gtest/gtest.h>

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;

TEST(PackerTest, WhatNoPackCanHold)
{
    const QString root = Sandbox::Path(u"packages/P-1"_s);
    const auto package = [](const QString &name) { return MakePackage(name, u"P-1"_s); };
    Sandbox::WriteFile(root + u"/EMPTY/picture.bmp"_s, "x");
    Sandbox::WriteFile(root + u"/OTHER/NAME.exam"_s, "x");
    Sandbox::WriteFile(root + u"/CUT/CUT.exam"_s, "x");
    Sandbox::WriteFile(root + u"/file"_s, "x");
    QDir().mkpath(package(u"DEEP"_s) + u"/folder"_s);
    QFile::link(root + u"/file"_s, package(u"LINK"_s) + u"/picture2.bmp"_s);
    QFile::rename(package(u"LINKED"_s) + u"/LINKED.exam"_s, root + u"/elsewhere"_s);
    QFile::link(root + u"/elsewhere"_s, root + u"/LINKED/LINKED.exam"_s);
    mkfifo(QFile::encodeName(package(u"PIPE"_s) + u"/pipe"_s).constData(), 0600);
    Sandbox::WriteFile(package(u"HIDDEN"_s) + u"/.hidden"_s, "x");
    Sandbox::WriteFile(package(u"STAR"_s) + u"/a*b"_s, "x");
    Sandbox::WriteFile(package(u"LONG"_s) + u'/' + u"x"_s.repeated(201), "x");
    package(u".DOT"_s);
    const QStringList before = QDir(root).entryList(QDir::AllEntries | QDir::Hidden);

    const std::vector<std::pair<QString, QString>> rows = {
        { u"EMPTY"_s, u"there is no exam of the folder's name in it"_s },
        { u"OTHER"_s, u"there is no exam of the folder's name in it"_s },
        { u"CUT"_s, u"Input past end of file"_s },   { u"missing"_s, u"it is no folder"_s },
        { u"file"_s, u"it is no folder"_s },          { u"DEEP"_s, u"folder: it is no regular file"_s },
        { u"LINK"_s, u"it is no regular file"_s },    { u"LINKED"_s, u"it is no regular file"_s },
        { u"PIPE"_s, u"it is no regular file"_s },    { u"HIDDEN"_s, u"a pack cannot hold a file of that name"_s },
        { u"STAR"_s, u"a pack cannot hold a file of that name"_s }, { u"LONG"_s, u"a pack cannot hold a file of that name"_s },
        { u".DOT"_s, u"a pack cannot hold a folder of that name"_s }, { u""_s, u"it is no folder"_s },
    };
    for (const auto &[name, reason] : rows) {
        const QString folder = name.isEmpty() ? u"/"_s : root + u'/' + name;
        const Outcome outcome = AuthorOutcome({ u"pack"_s, folder, u"--out"_s, root + u"/out.run"_s });
        EXPECT_EQ(outcome.Code, 1) << name.toStdString();
        const QString wanted = name.isEmpty() ? u"a pack cannot hold a folder of that name"_s : reason;
        EXPECT_TRUE(QString::fromUtf8(outcome.Err).endsWith(wanted + u'\n')) << outcome.Err.constData();
        EXPECT_EQ(outcome.Err.count('\n'), 1);
        EXPECT_EQ(QDir(root).entryList(QDir::AllEntries | QDir::Hidden), before);
    }
    const QString good = package(u"GOOD"_s);
    const std::vector<QStringList> misuses = {
        { good }, { good, u"--out"_s, u""_s }, { u"--out"_s, u"x"_s }, { good, good, u"--out"_s, u"x"_s },
    };
    for (const QStringList &arguments : misuses)
        EXPECT_EQ(AuthorOutcome(QStringList{ u"pack"_s } + arguments).Code, 2) << arguments.join(u' ').toStdString();
}

TEST(PackerTest, TheFileIsForWhoeverMayReadIt)
{
    const QString package = MakePackage(u"MODES"_s, u"M-1"_s);
    const QString out = Sandbox::Path(u"modes.run"_s);
    for (const auto &[mask, mode] : { std::pair(022, 0755), std::pair(077, 0700), std::pair(027, 0750) }) {
        QFile::remove(out);
        const mode_t before = umask(mask);
        const Outcome made = AuthorOutcome({ u"pack"_s, package + u'/', u"--out"_s, out });
        umask(before);
        EXPECT_EQ(made.Code, 0) << made.Err.constData();
        struct stat status = {};
        EXPECT_EQ(stat(QFile::encodeName(out).constData(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, static_cast<mode_t>(mode)) << std::oct << mask;
    }
}

TEST(PackerTest, WholeOrNotAtAll)
{
    const QString package = MakePackage(u"WHOLE"_s, u"W-1"_s, 40'000'000);
    const QString root = Sandbox::Path(u"whole"_s);
    QDir().mkpath(root + u"/folder"_s);
    Sandbox::WriteFile(root + u"/old.run"_s, "old");
    QFile::link(root + u"/old.run"_s, root + u"/link.run"_s);
    const auto before = Snapshot(root);
    for (const QString &name : { u"folder"_s, u"link.run"_s, u"missing/new.run"_s, u"old.run"_s }) {
        QStringList arguments = { u"pack"_s, package, u"--out"_s, root + u'/' + name };
        if (name != "old.run"_L1)
            arguments.append(u"--replace"_s);
        EXPECT_EQ(AuthorOutcome(arguments).Code, 1) << name.toStdString();
    }
    EXPECT_EQ(Snapshot(root), before);

    for (const rlim_t bytes : { 1'000u, 2'000'000u, 40'000'000u }) {
        for (const QString &name : { u"old.run"_s, u"new.run"_s }) {
            const auto limited = [bytes](QProcess &process) {
                process.setChildProcessModifier([bytes] {
                    const rlimit limit = { bytes, bytes };
                    setrlimit(RLIMIT_FSIZE, &limit);
                });
            };
            const QStringList arguments = { u"pack"_s, package, u"--out"_s, root + u'/' + name, u"--replace"_s };
            const Outcome outcome = AuthorOutcome(arguments, limited);
            EXPECT_EQ(outcome.Code, 1);
            EXPECT_TRUE(outcome.Err.endsWith(": File too large\n")) << outcome.Err.constData();
            EXPECT_EQ(Snapshot(root), before);
        }
    }

    QProcess process;
    process.start(QStringLiteral(AUTHOR_PROGRAM), { u"pack"_s, package, u"--out"_s, root + u"/old.run"_s, u"--replace"_s });
    QElapsedTimer timer;
    timer.start();
    const auto written = [&process] {
        const QByteArray io = Sandbox::ReadFile(u"/proc/%1/io"_s.arg(process.processId()));
        return io.mid(io.indexOf("wchar: ") + 7).split('\n').first().toLongLong();
    };
    while (written() < 2'000'000 && timer.elapsed() < 60'000)
        QThread::usleep(100);
    ::kill(static_cast<pid_t>(process.processId()), SIGTERM);
    ASSERT_TRUE(process.waitForFinished(60'000));
    EXPECT_EQ(process.exitCode(), 1);
    EXPECT_EQ(process.readAllStandardError(), QByteArray("practorium-author: Cancelled\n"));
    EXPECT_EQ(Snapshot(root), before);
}
