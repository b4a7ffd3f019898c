// SPDX-License-Identifier: Apache-2.0
#include "download/PackFile.h"

#include "common/WidePath_win.h"
#include "tests/download/RunFixture.h"

#include <windows.h>

#include <thread>

namespace {

using PackFileTest = RunTest;

HANDLE Opened(const QString &path, DWORD access, DWORD share)
{
    return CreateFileW(Wide(path), access, share, nullptr, OPEN_EXISTING, 0, nullptr);
}

}

TEST_F(PackFileTest, OpenElsewhere)
{
    Sandbox::WriteFile(TempFile(u"101.exe"_s), "theirs");
    const HANDLE other = Opened(TempFile(u"101.exe"_s), GENERIC_READ, FILE_SHARE_READ);
    ASSERT_NE(other, INVALID_HANDLE_VALUE);
    EXPECT_TRUE(Outcome().startsWith(u"stays, "_s));
    CloseHandle(other);
}

// From its first byte to its end nobody else writes, moves or removes it.
TEST_F(PackFileTest, AFileOfOnesOwn)
{
    const QString place = TempFile(u"\u65E5 own.exe"_s);
    const QString elsewhere = TempFile(u"elsewhere"_s);
    const auto isHeld = [&] {
        const HANDLE handle = Opened(place, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
        if (handle != INVALID_HANDLE_VALUE)
            CloseHandle(handle);
        return handle == INVALID_HANDLE_VALUE && !MoveFileW(Wide(place), Wide(elsewhere)) && !DeleteFileW(Wide(place));
    };
    PackFile file;
    file.Create(place);
    EXPECT_TRUE(isHeld());
    const QByteArray bytes = FakePack::Bytes();
    file.Write(bytes.constData(), bytes.size());
    file.Close();
    EXPECT_TRUE(isHeld());
    file.MakeRunnable();
    EXPECT_TRUE(isHeld());
    const QString canonical = QDir::toNativeSeparators(QFileInfo(place).canonicalFilePath());
    EXPECT_EQ(file.RunPath().toLower(), canonical.toLower()) << "no way round";
    file.Run();
    EXPECT_TRUE(isHeld());
}

// Such as one that looks for viruses in what has just been run.
TEST_F(PackFileTest, AProgramThatLooksIntoIt)
{
    const QString place = TempFile(u"looked-into.exe"_s);
    PackFile file;
    file.Create(place);
    file.MakeRunnable();
    const HANDLE other = Opened(place, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE);
    ASSERT_NE(other, INVALID_HANDLE_VALUE);
    std::thread looking([&] {
        // Once it can be written to, the removal has begun.
        HANDLE more = INVALID_HANDLE_VALUE;
        while (more == INVALID_HANDLE_VALUE) {
            std::this_thread::yield();
            more = Opened(place, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE);
        }
        CloseHandle(other);
        CloseHandle(more);
    });
    EXPECT_EQ(ResultOf([&] { file.Remove(); }), u"none"_s);
    looking.join();
    EXPECT_FALSE(QFileInfo::exists(place));
}

// The system runs no program whose path has 260 characters or more.
TEST_F(PackFileTest, ALongPath)
{
    QString folder = TempFile(u""_s);
    while (folder.size() < 300)
        folder += u"A rather long name of a folder/"_s;
    ASSERT_TRUE(QDir().mkpath(folder));
    PackFile file;
    file.Create(QDir::toNativeSeparators(folder + u"101.exe"_s));
    file.Write("long", 4);
    file.MakeRunnable();
    EXPECT_LT(file.RunPath().size(), MAX_PATH) << file.RunPath().toStdString();
    // Not run: Wine's search for a program reads memory that it has not written
    // when the long form of such a path has no room in its buffer.
    EXPECT_EQ(Sandbox::ReadFile(file.RunPath()), "long");
    file.Remove();
    EXPECT_FALSE(QFileInfo::exists(folder + u"101.exe"_s));
}
