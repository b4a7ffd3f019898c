// SPDX-License-Identifier: Apache-2.0
#include "common/Registry.h"

#include "tests/support/System.h"
#include "tests/support/Test.h"

#include <fcntl.h>
#include <functional>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace Registry;

namespace {

const QString FileKey = u"Software\\Test\\Registry"_s;

QString TheFile()
{
    return Sandbox::Path(u"xdg_config_home/Practorium/current-user.json"_s);
}

struct stat Status(const QString &path)
{
    struct stat status = {};
    EXPECT_EQ(stat(QFile::encodeName(path).constData(), &status), 0);
    return status;
}

class RegistryFileTest : public testing::Test {
protected:
    RegistryFileTest() { System::ForgetSettings(FileKey); }
};

}

// File and folder are the user's alone, whatever the umask and also where older
// ones were not, and the file is never rewritten in place.
TEST_F(RegistryFileTest, FileOfTheUser)
{
    const QString home = Sandbox::Path(u"xdg_config_home"_s);
    for (const mode_t mask : { 0, 0777 }) {
        EXPECT_TRUE(QDir(home).removeRecursively());
        const mode_t before = umask(mask);
        WriteValue(FileKey, u"Value"_s, 1, Number, CurrentUser);
        const QString file = TheFile();
        EXPECT_EQ(Status(home).st_mode & 07777, 0700U);
        QFile::setPermissions(file, QFile::permissions(file) | QFile::ReadOther | QFile::ReadGroup);
        chmod(qPrintable(home + u"/Practorium"_s), 0755);
        const QString second = file + u".keep"_s;
        ASSERT_EQ(link(qPrintable(file), qPrintable(second)), 0);
        const QByteArray bytes = Sandbox::ReadFile(second);
        WriteValue(FileKey, u"Value"_s, 2, Number, CurrentUser);
        umask(before);
        EXPECT_NE(Status(file).st_ino, Status(second).st_ino) << "a new file in place of the old one";
        EXPECT_EQ(Sandbox::ReadFile(second), bytes);
        EXPECT_EQ(Status(file).st_mode & 07777, 0600U);
        EXPECT_EQ(Status(home + u"/Practorium"_s).st_mode & 07777, 0700U);
    }
}

// A damaged file, and one that others could have written to say that packs come
// from somewhere else: neither is read or replaced, because it may say which packs are run.
TEST_F(RegistryFileTest, FilesThatAreNotUsed)
{
    WriteValue(FileKey, u"Value"_s, 7, Number, CurrentUser);
    const QString path = TheFile();
    const QByteArray file = QFile::encodeName(path);
    const QByteArray whole = Sandbox::ReadFile(path);
    // Files of older versions, and of scripts, look the same.
    EXPECT_EQ(whole.simplified(), R"({ "software\\test\\registry": { "value": { "bytes": "BwAAAA==", "type": 4 } } })");
    const auto read = [] { return ResultOf([] { return ReadValue(CurrentUser, FileKey, u"Value"_s).toString(); }); };
    std::vector<std::function<void()>> spoils = {
        [&] { chmod(file.constData(), 0620); },
        [&] { chmod(file.constData(), 0602); },
        [&] { EXPECT_TRUE(chown(file.constData(), 65534, getegid()) == 0 || unlink(file.constData()) == 0); },
    };
    for (const QByteArray &bytes :
         { QByteArray(), QByteArray("["), QByteArray("[1]"), QByteArray("\0\xFF{", 3), whole.left(whole.size() / 2) })
        spoils.push_back([=] { Sandbox::WriteFile(path, bytes); });
    spoils.push_back([&] { EXPECT_TRUE(unlink(file.constData()) == 0 && mkfifo(file.constData(), 0600) == 0); });
    for (size_t i = 0; i < spoils.size(); ++i) {
        unlink(file.constData());
        WriteValue(FileKey, u"Value"_s, 7, Number, CurrentUser);
        chmod(file.constData(), 0644);
        EXPECT_EQ(read(), u"7"_s) << i;
        spoils[i]();
        testing::internal::CaptureStderr();
        // The owner's file, when the test could not give it to somebody else, is gone.
        const bool isOthers = i < 3 || i + 1 == spoils.size();
        const bool isGone = i == 3 || (i == 2 && geteuid() != 0);
        const QString code = QString::number(isGone ? ENOENT : isOthers ? EPERM : EBADMSG) + u' ';
        EXPECT_EQ(read() + read(), code + code) << i;
        StoredValue stored;
        EXPECT_EQ(QueryStored(CurrentUser, FileKey, u"Value"_s, stored), isGone ? ENOENT : isOthers ? EPERM : EBADMSG) << i;
        const auto write = [] { WriteValue(FileKey, u"Value"_s, 8, Number, CurrentUser); };
        EXPECT_EQ(ResultOf(write), isGone ? u"none"_s : code) << i;
        const QString lines = QString::fromUtf8(testing::internal::GetCapturedStderr());
        EXPECT_EQ(lines.count(u"is not used"), i < 3 || i + 1 == spoils.size() ? 1 : 0) << i << lines.toStdString();
    }
    unlink(file.constData());
    Sandbox::WriteFile(path, QByteArray(whole).replace("\"BwAAAA==\"", "\"Bw==\""));
    EXPECT_EQ(ReadValue(CurrentUser, FileKey, u"Value"_s), QVariant(0)) << "too few bytes for a number";
}

TEST_F(RegistryFileTest, SeveralProgramsAtOnce)
{
    constexpr int Writers = 4, Keys = 40;
    WriteValue(FileKey, u"Value"_s, 1, Number, CurrentUser);
    std::vector<std::thread> writers;
    for (int writer = 0; writer < Writers; ++writer) {
        writers.emplace_back([writer] {
            for (int key = 0; key < Keys; ++key)
                EXPECT_EQ(OpenKey(CurrentUser, u"%1\\%2 %3"_s.arg(FileKey).arg(writer).arg(key), true), 0);
        });
    }
    for (std::thread &writer : writers)
        writer.join();
    for (int key = 0; key < Writers * Keys; ++key)
        EXPECT_EQ(OpenKey(CurrentUser, u"%1\\%2 %3"_s.arg(FileKey).arg(key / Keys).arg(key % Keys), false), 0) << key;

    const int folder = open(QFile::encodeName(TheFile().section(u'/', 0, -2)).constData(), O_RDONLY | O_DIRECTORY);
    ASSERT_EQ(flock(folder, LOCK_EX), 0);
    EXPECT_EQ(ReadValue(CurrentUser, FileKey, u"Value"_s), 1) << "without waiting for who writes";
    close(folder);
}
