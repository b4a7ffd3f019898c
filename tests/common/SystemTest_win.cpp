// SPDX-License-Identifier: Apache-2.0
#include "common/Common.h"
#include "tests/support/Test.h"

#include <windows.h>

using namespace Common;

TEST(SystemTest, SystemErrors)
{
    const QString text = SystemErrorText(ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(text.size(), 256);
    EXPECT_TRUE(ShownText(text).endsWith(u".\r\n"_s)) << text.toStdString();
    EXPECT_EQ(text.count(QChar(u'\0')), 256 - ShownText(text).size()) << "nothing but NULs behind it";
    SetLastSystemError(ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(ResultOf([] { CheckApiResult(true); }), u"none"_s);
    // No system has messages of programs' own numbers.
    constexpr qint32 ofNobody = 0x2000ABCD;
    EXPECT_EQ(SystemErrorText(ofNobody), u"Unknown error"_s);
    struct Row {
        qint32 Code;
        QString Start;
    };
    for (const Row &row : { Row{ ERROR_DIR_NOT_EMPTY, u"System Error: 0x91\r\n"_s }, Row{ 2250, u"System Error: 0x8CA\r\n"_s },
                            Row{ ofNobody, u"System Error: 0x2000ABCD\r\nUnknown error"_s },
                            Row{ qint32(0x80090008), u"System Error: 0x80090008\r\n"_s } }) {
        SetLastSystemError(row.Code);
        try {
            CheckApiResult(false);
            FAIL() << row.Code;
        } catch (const Error &error) {
            EXPECT_EQ(error.Number(), row.Code);
            EXPECT_TRUE(error.Description().startsWith(row.Start)) << error.what();
            EXPECT_GT(ShownText(error.Description()).size(), row.Start.indexOf(u'\n') + 1) << "a text behind the number";
        }
    }
}

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
