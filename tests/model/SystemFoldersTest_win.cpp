// SPDX-License-Identifier: Apache-2.0
#include "model/IO.h"
#include "packformat/MoveLock_win.h"
#include "tests/support/Test.h"

#include <thread>

TEST(SystemFoldersTest, MacrosAndWhatTheSystemSays)
{
    const auto variable = [](const char *name) { return qEnvironmentVariable(name); };
    const std::pair<QString, QString> rows[] = {
        { u"$(PROGRAMFILES)"_s, variable("ProgramFiles") },
        { u"$(SYSTEM)"_s, variable("SystemRoot") + u"\\system32"_s },
        { u"$(APPDATA)"_s, variable("APPDATA") },
        { u"$(PROFILE)"_s, variable("USERPROFILE") },
        // These are places of the shell and no folders.
        { u"$(NETWORK)"_s, u""_s },
    };
    for (const auto &[macro, folder] : rows)
        EXPECT_EQ(IO::GetSpecialFolder(macro).toLower(), folder.toLower()) << macro.toStdString();
}

// A run that is alive moves back itself what it has kept.
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
