// SPDX-License-Identifier: Apache-2.0
#include "model/IO.h"
#include "tests/support/System.h"
#include "tests/support/Test.h"

TEST(IOTest, FolderMacros)
{
    // The numbers that the Windows shell gives its folders (CSIDL).
    const QStringList numbers
        = u"DESKTOP 0 PROGRAMSMENU 2 MYDOCUMENTS 5 FAVORITES 6 STARTUP 7 RECENT 8 SENDTO 9 STARTMENU 11 "
          "DESKTOPFOLDER 16 NETWORK 18 NETHOOD 19 FONTS 20 TEMPLATES 21 ALLUSERSSTARTMENU 22 "
          "ALLUSERSPROGRAMSMENU 23 ALLUSERSSTARTUP 24 ALLUSERSDESKTOP 25 APPDATA 26 PRINTHOOD 27 LOCALAPPDATA "
          "28 ALLUSERSFAVORITES 31 INTERNETCACHE 32 COOKIES 33 HISTORY 34 ALLUSERSAPPDATA 35 WINDOWS 36 SYSTEM "
          "37 PROGRAMFILES 38 MYPICTURES 39 PROFILE 40 COMMONFILES 43 ALLUSERSTEMPLATES 45 ALLUSERSDOCUMENTS 46 "
          "ALLUSERSADMINTOOLS 47"_s.split(u' ');
    for (qsizetype i = 0; i < numbers.size(); i += 2)
        EXPECT_EQ(IO::GetFolderID(u"$("_s + numbers[i] + u')'), numbers[i + 1].toInt()) << numbers[i].toStdString();
    EXPECT_EQ(IO::GetFolderID(u"  $(AllUsersStartup) "_s), 24);
    EXPECT_EQ(IO::GetFolderID(u"$(DESKTOPFOLDER)\\X"_s), 0);
    EXPECT_EQ(IO::GetSpecialFolder(u"$(ProgramFiles)"_s), System::ProgramFiles());
    EXPECT_EQ(IO::GetSpecialFolder(u"$(NoSuch)"_s), IO::GetSpecialFolder(u"$(Desktop)"_s));
}

TEST(IOTest, PathsAndTheirParts)
{
    const auto native = [](const QString &path) { return QDir::toNativeSeparators(path); };
    EXPECT_EQ(IO::CombinePath(native(u" A/"_s), u" B "_s), native(u"A/ B "_s));
    const struct {
        QString Path, Folder, Stripped, Extension, Changed;
    } rows[] = {
        { u"/a/b.gif"_s, u"/a"_s, u"b"_s, u"gif"_s, u"/a/b.exam"_s },
        { u"X.Y.Z"_s, u""_s, u"X.Y"_s, u"Z"_s, u"X.Y.exam"_s },
        { u"plain"_s, u""_s, u"plain"_s, u""_s, u"plain.exam"_s },
        { u"/a/.gif"_s, u"/a"_s, u""_s, u"gif"_s, u"/a/.exam"_s },
        // The last dot of the whole path counts, wherever it stands.
        { u"/a.b/c"_s, u"/a.b"_s, u"c"_s, u"b/c"_s, u"/a.exam"_s },
    };
    for (const auto &row : rows) {
        const QString path = native(row.Path);
        EXPECT_EQ(IO::GetFolder(path), native(row.Folder)) << row.Path.toStdString();
        EXPECT_EQ(IO::GetFileName(path, true), row.Stripped) << row.Path.toStdString();
        EXPECT_EQ(IO::GetExtension(path), native(row.Extension)) << row.Path.toStdString();
        QString changed = path;
        EXPECT_EQ(IO::ChangeExtension(changed, u".exam"_s), native(row.Changed)) << row.Path.toStdString();
        EXPECT_EQ(IO::ChangeExtension(changed, u"..exam"_s), native(row.Changed)) << row.Path.toStdString();
    }
}

TEST(IOTest, TempAndSubFolders)
{
    EXPECT_EQ(QDir(IO::GetTempFolder()), QDir(QDir::tempPath()));
    for (const QString &name : { u"one"_s, u"Two \u65E5"_s })
        QDir().mkpath(u"sub/"_s + name);
    QStringList names = IO::GetSubFolders(Sandbox::Path(u"sub"_s));
    names.sort();
    EXPECT_EQ(names, (QStringList{ u"."_s, u".."_s, u"Two \u65E5"_s, u"one"_s }));
    EXPECT_EQ(IO::GetSubFolders(Sandbox::Path(u"no such"_s)), QStringList());
}

TEST(IOTest, FileExists)
{
    Sandbox::WriteFile(Sandbox::Path(u"exists/[1] axb.exam"_s), "");
    Sandbox::WriteFile(Sandbox::Path(u"exists/plain"_s), "");
    const bool hasLink = System::MakeLink(u"nowhere"_s, Sandbox::Path(u"exists/dangling"_s));
    const std::pair<QString, bool> rows[] = {
        { u"exists"_s, true },          { u"exists/dangling"_s, hasLink },
        { u"exists/PLAINER"_s, false }, { u"exists/[1] a?b.exam"_s, true },
        { u"exists/[1]*"_s, true },     { u"exists/[pq]lain*"_s, false },
        { u"exists/*.exam"_s, true },   { u"exists/*.gif"_s, false },
        { u"exists/pl?in"_s, true },    { u"exists/plai?n"_s, false },
        { u"missing/*"_s, false },      { u""_s, false },
    };
    for (const auto &[name, expected] : rows)
        EXPECT_EQ(IO::FileExists(QDir::toNativeSeparators(name)), expected) << name.toStdString();
}

TEST(IOTest, FormatSize)
{
    const std::tuple<double, qint16, QString> rows[] = {
        { 1023, 2, u"1,023 bytes"_s },      { 1024, 0, u"1 KB"_s },
        { 1'000'000, 2, u"976.56 KB"_s },   { 1'024'000, 2, u"0.98 MB"_s },
        { 1'024'000'000, 2, u"0.95 GB"_s }, { 1e24, 0, u"867,362 EB"_s },
        { -5000, 1, u"-5,000 bytes"_s },
    };
    for (const auto &[size, decimals, expected] : rows)
        EXPECT_EQ(IO::FormatSize(size, decimals), expected) << size;
}
