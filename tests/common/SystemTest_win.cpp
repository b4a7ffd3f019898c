// SPDX-License-Identifier: Apache-2.0
#include "common/Common.h"
#include "tests/support/Test.h"

using namespace Common;

TEST(SystemTest, SyncShell)
{
    const QString pack = Sandbox::Path(u"a pack.exe"_s);
    ASSERT_TRUE(QFile::copy(qEnvironmentVariable("ComSpec"), pack));
    Sandbox::WriteFile(Sandbox::Path(u"text.exe"_s), "no program");
    const QString failed = u"5 SyncShell()"_s;
    struct Row {
        QString Command, Result;
    };
    const Row rows[] = {
        { u"cmd /c exit 0"_s, u"0"_s },
        { u"cmd.exe /c exit 200"_s, u"200"_s },
        { u"cmd /c exit -1"_s, u"-1"_s },
        { u'"' + pack + u"\" /c exit 3"_s, u"3"_s },
        { u"C:\\no\\such\\program.exe -x"_s, failed },
        { u"  "_s, failed },
        { u"C:\\windows"_s, failed },
        { Sandbox::Path(u"text.exe"_s), failed },
        // It waits: what the command did is there.
        { u"cmd /c echo done>"_s + Sandbox::Path(u"done.txt"_s), u"0"_s },
    };
    for (const Row &row : rows)
        EXPECT_EQ(ResultOf([&] { return SyncShell(row.Command); }), row.Result) << row.Command.toStdString();
    EXPECT_EQ(Sandbox::ReadFile(Sandbox::Path(u"done.txt"_s)).trimmed(), "done");
    try {
        SyncShell(u"Z:\\no -x"_s);
        FAIL();
    } catch (const Error &error) {
        EXPECT_EQ(error.Description(), u"Unable to execute command Z:\\no -x"_s);
    }
}
