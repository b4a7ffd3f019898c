#include "common/Registry.h"

#include "tests/support/ExpectError.h"
#include "tests/support/Sandbox.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;
using namespace Registry;

namespace {

const QString Key = u"Software\\Test\\Registry"_s;

QString Folder()
{
    return Sandbox::Path(u"xdg_config_home/Practorium"_s);
}

QString OnlyFile()
{
    const QStringList files = QDir(Folder()).entryList(QDir::Files);
    EXPECT_EQ(files.size(), 1) << files.join(u' ').toStdString();
    return Folder() + u'/' + files.value(0);
}

struct stat Status(const QString &path)
{
    struct stat status = {};
    EXPECT_EQ(stat(QFile::encodeName(path).constData(), &status), 0);
    return status;
}

class RegistryTest : public testing::Test {
protected:
    RegistryTest() { QDir(Folder()).removeRecursively(); }
};

}

TEST_F(RegistryTest, ValuesOfEachType)
{
    struct Row { ValueType Type; QVariant Written, Read; };
    const Row rows[] = {
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
    for (const Row &row : rows) {
        WriteValue(Key, u"Value"_s, row.Written, row.Type, CurrentUser);
        qint32 type = 0;
        const QVariant read = ReadValue(CurrentUser, u"SOFTWARE\\test\\REGISTRY"_s, u"VALUE"_s, &type);
        EXPECT_EQ(read, row.Read) << i;
        EXPECT_EQ(read.typeId(), row.Read.typeId()) << i;
        EXPECT_EQ(type, row.Type) << i++;
    }
    EXPECT_EQ(ResultOf([] { ReadValue(LocalMachine, Key, u"Value"_s); }), u"2 "_s) << "each hive for itself";
}

TEST_F(RegistryTest, WhatIsNotThere)
{
    EXPECT_EQ(ResultOf([] { ReadValue(CurrentUser, Key, u"Value"_s); }), u"2 "_s) << "no key";
    EXPECT_EQ(ResultOf([] { DeleteValue(Key, u"Value"_s, CurrentUser); }), u"2 "_s);
    WriteValue(Key, u"Other"_s, 1, Number, CurrentUser);
    qint32 type = -1;
    EXPECT_FALSE(ReadValue(CurrentUser, Key, u"Value"_s, &type).isValid()) << "no value";
    EXPECT_EQ(type, NoType);
    EXPECT_EQ(ResultOf([] { DeleteValue(Key, u"Value"_s, CurrentUser); }), u"2 "_s);
    DeleteValue(Key, u"OTHER"_s, CurrentUser);
    EXPECT_FALSE(ReadValue(CurrentUser, Key, u"Other"_s).isValid()) << "the key stays";
    WriteValue(Key, u"Odd"_s, QByteArray("x"), static_cast<ValueType>(7), CurrentUser);
    EXPECT_FALSE(ReadValue(CurrentUser, Key, u"Odd"_s).isValid()) << "a type that is not handled";
}

TEST_F(RegistryTest, DescriptionOfAnError)
{
    try {
        ReadValue(CurrentUser, Key, u"Value"_s);
        FAIL();
    } catch (const Error &error) {
        EXPECT_TRUE(error.Description().startsWith(u"System Error: 0x2\r\n"_s)) << error.Description().toStdString();
    }
    CheckRegistryResult(0);
}

// The file is the user's alone, also where an older one was not, and is never
// rewritten in place.
TEST_F(RegistryTest, FileOfTheUser)
{
    const mode_t before = umask(0);
    WriteValue(Key, u"Value"_s, 1, Number, CurrentUser);
    const QString file = OnlyFile();
    EXPECT_EQ(Status(file).st_mode & 07777, 0600U);
    QFile::setPermissions(file, QFile::permissions(file) | QFile::ReadOther | QFile::ReadGroup);
    const QString second = file + u".keep"_s;
    ASSERT_EQ(link(QFile::encodeName(file).constData(), QFile::encodeName(second).constData()), 0);
    const ino_t node = Status(file).st_ino;
    const QByteArray bytes = Sandbox::ReadFile(second);
    WriteValue(Key, u"Value"_s, 2, Number, CurrentUser);
    umask(before);
    EXPECT_NE(Status(file).st_ino, node) << "a new file in place of the old one";
    EXPECT_EQ(Sandbox::ReadFile(second), bytes);
    EXPECT_EQ(Status(file).st_mode & 07777, 0600U);
}

TEST_F(RegistryTest, SpoiltFile)
{
    WriteValue(Key, u"Value"_s, 1, Number, CurrentUser);
    const QString file = OnlyFile();
    const QByteArray whole = Sandbox::ReadFile(file);
    for (const QByteArray &bytes : { QByteArray(), QByteArray("["), QByteArray("[1]"), QByteArray("\0\xFF{", 3), whole.left(whole.size() / 2) }) {
        Sandbox::WriteFile(file, bytes);
        EXPECT_EQ(ResultOf([] { ReadValue(CurrentUser, Key, u"Value"_s); }), u"2 "_s) << bytes.toStdString();
    }
    Sandbox::WriteFile(file, QByteArray(whole).replace("\"AQAAAA==\"", "\"AQ==\""));
    EXPECT_EQ(ReadValue(CurrentUser, Key, u"Value"_s), QVariant(0)) << "too few bytes for a number";
    WriteValue(Key, u"Value"_s, 3, Number, CurrentUser);
    EXPECT_EQ(ReadValue(CurrentUser, Key, u"Value"_s), QVariant(3));
}
