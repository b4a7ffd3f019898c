// SPDX-License-Identifier: Apache-2.0
#include "common/Registry.h"

#include "common/Common.h"
#include "tests/support/System.h"
#include "tests/support/Test.h"

using namespace Registry;

namespace {

const QString Key = u"Software\\Test\\Registry"_s;

class RegistryTest : public testing::Test {
protected:
    RegistryTest() { System::ForgetSettings(Key); }
};

// The number of an error is the thread's last one, which a call of the registry
// need not set.
template <class Operation> QString Result(Operation &&operation)
{
    Common::SetLastSystemError(2);
    return ResultOf(operation);
}

}

TEST_F(RegistryTest, ValuesOfEachType)
{
    const std::tuple<ValueType, QVariant, QVariant> rows[] = {
        { Text, u"J\u00FCrgen \u0416 \\ \""_s, u"J\u00FCrgen \u0416 \\ \""_s },
        { Text, u""_s, u""_s },
        { Text, QString(u"cut\0here"_s + QChar(0) + u"x"_s), u"cut"_s },
        { Text, QString(10'000, u'x'), QString(10'000, u'x') },
        { Binary, QByteArray("\1\0\xFF\2", 4), QByteArray("\1\0\xFF\2", 4) },
        { Binary, QByteArray(), QByteArray() },
        { Number, -2, -2 },
        { Number, 0x7FFFFFFF, 0x7FFFFFFF },
    };
    int i = 0;
    for (const auto &[kind, written, expected] : rows) {
        WriteValue(Key, u"Value"_s, written, kind, CurrentUser);
        qint32 type = 0;
        const QVariant read = ReadValue(CurrentUser, u"SOFTWARE\\test\\REGISTRY"_s, u"VALUE"_s, &type);
        EXPECT_EQ(read, expected) << i;
        EXPECT_EQ(read.typeId(), expected.typeId()) << i;
        EXPECT_EQ(type, kind) << i++;
    }
    EXPECT_EQ(Result([] { ReadValue(LocalMachine, Key, u"Value"_s); }), u"2 "_s) << "each hive for itself";
}

TEST_F(RegistryTest, WhatIsNotThere)
{
    EXPECT_EQ(Result([] { ReadValue(CurrentUser, Key, u"Value"_s); }), u"2 "_s) << "no key";
    EXPECT_EQ(Result([] { DeleteValue(Key, u"Value"_s, CurrentUser); }), u"2 "_s);
    WriteValue(Key, u"Other"_s, 1, Number, CurrentUser);
    qint32 type = -1;
    EXPECT_FALSE(ReadValue(CurrentUser, Key, u"Value"_s, &type).isValid()) << "no value";
    EXPECT_EQ(type, NoType);
    EXPECT_EQ(Result([] { DeleteValue(Key, u"Value"_s, CurrentUser); }), u"2 "_s);
    DeleteValue(Key, u"OTHER"_s, CurrentUser);
    EXPECT_FALSE(ReadValue(CurrentUser, Key, u"Other"_s).isValid()) << "the key stays";
    WriteValue(Key, u"Odd"_s, QByteArray("x"), static_cast<ValueType>(7), CurrentUser);
    EXPECT_FALSE(ReadValue(CurrentUser, Key, u"Odd"_s).isValid()) << "a type that is not handled";
    CheckRegistryResult(0);
}
