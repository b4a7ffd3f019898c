// SPDX-License-Identifier: Apache-2.0
#include "shell/SystemInformation.h"
#include "tests/support/Program.h"
#include "tests/support/System.h"
#include "tests/support/Test.h"

TEST(SystemInformationTest, GetKeyValue)
{
    const QString key = u"Software\\Test"_s;
    const struct {
        Registry::ValueType Type;
        QVariant Written;
        bool IsFound;
        QString Text;
    } rows[] = {
        { Registry::Text, u"C:\\tool.exe"_s, true, u"C:\\tool.exe"_s },
        { Registry::Text, QString(1023, u'x'), true, QString(1023, u'x') },
        { Registry::Text, QString(1024, u'x'), false, u""_s },
        { Registry::Number, 0x12345678, true, u"305419896"_s },
        // Each byte without its leading zeros: 1, 2, 3, 4 reads as 1234.
        { Registry::Number, 0x01020304, true, u"4660"_s },
        { Registry::Number, 0x00000100, true, u"16"_s },
        { Registry::Binary, QByteArray("x"), true, u""_s },
    };
    const auto read = [](const QString &subKey, const QString &name) {
        QString text = u"before"_s;
        return std::pair(GetKeyValue(Registry::LocalMachine, subKey, name, text), text);
    };
    for (const auto &row : rows) {
        Registry::WriteValue(key, u"V"_s, row.Written, row.Type, Registry::LocalMachine);
        EXPECT_EQ(read(key, u"V"_s), std::pair(row.IsFound, row.Text)) << row.Written.toString().toStdString();
    }
    EXPECT_EQ(read(key, u"W"_s), std::pair(false, u""_s));
    EXPECT_EQ(read(u"None"_s, u"V"_s), std::pair(false, u""_s));
}

// The first place that names one counts; in the second stands the folder alone.
TEST(SystemInformationTest, StartsTheToolOfTheSystem)
{
    if (System::RunsByName)
        GTEST_SKIP() << "the registry of that system is not a test's own";
    const QString key = u"SOFTWARE\\Microsoft\\Shared Tools"_s;
    const std::tuple<QString, QString, QString> places[]
        = { { key + u" Location"_s, u"MSINFO"_s, u"/tools"_s }, { key + u"\\MSINFO"_s, u"PATH"_s, u"/first"_s } };
    for (const auto &[place, name, path] : places) {
        const QString tool = Sandbox::Path(path) + (name == u"PATH"_s ? u""_s : u"\\MSINFO32.EXE"_s), mark = tool + u".ran"_s;
        Registry::WriteValue(place, name, Sandbox::Path(path), Registry::Text, Registry::LocalMachine);
        EXPECT_FALSE(StartSystemInformationTool());
        Sandbox::WriteFile(tool, "#!/bin/sh\n: > \"$0.ran\"\n");
        QFile::setPermissions(tool, QFile::ReadOwner | QFile::ExeOwner);
        EXPECT_TRUE(StartSystemInformationTool());
        Await([&] { return QFile::exists(mark); });
    }
}
