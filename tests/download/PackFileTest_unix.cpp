// SPDX-License-Identifier: Apache-2.0
#include "download/PackFile.h"
#include "tests/download/RunFixture.h"
#include "tests/support/SmallDisk.h"

#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using PackFileTest = RunTest;

}

// What stands in the temporary folder under the pack's name. The reason of a
// failure is told in one line.
TEST_F(PackFileTest, Places)
{
    const QString place = TempFile(u"101.exe"_s);
    const QString victim = Sandbox::Path(u"victim"_s);
    Sandbox::WriteFile(victim, "mine");
    const QByteArray folder = QFile::encodeName(QFileInfo(place).path());
    const QString linked = Sandbox::Path(u"linked"_s);
    const bool isRoot = geteuid() == 0;
    const char *there = "File exists";
    const std::string sandbox = Sandbox::Path(u""_s).chopped(1).toStdString();
    const std::string folderShared = "Other users can exchange files in " + folder.toStdString();
    // Only the superuser can have such a disk, in a system of this thread's own.
    const auto mountNoexec = [&] { return mount("tmpfs", folder.constData(), "tmpfs", MS_NOEXEC, "mode=0700") == 0; };
    const bool canMount = unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0
        && mountNoexec() && umount(folder.constData()) == 0;
    // The reason that is told, without one for a pack that was installed.
    const struct {
        const char *Name;
        std::function<void()> Prepare;
        std::string Reason;
        bool IsRun, Stays;
    } rows[] = {
        { "an old pack", [&] { Sandbox::WriteFile(place, QByteArray(100'000, 'o')); }, {}, true, false },
        { "a link to a file", [&] { QFile::link(victim, place); }, there, false, true },
        { "a link to nothing", [&] { QFile::link(Sandbox::Path(u"nothing"_s), place); }, there, false, true },
        { "a folder", [&] { QDir().mkpath(place); }, there, false, true },
        { "another user's file",
          [&] {
              Sandbox::WriteFile(place, "theirs");
              ASSERT_TRUE(chown(QFile::encodeName(place).constData(), 65534, 65534) == 0 || !isRoot);
          },
          isRoot ? there : "", !isRoot, isRoot },
        { "a folder in which all may rename", [&] { chmod(folder.constData(), 0777); }, folderShared, false, true },
        { "the same with the sticky bit", [&] { chmod(folder.constData(), 01777); }, {}, true, false },
        { "a folder of another user's",
          [&] {
              ASSERT_EQ(chmod(folder.constData(), 01777), 0);
              ASSERT_TRUE(chown(folder.constData(), 65534, 65534) == 0 || !isRoot);
          },
          isRoot ? folderShared : "", !isRoot, isRoot },
        { "a link to the folder",
          [&] {
              EXPECT_TRUE(QFile::link(QFile::decodeName(folder), linked));
              qputenv("TMPDIR", QFile::encodeName(linked));
          },
          {},
          true,
          false },
        { "below a folder in which all may rename", [&] { ASSERT_EQ(chmod(sandbox.c_str(), 0777), 0); },
          "Other users can exchange files in " + sandbox, false, true },
        { "a disk that runs no programs", [&] { EXPECT_TRUE(!canMount || mountNoexec()); },
          canMount ? "No program can be run from the disk that it is on (noexec)" : "", !canMount, canMount },
        { "no program", [&] { On("eid=", Reply::Whole("text")); },
          "Unable to execute command \"" + place.toStdString() + "\": Exec format error", false, true },
        { "a pack that removes itself",
          [&] {
              On("eid=", Reply::Whole(FakePack{ "pack", {}, {}, true }.Bytes()));
          },
          "The downloaded file is not the one that was written", true, false },
    };
    for (const auto &[name, prepare, reason, isRun, stays] : rows) {
        QFile::remove(place);
        QDir(place).removeRecursively();
        prepare();
        testing::internal::CaptureStderr();
        const QString log = WholeRun();
        const std::string line
            = "Practorium: Installation of 101 (" + qgetenv("TMPDIR").toStdString() + "/101.exe) failed: " + reason + '\n';
        EXPECT_EQ(testing::internal::GetCapturedStderr(), reason.empty() ? "" : line) << name;
        EXPECT_EQ(log.contains(u"list=101&"_s), reason.empty()) << name;
        EXPECT_EQ(WasRun(), isRun) << name;
        EXPECT_EQ(QFileInfo(place).exists() || QFileInfo(place).isSymLink(), stays) << name;
        qputenv("TMPDIR", folder);
        umount(folder.constData());
        chmod(sandbox.c_str(), 0700);
        EXPECT_TRUE(chown(folder.constData(), geteuid(), getegid()) == 0 && chmod(folder.constData(), 0700) == 0);
    }
    EXPECT_EQ(Sandbox::ReadFile(victim), "mine");
    EXPECT_FALSE(QFile::exists(Sandbox::Path(u"nothing"_s)));
}

// A disk without room is noticed while the pack arrives, or at its end.
TEST_F(PackFileTest, FullDisk)
{
    for (const qsizetype padding : { 2'000'000, 100'000 }) {
        On("eid=", Reply::Whole(Pack("pack", padding)));
        const SmallDisk disk(64 * 1024);
        EXPECT_TRUE(WholeRun().contains(u"box 16 Installation of 101 failed."_s)) << padding;
        EXPECT_FALSE(WasRun()) << padding;
    }
}

// Only the file that was created becomes a program, and only for this user.
TEST_F(PackFileTest, ExchangedBeforeItIsRun)
{
    const QString place = TempFile(u"own.exe"_s);
    const QByteArray path = QFile::encodeName(place);
    const QByteArray other = QFile::encodeName(TempFile(u"other"_s));
    const auto mode = [&] {
        struct stat status = {};
        EXPECT_EQ(stat(path.constData(), &status), 0);
        return status.st_mode & 07777;
    };
    const mode_t before = umask(0);
    const std::function<bool()> exchanges[] = {
        [&] { return rename(other.constData(), path.constData()) == 0; },
        [&] { return link(path.constData(), (other + '2').constData()) == 0; },
        [&] {
            return rename(path.constData(), (other + '3').constData()) == 0
                && symlink((other + '3').constData(), path.constData()) == 0;
        },
        [&] { return unlink(path.constData()) == 0; },
        {},
    };
    for (const auto &exchange : exchanges) {
        unlink(path.constData());
        Sandbox::WriteFile(QFile::decodeName(other), "theirs");
        PackFile file;
        file.Create(place);
        EXPECT_EQ(mode(), 0600U);
        file.Close();
        const bool isExchanged = exchange && exchange();
        EXPECT_EQ(ResultOf([&] { file.MakeRunnable(); }), isExchanged ? u"5 PackFile"_s : u"none"_s);
        EXPECT_TRUE(exchange || mode() == 0700);
        EXPECT_EQ(ResultOf([&] { file.Remove(); }), isExchanged ? u"5 PackFile"_s : u"none"_s);
    }
    umask(before);
}
