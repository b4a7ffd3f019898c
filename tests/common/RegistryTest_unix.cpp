#include "common/Registry.h"

#include "tests/support/System.h"
#include "tests/support/Test.h"

#include <sys/stat.h>
#include <unistd.h>

using namespace Registry;

namespace {

const QString Key = u"Software\\Test\\Registry"_s;

QString OnlyFile()
{
    const QString folder = Sandbox::Path(u"xdg_config_home/Practorium"_s);
    const QStringList files = QDir(folder).entryList(QDir::Files);
    EXPECT_EQ(files.size(), 1) << files.join(u' ').toStdString();
    return folder + u'/' + files.value(0);
}

struct stat Status(const QString &path)
{
    struct stat status = {};
    EXPECT_EQ(stat(QFile::encodeName(path).constData(), &status), 0);
    return status;
}

class RegistryFileTest : public testing::Test {
protected:
    RegistryFileTest() { System::ForgetSettings(Key); }
};

}

// The file is the user's alone, also where an older one was not, and is never
// rewritten in place.
TEST_F(RegistryFileTest, FileOfTheUser)
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

TEST_F(RegistryFileTest, SpoiltFile)
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
