// SPDX-License-Identifier: Apache-2.0
#include "model/IO.h"
#include "packformat/MoveLock_win.h"
#include "tests/support/Test.h"

#include <thread>

TEST(SystemFoldersTest, MacrosAndWhatTheSystemSays)
{
    const auto variable = [](const char *name) { return qEnvironmentVariable(name); };
    const struct {
        QString Macro, Folder;
    } rows[] = {
        { u"$(PROGRAMFILES)"_s, variable("ProgramFiles") },
        { u"$(COMMONFILES)"_s, variable("CommonProgramFiles") },
        { u"$(WINDOWS)"_s, variable("SystemRoot") },
        { u"$(SYSTEM)"_s, variable("SystemRoot") + u"\\system32"_s },
        { u"$(APPDATA)"_s, variable("APPDATA") },
        { u"$(LOCALAPPDATA)"_s, variable("LOCALAPPDATA") },
        { u"$(ALLUSERSAPPDATA)"_s, variable("ProgramData") },
        { u"$(PROFILE)"_s, variable("USERPROFILE") },
        { u"$(FONTS)"_s, variable("SystemRoot") + u"\\Fonts"_s },
        { u"$(DESKTOPFOLDER)"_s, variable("USERPROFILE") + u"\\Desktop"_s },
        // These are places of the shell and no folders.
        { u"$(NETWORK)"_s, u""_s },
    };
    for (const auto &row : rows)
        EXPECT_EQ(IO::GetSpecialFolder(row.Macro).toLower(), row.Folder.toLower()) << row.Macro.toStdString();
    for (const QString &name :
         { u"PROGRAMSMENU"_s, u"NETHOOD"_s, u"TEMPLATES"_s, u"ALLUSERSSTARTMENU"_s, u"COOKIES"_s, u"DESKTOP"_s })
        EXPECT_TRUE(QFileInfo(IO::GetSpecialFolder(u"$("_s + name + u')')).isAbsolute()) << name.toStdString();
}

TEST(SystemFoldersTest, TempAndSubFolders)
{
    EXPECT_EQ(QDir(IO::GetTempFolder()), QDir(QDir::tempPath()));
    EXPECT_TRUE(IO::GetTempFolder().endsWith(u'\\'));
    QDir().mkpath(u"sub/one"_s);
    QDir().mkpath(u"sub/Two \u65E5"_s);
    QStringList names = IO::GetSubFolders(QDir::toNativeSeparators(QDir::current().filePath(u"sub"_s)));
    names.sort();
    EXPECT_EQ(names, (QStringList{ u"."_s, u".."_s, u"Two \u65E5"_s, u"one"_s }));
    EXPECT_EQ(IO::GetSubFolders(u"C:\\no such"_s), QStringList());
}

// A run that is alive puts back itself what it has put aside.
TEST(SystemFoldersTest, NoExamMovesWhileAPackMovesThem)
{
    const QString exams = Sandbox::ExamsFolder();
    Sandbox::WriteFile(exams + u"/.practorium-kept-X/X.exam"_s, "");
    {
        const MoveLock lock(0);
        ASSERT_TRUE(lock.IsHeld());
        std::thread([] { Globals::PutBackExams(); }).join();
        EXPECT_FALSE(QFileInfo::exists(exams + u"/X"_s));
    }
    std::thread([] { Globals::PutBackExams(); }).join();
    EXPECT_TRUE(QFileInfo::exists(exams + u"/X/X.exam"_s));
    EXPECT_FALSE(QFileInfo::exists(exams + u"/.practorium-kept-X"_s));
}
