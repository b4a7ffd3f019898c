#include "tests/download/DownloadFixture.h"

#include <sys/stat.h>
#include <unistd.h>

using namespace Download;

namespace {

using PackPlacesTest = DownloadTest;

}

// What stands in the temporary folder under the pack's name.
TEST_F(PackPlacesTest, PlacesOfPacks)
{
    const QString place = TempFile(u"101.exe"_s);
    const QString victim = Sandbox::Path(u"victim"_s);
    Sandbox::WriteFile(victim, "mine");
    const QByteArray folder = QFile::encodeName(QFileInfo(place).path());
    const QString linked = Sandbox::Path(u"linked"_s);
    const struct { const char *Name; std::function<void()> Prepare; bool IsRun; bool Stays; } rows[] = {
        { "an old pack", [&] { Sandbox::WriteFile(place, QByteArray(100'000, 'o')); }, true, false },
        { "a link to a file", [&] { QFile::link(victim, place); }, false, true },
        { "a link to nothing", [&] { QFile::link(Sandbox::Path(u"nothing"_s), place); }, false, true },
        { "a folder", [&] { QDir().mkpath(place); }, false, true },
        { "another user's file", [&] {
             Sandbox::WriteFile(place, "theirs");
             ASSERT_TRUE(chown(QFile::encodeName(place).constData(), 65534, 65534) == 0 || geteuid() != 0);
         }, geteuid() != 0, geteuid() == 0 },
        { "a folder in which all may rename", [&] { chmod(folder.constData(), 0777); }, false, true },
        { "the same with the sticky bit", [&] { chmod(folder.constData(), 01777); }, true, false },
        { "a folder of another user's", [&] {
             ASSERT_EQ(chmod(folder.constData(), 01777), 0);
             ASSERT_TRUE(chown(folder.constData(), 65534, 65534) == 0 || geteuid() != 0);
         }, geteuid() != 0, geteuid() == 0 },
        { "a link to the folder", [&] {
             EXPECT_TRUE(QFile::link(QFile::decodeName(folder), linked));
             qputenv("TMPDIR", QFile::encodeName(linked));
         }, true, false },
        { "below a folder in which all may rename", [&] {
             ASSERT_EQ(chmod(QFile::encodeName(Sandbox::Path(u""_s)).constData(), 0777), 0);
         }, false, true },
        { "a pack that removes itself", [&] { Server.On("eid=", Answer::Whole(FakePack{ "pack", {}, {}, true }.Bytes())); }, true, false },
    };
    for (const auto &row : rows) {
        QFile::remove(place);
        QDir(place).removeRecursively();
        row.Prepare();
        const bool isGone = qstrcmp(row.Name, "a pack that removes itself") == 0;
        EXPECT_EQ(Run(), row.IsRun && !isGone ? u""_s : Failed(u"101"_s)) << row.Name;
        EXPECT_EQ(WasRun(u"pack"_s), row.IsRun) << row.Name;
        EXPECT_EQ(QFileInfo(place).exists() || QFileInfo(place).isSymLink(), row.Stays) << row.Name;
        EXPECT_EQ(Status(), u"Completed"_s) << row.Name;
        QFile::remove(Sandbox::Path(u"mark-pack"_s));
        qputenv("TMPDIR", folder);
        chmod(QFile::encodeName(Sandbox::Path(u""_s)).constData(), 0700);
        EXPECT_TRUE(chown(folder.constData(), geteuid(), getegid()) == 0 && chmod(folder.constData(), 0700) == 0);
    }
    EXPECT_EQ(Sandbox::ReadFile(victim), "mine");
    EXPECT_FALSE(QFile::exists(Sandbox::Path(u"nothing"_s)));
}
