// SPDX-License-Identifier: Apache-2.0
#include "download/PackFile.h"

#include "tests/download/RunFixture.h"

#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using PackFileTest = RunTest;

}

TEST_F(PackFileTest, LinksAndOtherUsers)
{
    const QString place = TempFile(u"101.exe"_s);
    const QString folder = QFileInfo(place).path();
    const QByteArray folderPath = QFile::encodeName(folder);
    const QString sandbox = Sandbox::Path(u""_s).chopped(1);
    const QString victim = Sandbox::Path(u"victim"_s);
    Sandbox::WriteFile(victim, "mine");
    constexpr uid_t Nobody = 65534;
    const auto set = [](const QString &path, mode_t mode, uid_t owner = geteuid()) {
        const QByteArray name = QFile::encodeName(path);
        EXPECT_TRUE(chmod(name.constData(), mode) == 0 && (chown(name.constData(), owner, owner) == 0 || geteuid() != 0));
    };
    // Only the superuser can have such a disk, in a system of this thread's own.
    const auto mountNoexec = [&] { return mount("tmpfs", folderPath.constData(), "tmpfs", MS_NOEXEC, "mode=0700") == 0; };
    const bool canMount = unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0
        && mountNoexec() && umount(folderPath.constData()) == 0;
    const QString installed = u"run, installed, "_s;
    const QString shared = u"stays, Other users can exchange files in "_s;
    const struct {
        const char *Name;
        std::function<void()> Prepare;
        QString Outcome;
    } rows[] = {
        { "a link to a file", [&] { QFile::link(victim, place); }, u"stays, File exists"_s },
        { "a link to nothing", [&] { QFile::link(u"nothing"_s, place); }, u"stays, File exists"_s },
        { "another user's file",
          [&] {
              Sandbox::WriteFile(place, "theirs");
              set(place, 0600, Nobody);
          },
          geteuid() == 0 ? u"stays, File exists"_s : installed },
        { "a folder in which all may rename", [&] { set(folder, 0777); }, shared + folder },
        { "one in which a group may", [&] { set(folder, 0770); }, shared + folder },
        { "the same with the sticky bit", [&] { set(folder, 01777); }, installed },
        { "a folder of another user's", [&] { set(folder, 01777, Nobody); }, geteuid() == 0 ? shared + folder : installed },
        { "a link to the folder", [&] { qputenv("TMPDIR", "linked"); }, installed },
        { "below a folder in which all may rename", [&] { set(sandbox, 0777); }, shared + sandbox },
        { "a disk that runs no programs", [&] { EXPECT_TRUE(!canMount || mountNoexec()); },
          canMount ? u"stays, No program can be run from the disk that it is on (noexec)"_s : installed },
        { "no program", [&] { On("eid=", Reply::Whole("text")); },
          u"stays, Unable to execute command \"%1\": Exec format error"_s.arg(place) },
    };
    QFile::link(folder, u"linked"_s);
    for (const auto &[name, prepare, outcome] : rows) {
        prepare();
        EXPECT_EQ(Outcome(), outcome) << name;
        QFile::remove(place);
        qputenv("TMPDIR", folderPath);
        umount(folderPath.constData());
        set(sandbox, 0700);
        set(folder, 0700);
    }
    EXPECT_EQ(Sandbox::ReadFile(victim), "mine");
    EXPECT_FALSE(QFile::exists(TempFile(u"nothing"_s)));
}

// Only the file that was created becomes a program, and only for this user.
TEST_F(PackFileTest, ExchangedBeforeItIsRun)
{
    const QString place = TempFile(u"own.exe"_s);
    const QString other = TempFile(u"other"_s);
    const auto mode = [&] { return int(QFile::permissions(place)) & 0x7077; }; // of owner, group and all
    const std::pair<const char *, std::function<bool()>> exchanges[] = {
        { "a second name",
          [&] { return link(QFile::encodeName(place).constData(), QFile::encodeName(other + u'2').constData()) == 0; } },
        { "a link to it", [&] { return QFile::rename(place, other + u'3') && QFile::link(other + u'3', place); } },
        { "nothing", [&] { return QFile::remove(place); } },
        { nullptr, {} },
    };
    const mode_t before = umask(0);
    for (const auto &[name, exchange] : exchanges) {
        QFile::remove(place);
        PackFile file;
        file.Create(place);
        EXPECT_EQ(mode(), 0x6000);
        file.Close();
        ASSERT_TRUE(!exchange || exchange()) << name;
        const QString result = exchange ? u"5 PackFile"_s : u"none"_s;
        EXPECT_EQ(ResultOf([&] { file.MakeRunnable(); }), result);
        EXPECT_TRUE(exchange || mode() == 0x7000);
        EXPECT_EQ(ResultOf([&] { file.Remove(); }), result);
    }
    umask(before);
}
