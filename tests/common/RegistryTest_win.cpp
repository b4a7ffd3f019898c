// SPDX-License-Identifier: Apache-2.0
#include "common/Registry.h"

#include "tests/support/Test.h"

#include <windows.h>

using namespace Registry;

// A value of another program, and one without the NUL that belongs to it.
TEST(RegistrySystemTest, OddValues)
{
    const QString path = u"Software\\Test\\Registry"_s;
    WriteValue(path, u"Text"_s, u"x"_s, Text, CurrentUser);
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\Test\\Registry", 0, KEY_ALL_ACCESS, &key), ERROR_SUCCESS);
    RegSetValueExW(key, L"Text", 0, REG_SZ, reinterpret_cast<const BYTE *>(L"open end"), 8 * sizeof(wchar_t));
    RegSetValueExW(key, L"Short", 0, REG_DWORD, reinterpret_cast<const BYTE *>("\1"), 1);
    RegSetValueExW(key, L"List", 0, REG_MULTI_SZ, reinterpret_cast<const BYTE *>(L"a\0"), 3 * sizeof(wchar_t));
    RegCloseKey(key);
    EXPECT_EQ(ReadValue(CurrentUser, path, u"Text"_s), QVariant(u"open end"_s));
    EXPECT_EQ(ReadValue(CurrentUser, path, u"Short"_s), QVariant(0));
    qint32 type = 0;
    EXPECT_FALSE(ReadValue(CurrentUser, path, u"List"_s, &type).isValid());
    EXPECT_EQ(type, qint32(REG_MULTI_SZ));
}
