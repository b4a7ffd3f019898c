// SPDX-License-Identifier: Apache-2.0
#include "tests/pack/PackSheet.h"
#include "tests/support/Program.h"
#include "tests/support/Test.h"

#include <csignal>
#include <fcntl.h>
#include <ios>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString Author = QStringLiteral(AUTHOR_PROGRAM);

}

TEST(PackerTest, TheFileIsForWhoeverMayReadIt)
{
    const QString package = MakePackage(u"MODES"_s, u"M-1"_s);
    const QString out = Sandbox::Path(u"modes.run"_s);
    for (const auto &[mask, mode] : { std::pair(022, 0755u), std::pair(077, 0700u), std::pair(027, 0750u) }) {
        const mode_t before = umask(mask);
        QFile::remove(out);
        EXPECT_EQ(OutcomeOf(Author, { u"pack"_s, package + u'/', u"--out"_s, out }), Outcome{});
        umask(before);
        struct stat status = {};
        EXPECT_EQ(stat(QFile::encodeName(out).constData(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, mode) << std::oct << mask;
    }
}

// Qt sees no such file, so that it would be missing in the pack.
TEST(PackerTest, ANameThatIsNoText)
{
    const QString folder = MakePackage(u"BYTES"_s, u"B-1"_s);
    const std::string name = folder.toStdString() + "/a\xE9.bmp";
    const int file = creat(name.c_str(), 0600);
    const Outcome outcome = OutcomeOf(Author, { u"pack"_s, folder, u"--out"_s, Sandbox::Path(u"never.run"_s) });
    EXPECT_TRUE(outcome.Code == 1 && outcome.Err.endsWith(u"a file in it has a name that is no UTF-8\n"_s))
        << outcome.Err.toStdString();
    EXPECT_TRUE(close(file) == 0 && unlink(name.c_str()) == 0);
}

TEST(PackerTest, NothingHalfMade)
{
    const QString package = MakePackage(u"HALF"_s, u"H-1"_s, 40'000'000);
    const QString root = Sandbox::Path(u"half"_s);
    const QString old = root + u"/old.run"_s;
    Sandbox::WriteFile(old, "old");
    const auto before = Snapshot(root);
    const auto packing = [&](const QString &file) {
        return QStringList{ u"pack"_s, package, u"--out"_s, file, u"--replace"_s };
    };
    // The disk is full in the stub, in the contents and in the trailer.
    for (const quint64 bytes : { 1'000u, 2'000'000u, 40'000'000u }) {
        for (const QString &file : { old, root + u"/new.run"_s }) {
            const Outcome outcome = OutcomeOf(Author, packing(file), SmallFiles(bytes));
            EXPECT_EQ(outcome.Code, 1);
            EXPECT_TRUE(outcome.Err.endsWith(u": File too large\n"_s)) << outcome.Err.toStdString();
        }
    }
    QProcess process;
    process.start(Author, packing(old));
    Await([&] {
        const QByteArray io = Sandbox::ReadFile(u"/proc/%1/io"_s.arg(process.processId()));
        return io.mid(io.indexOf("wchar: ") + 7).split('\n').first().toLongLong() > 2'000'000;
    });
    Signal(process, SIGTERM);
    EXPECT_EQ(EndOf(process), (Outcome{ 1, {}, u"practorium-author: Cancelled\n"_s }));
    EXPECT_EQ(Snapshot(root), before);
}
