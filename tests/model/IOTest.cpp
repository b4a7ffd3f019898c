#include "model/IO.h"
#include "tests/support/ExpectError.h"
#include "tests/support/Sandbox.h"

#include <QDir>
#include <QFile>

#include <gmock/gmock.h>

#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

TEST(IOTest, FolderMacros)
{
    struct Row { const char *Macro; qint32 ID; };
    const Row rows[] = {
        { "DESKTOP", 0 }, { "PROGRAMSMENU", 2 }, { "MYDOCUMENTS", 5 }, { "FAVORITES", 6 }, { "STARTUP", 7 },
        { "RECENT", 8 }, { "SENDTO", 9 }, { "STARTMENU", 11 }, { "DESKTOPFOLDER", 16 }, { "NETWORK", 18 },
        { "NETHOOD", 19 }, { "FONTS", 20 }, { "TEMPLATES", 21 }, { "ALLUSERSSTARTMENU", 22 },
        { "ALLUSERSPROGRAMSMENU", 23 }, { "ALLUSERSSTARTUP", 24 }, { "ALLUSERSDESKTOP", 25 }, { "APPDATA", 26 },
        { "PRINTHOOD", 27 }, { "LOCALAPPDATA", 28 }, { "ALLUSERSFAVORITES", 31 }, { "INTERNETCACHE", 32 },
        { "COOKIES", 33 }, { "HISTORY", 34 }, { "ALLUSERSAPPDATA", 35 }, { "WINDOWS", 36 }, { "SYSTEM", 37 },
        { "PROGRAMFILES", 38 }, { "MYPICTURES", 39 }, { "PROFILE", 40 }, { "COMMONFILES", 43 },
        { "ALLUSERSTEMPLATES", 45 }, { "ALLUSERSDOCUMENTS", 46 }, { "ALLUSERSADMINTOOLS", 47 },
    };
    ASSERT_EQ(std::size(rows), 34U);
    for (const Row &row : rows) {
        const QString macro = u"$("_s + QLatin1String(row.Macro) + u')';
        EXPECT_EQ(IO::GetFolderID(macro), row.ID) << macro.toStdString();
        EXPECT_EQ(IO::GetFolderID(u"  "_s + macro.toLower() + u' '), row.ID) << macro.toStdString();
        EXPECT_EQ(IO::GetFolderID(macro + u"\\X"_s), 0) << macro.toStdString();
        EXPECT_TRUE(IO::GetSpecialFolder(macro).startsWith(u'/')) << macro.toStdString();
    }
    EXPECT_EQ(IO::GetSpecialFolder(u"$(ProgramFiles)"_s), Sandbox::Path(u"xdg_data_home"_s));
    EXPECT_EQ(IO::GetSpecialFolder(u"$(Profile)"_s), Sandbox::Path(u""_s).chopped(1));
    EXPECT_EQ(IO::GetSpecialFolder(u"$(NoSuch)"_s), IO::GetSpecialFolder(u"$(Desktop)"_s));
}

TEST(IOTest, PathsAndTheirParts)
{
    EXPECT_EQ(IO::CombinePath(u"/A "_s, u"B"_s), u"/A/B"_s);
    EXPECT_EQ(IO::CombinePath(u" A/"_s, u" B "_s), u"A/ B "_s);
    struct Row { QString Path, Folder, Name, Stripped, Extension, Changed; };
    const Row rows[] = {
        { u"/a/b.gif"_s, u"/a"_s, u"b.gif"_s, u"b"_s, u"gif"_s, u"/a/b.exam"_s },
        { u"X.Y.Z"_s, u""_s, u"X.Y.Z"_s, u"X.Y"_s, u"Z"_s, u"X.Y.exam"_s },
        { u"plain"_s, u""_s, u"plain"_s, u"plain"_s, u""_s, u"plain.exam"_s },
        { u"end."_s, u""_s, u"end."_s, u"end"_s, u""_s, u"end.exam"_s },
        // The last dot of the whole path counts, wherever it stands.
        { u"/a.b/c"_s, u"/a.b"_s, u"c"_s, u"c"_s, u"b/c"_s, u"/a.exam"_s },
        { u" a.gif "_s, u""_s, u" a.gif "_s, u" a"_s, u"gif"_s, u" a.exam"_s },
        { u""_s, u""_s, u""_s, u""_s, u""_s, u".exam"_s },
    };
    for (const Row &row : rows) {
        EXPECT_EQ(IO::GetFolder(row.Path), row.Folder) << row.Path.toStdString();
        EXPECT_EQ(IO::GetFileName(row.Path, false), row.Name) << row.Path.toStdString();
        EXPECT_EQ(IO::GetFileName(row.Path, true), row.Stripped) << row.Path.toStdString();
        EXPECT_EQ(IO::GetExtension(row.Path), row.Extension) << row.Path.toStdString();
        for (const QString &extension : { u"exam"_s, u".exam"_s }) {
            QString path = row.Path;
            EXPECT_EQ(IO::ChangeExtension(path, extension), row.Changed) << row.Path.toStdString();
        }
    }
}

TEST(IOTest, FileExists)
{
    Sandbox::WriteFile(Sandbox::Path(u"exists/[1] a?b.exam"_s), "");
    Sandbox::WriteFile(Sandbox::Path(u"exists/plain"_s), "");
    ASSERT_EQ(symlink("nowhere", qPrintable(Sandbox::Path(u"exists/dangling"_s))), 0);
    struct Row { QString Name; bool Expected; };
    const Row rows[] = {
        { u"exists"_s, true }, { u"exists/plain"_s, true }, { u"exists/dangling"_s, true }, { u"exists/PLAINER"_s, false },
        { u"exists/[1] a?b.exam"_s, true }, { u"exists/[1]*"_s, true }, { u"exists/[1*]"_s, false }, { u"exists/[pq]lain*"_s, false },
        { u"exists/*.exam"_s, true }, { u"exists/*.gif"_s, false }, { u"exists/pl?in"_s, true }, { u"exists/plai?n"_s, false },
        { u"exists/*"_s, true }, { u"*ists"_s, true }, { u"missing/*"_s, false }, { u""_s, false },
    };
    for (const Row &row : rows)
        EXPECT_EQ(IO::FileExists(row.Name), row.Expected) << row.Name.toStdString();
    EXPECT_TRUE(IO::FileExists(Sandbox::Path(u"exists/*"_s)));
}

TEST(IOTest, GetSubFolders)
{
    const QString folder = Sandbox::Path(u"sub"_s);
    QDir().mkpath(folder + u"/one"_s);
    QDir().mkpath(folder + u"/.two"_s);
    Sandbox::WriteFile(folder + u"/file"_s, "");
    ASSERT_EQ(symlink("one", qPrintable(folder + u"/link"_s)), 0);
    ASSERT_EQ(symlink("file", qPrintable(folder + u"/no folder"_s)), 0);
    EXPECT_THAT(IO::GetSubFolders(folder), testing::UnorderedElementsAre(u"."_s, u".."_s, u"one"_s, u".two"_s, u"link"_s));
    EXPECT_EQ(IO::GetSubFolders(folder + u"/missing"_s), QStringList());
    EXPECT_EQ(IO::GetSubFolders(folder + u"/file"_s), QStringList());
    EXPECT_EQ(IO::GetTempFolder(), Sandbox::Path(u"tmpdir"_s));
}

TEST(IOTest, FormatSize)
{
    struct Row { double Size; qint16 Decimals; QString Expected; };
    const Row rows[] = {
        { 0, 2, u"0 bytes"_s }, { 512, 0, u"512 bytes"_s }, { 1023, 2, u"1,023 bytes"_s }, { 1024, 0, u"1 KB"_s },
        { 1536, 1, u"1.5 KB"_s }, { 1'000'000, 2, u"976.56 KB"_s }, { 1'023'999, 1, u"1,000.0 KB"_s },
        { 1'024'000, 2, u"0.98 MB"_s }, { 1'023'999'999, 0, u"977 MB"_s }, { 1'024'000'000, 2, u"0.95 GB"_s },
        { 1.024e12, 2, u"0.93 TB"_s }, { 1.024e15, 2, u"0.91 PB"_s }, { 1.024e18, 2, u"0.89 EB"_s },
        { 1e24, 0, u"867,362 EB"_s }, { -5000, 1, u"-5,000 bytes"_s },
    };
    for (const Row &row : rows)
        EXPECT_EQ(IO::FormatSize(row.Size, row.Decimals), row.Expected) << row.Size;
}
