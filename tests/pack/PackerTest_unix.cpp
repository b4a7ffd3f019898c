// SPDX-License-Identifier: Apache-2.0
#include "author/Signing.h"
#include "pack/stub/PackReader.h"
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

// Whoever does not trust this program verifies packs with minisign, and can sign with it.
TEST(PackerTest, MinisignKnowsKeysAndSignatures)
{
    const QString key = Sandbox::Path(u"minisign.key"_s);
    const QString digest = Sandbox::Path(u"digest"_s);
    const auto vendor = Signing::MakeKey(key, u"pass"_s, Minisign::Cost::Low);
    QByteArray signature;
    Packer::Write(
        MakePackage(u"MINI"_s, u"M-3"_s), Sandbox::Path(u"mini.run"_s), Packer::OwnPlatform, true, [] {},
        [&](const QByteArray &bytes) {
            Sandbox::WriteFile(digest, bytes);
            signature = Minisign::Sign(Minisign::Opened(Sandbox::ReadFile(key), u"pass"_s), bytes, u"B\u00FCro"_s);
            return signature;
        });
    const auto minisign = [&](const QStringList &arguments) { return OutcomeOf(u"minisign"_s, arguments, {}, "pass\n"); };
    Sandbox::WriteFile(digest + u".minisig"_s, signature);
    EXPECT_EQ(minisign({ u"-V"_s, u"-m"_s, digest, u"-P"_s, vendor.ToText() }),
              (Outcome{ 0, u"Signature and comment signature verified\nTrusted comment: B\u00FCro\n"_s, {} }));
    EXPECT_EQ(minisign({ u"-S"_s, u"-l"_s, u"-m"_s, digest, u"-s"_s, key, u"-t"_s, u"other"_s }).Code, 0);
    const auto theirs = Minisign::Signatures(Sandbox::ReadFile(digest + u".minisig"_s));
    EXPECT_TRUE(theirs.size() == 1 && theirs[0].Comment == "other"
                && Minisign::Verifies(theirs[0], vendor, Sandbox::ReadFile(digest)));
}
