// SPDX-License-Identifier: Apache-2.0
#include "model/Globals.h"
#include "tests/support/Sandbox.h"
#include "tests/support/Test.h"

#include <QDir>

TEST(SharedExamsTest, TheUsersOwnComeFirst)
{
    QDir(Sandbox::ExamsFolder()).removeRecursively();
    const QString own = Globals::ExamsFolder();
    const QString first = Sandbox::Path(u"first"_s);
    const QString second = Sandbox::Path(u"second"_s);
    const QString exams = u"/Practorium/Exams/"_s;
    const auto install = [](const QString &folder) {
        const QString path = folder + u'/' + folder.section(u'/', -1) + u".exam"_s;
        Sandbox::WriteFile(path, "");
        return path;
    };
    QStringList expected = { install(own + u"/mine"_s), install(first + exams + u"half"_s), install(second + exams + u"B"_s) };
    QDir().mkpath(own + u"/half"_s); // without an exam
    install(first + exams + u"mine"_s);
    install(second + exams + u"half"_s);
    install(Sandbox::Path(u"relative"_s) + exams + u"C"_s);

    const QByteArray before = qgetenv("XDG_DATA_DIRS");
    qputenv("XDG_DATA_DIRS", (first + u":relative:"_s + second + u"::/nowhere"_s).toLocal8Bit());
    EXPECT_EQ(Globals::GetInstalledExams(), expected);
    EXPECT_EQ(Globals::ExamsFolder(), own);
    qputenv("XDG_DATA_DIRS", before);
}
