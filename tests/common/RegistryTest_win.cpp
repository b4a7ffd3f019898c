// SPDX-License-Identifier: Apache-2.0
#include "common/Registry.h"

#include "common/Common.h"
#include "tests/support/System.h"
#include "tests/support/Test.h"

#include <QProcess>

#include <windows.h>

using namespace Registry;

namespace {

const QString Key = u"Software\\Test\\Registry"_s;

// What the system's own tool shows of a value: its type and its content.
QString Shown(const QString &name)
{
    QProcess tool;
    tool.start(u"reg"_s, { u"query"_s, u"HKCU\\"_s + Key, u"/v"_s, name });
    EXPECT_TRUE(tool.waitForFinished());
    const QString text = QString::fromLocal8Bit(tool.readAllStandardOutput()).simplified();
    return tool.exitCode() == 0 ? text.section(name + u' ', 1) : u"nothing"_s;
}

}

TEST(RegistrySystemTest, WhatTheSystemsOwnToolSees)
{
    System::ForgetSettings(Key);
    struct Row {
        QString Name;
        ValueType Type;
        QVariant Value;
        QString Shown;
    };
    const Row rows[] = {
        { u"Name"_s, Text, u"A text"_s, u"REG_SZ A text"_s },
        { u"Bytes"_s, Binary, QByteArray("\1\xAB\0\xFF", 4), u"REG_BINARY 01AB00FF"_s },
        { u"Count"_s, Number, 0x1234, u"REG_DWORD 0x1234"_s },
        { u"Negative"_s, Number, -1, u"REG_DWORD 0xffffffff"_s },
    };
    for (const Row &row : rows) {
        EXPECT_EQ(Shown(row.Name), u"nothing"_s);
        WriteValue(Key, row.Name, row.Value, row.Type, CurrentUser);
        EXPECT_EQ(Shown(row.Name), row.Shown);
        DeleteValue(Key, row.Name, CurrentUser);
        EXPECT_EQ(Shown(row.Name), u"nothing"_s);
    }
}

// A value of another program, and one without the NUL that belongs to it.
TEST(RegistrySystemTest, OddValues)
{
    WriteValue(Key, u"Text"_s, u"x"_s, Text, CurrentUser);
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\Test\\Registry", 0, KEY_ALL_ACCESS, &key), ERROR_SUCCESS);
    RegSetValueExW(key, L"Text", 0, REG_SZ, reinterpret_cast<const BYTE *>(L"open end"), 8 * sizeof(wchar_t));
    RegSetValueExW(key, L"Short", 0, REG_DWORD, reinterpret_cast<const BYTE *>("\1"), 1);
    RegSetValueExW(key, L"List", 0, REG_MULTI_SZ, reinterpret_cast<const BYTE *>(L"a\0"), 3 * sizeof(wchar_t));
    RegCloseKey(key);
    EXPECT_EQ(ReadValue(CurrentUser, Key, u"Text"_s), QVariant(u"open end"_s));
    EXPECT_EQ(ReadValue(CurrentUser, Key, u"Short"_s), QVariant(0));
    qint32 type = 0;
    EXPECT_FALSE(ReadValue(CurrentUser, Key, u"List"_s, &type).isValid());
    EXPECT_EQ(type, qint32(REG_MULTI_SZ));
}
