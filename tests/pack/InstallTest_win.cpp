// SPDX-License-Identifier: Apache-2.0
#include "common/WidePath_win.h"
#include "handles/Handle_win.h"
#include "packformat/MoveLock_win.h"
#include "tests/pack/PackFixture.h"

#include <array>

#include <windows.h>

namespace {

std::string InstallSheet(const PackSheet &sheet)
{
    const QString path = Sandbox::Path(u"sheet.exe"_s);
    Sandbox::WriteFile(path, ToBytes(sheet));
    return InstallHere(path);
}

}

TEST(InstallTest, AnExamInUse)
{
    const QString exams = FreshFolder();
    ASSERT_EQ(OutcomeOf(MakePack(u"USED"_s, u"U-1"_s)), Done);
    const QString pack = MakePack(u"USED"_s, u"U-2"_s);
    const QString picture = exams + u"/USED/picture.bmp"_s;
    const auto before = Snapshot(exams);
    {
        const UniqueHandle file(CreateFileW(Wide(QDir::toNativeSeparators(picture)), GENERIC_READ,
                                            FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
        ASSERT_TRUE(file.IsOpen());
        const Outcome outcome = OutcomeOf(pack);
        EXPECT_TRUE(outcome.Code == 1 && outcome.Err.startsWith(u"Exam pack: USED: the installed exam cannot be replaced: "_s))
            << outcome.Err.toStdString();
    }
    EXPECT_EQ(Snapshot(exams), before);
    EXPECT_EQ(OutcomeOf(pack), Done);
    EXPECT_EQ(Snapshot(exams), Installed(u"USED"_s, u"U-2"_s));
}

// What that run has kept stays until it has ended.
TEST(InstallTest, WhileAnotherRunMovesExams)
{
    const QString exams = FreshFolder();
    const QString pack = MakePack(u"NEW"_s, u"N-1"_s);
    Sandbox::WriteFile(exams + u"/.practorium-kept-OLD/OLD.exam"_s, "kept");
    Sandbox::WriteFile(exams + u"/.practorium-kept-NEW/NEW.exam"_s, "kept");
    Tree expected = Snapshot(exams);
    expected.merge(Installed(u"NEW"_s, u"N-1"_s));
    {
        const MoveLock lock(0);
        ASSERT_TRUE(lock.IsHeld());
        EXPECT_EQ(OutcomeOf(pack), Done);
        EXPECT_EQ(Snapshot(exams), expected);
    }
    EXPECT_EQ(OutcomeOf(pack), Done);
    EXPECT_EQ(HiddenNames(exams), QStringList());
    EXPECT_EQ(Sandbox::ReadFile(exams + u"/OLD/OLD.exam"_s), QByteArray("kept"));
    EXPECT_EQ(CodeOf(u"NEW"_s), u"N-1"_s);
}

// It would be hidden, and the program that has started the pack would wait for ever.
TEST(InstallTest, NoBoxInTheTemporaryFolder)
{
    QByteArray bytes = Sandbox::ReadFile(MakePack(u"TEMP"_s, u"T-9"_s));
    bytes.back() ^= 1;
    const QString path = QDir::toNativeSeparators(QDir::temp().filePath(u"damaged.exe"_s));
    Sandbox::WriteFile(path, bytes);
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    PROCESS_INFORMATION process = {};
    ASSERT_TRUE(
        CreateProcessW(Wide(path), nullptr, nullptr, nullptr, FALSE, DETACHED_PROCESS, nullptr, nullptr, &startup, &process));
    const UniqueHandle own(process.hProcess);
    const UniqueHandle thread(process.hThread);
    EXPECT_EQ(WaitForSingleObject(own, 60'000), DWORD(WAIT_OBJECT_0)) << "it shows something";
    TerminateProcess(own, 9);
    WaitForSingleObject(own, INFINITE);
    DWORD code = 0;
    EXPECT_TRUE(GetExitCodeProcess(own, &code));
    EXPECT_EQ(code, DWORD(1));
}

// Names that pass as plain and yet mean something else to this system.
TEST(InstallTest, NamesThatMeanAnother)
{
    const QString exams = FreshFolder();
    const QString longName = u"A rather long name of an exam"_s;
    Sandbox::WriteFile(exams + u'/' + longName + u"/mine"_s, "mine");
    std::array<wchar_t, MAX_PATH> wide{};
    GetShortPathNameW(Wide(QDir::toNativeSeparators(exams + u'/' + longName)), wide.data(), MAX_PATH);
    const QString shortName = QFileInfo(QString::fromWCharArray(wide.data())).fileName();
    ASSERT_NE(shortName, longName) << "this disk keeps no short names";
    const auto before = Snapshot(exams);

    const QByteArray exam = shortName.section(u'.', 0, 0).toUtf8() + ".exam";
    const std::string said = InstallSheet({ .Folder = shortName.toUtf8(), .Files = { { exam, 8 } } });
    EXPECT_TRUE(said.starts_with("1 Exam pack: " + shortName.toStdString() + ": a file or a link is in its place")) << said;
    EXPECT_EQ(Snapshot(exams), before) << said;
    // The same exam, whatever the case of its letters.
    EXPECT_EQ(InstallSheet({ .Folder = "net-101", .Files = { { "a.bmp", 3 }, { "net-101.exam", 5 } } }), "0 ");
    EXPECT_EQ(InstallSheet({}), "0 ");
    EXPECT_EQ(QDir(exams).entryList(QDir::Dirs | QDir::NoDotAndDotDot), QStringList({ longName, u"NET-101"_s }));
    EXPECT_EQ(Sandbox::ReadFile(exams + u"/NET-101/NET-101.exam"_s), QByteArray("exam!"));
}
