// SPDX-License-Identifier: Apache-2.0
#include "tests/pack/PackFixture.h"

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

TEST(PackerTest, AsManyFilesAsAPackHolds)
{
    const QString folder = MakePackage(u"MANY"_s, u"M-2"_s);
    for (int i = 0; i < 9'999; ++i)
        close(creat(qPrintable(folder + u'/' + QString::number(i)), 0600));
    const QString out = Sandbox::Path(u"many.run"_s);
    EXPECT_EQ(Refusal(folder, out), folder + u": 10001 files are more than 10000"_s);
    EXPECT_TRUE(QFile::remove(folder + u"/1"_s));
    EXPECT_EQ(Refusal(folder, out), QString());
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
