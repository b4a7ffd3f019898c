// SPDX-License-Identifier: Apache-2.0
#include "tests/pack/PackFixture.h"
#include "tests/support/SmallDisk.h"

#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

TEST(PackerTest, TheFileIsForWhoeverMayReadIt)
{
    const QString package = MakePackage(u"MODES"_s, u"M-1"_s);
    const QString out = Sandbox::Path(u"modes.run"_s);
    for (const auto &[mask, mode] : { std::pair(022, 0755u), std::pair(077, 0700u), std::pair(027, 0750u) }) {
        const mode_t before = umask(mask);
        QFile::remove(out);
        EXPECT_EQ(Refusal(package, out, true), QString());
        umask(before);
        struct stat status = {};
        EXPECT_EQ(stat(QFile::encodeName(out).constData(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, mode) << std::oct << mask;
    }
}

// Qt does not list such a file, so that it would be missing in the pack.
TEST(PackerTest, ANameThatIsNoText)
{
    const QString folder = MakePackage(u"BYTES"_s, u"B-1"_s);
    const std::string name = folder.toStdString() + "/a\xE9.bmp";
    const int file = creat(name.c_str(), 0600);
    EXPECT_EQ(Refusal(folder, Sandbox::Path(u"never.run"_s)), folder + u": a file in it has a name that is no UTF-8"_s);
    EXPECT_TRUE(close(file) == 0 && unlink(name.c_str()) == 0);
}

TEST(PackerTest, NothingHalfMade)
{
    const QString package = MakePackage(u"HALF"_s, u"H-1"_s, 10'000'000);
    const QString root = Sandbox::Path(u"half"_s);
    const QString old = root + u"/old.run"_s;
    Sandbox::WriteFile(old, "old");
    const auto before = Snapshot(root);
    const QString whole = Sandbox::Path(u"whole-half.run"_s);
    ASSERT_EQ(Refusal(package, whole, true), QString());
    const auto size = static_cast<quint64>(QFileInfo(whole).size());
    // The disk is full in the stub, in the contents, in the trailer and in its sum.
    for (const quint64 bytes : { quint64(1'000), quint64(2'000'000), size - 33, size - 1 }) {
        for (const QString &file : { old, root + u"/new.run"_s }) {
            const SmallDisk disk(bytes);
            EXPECT_EQ(Refusal(package, file, true), file + u": File too large"_s) << bytes;
        }
    }
    // The program, with a signal while it writes.
    const QString large = MakePackage(u"HALF"_s, u"H-2"_s, LargeBytes);
    QProcess process;
    process.start(QStringLiteral(AUTHOR_PROGRAM), { u"pack"_s, large, u"--out"_s, old, u"--replace"_s });
    Await([&] {
        const QByteArray io = Sandbox::ReadFile(u"/proc/%1/io"_s.arg(process.processId()));
        return io.mid(io.indexOf("wchar: ") + 7).split('\n').first().toLongLong() > 2'000'000;
    });
    Signal(process, SIGTERM);
    EXPECT_EQ(EndOf(process), (Outcome{ 1, {}, u"practorium-author: Cancelled\n"_s }));
    EXPECT_EQ(Snapshot(root), before);
}
