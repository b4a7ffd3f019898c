// SPDX-License-Identifier: Apache-2.0
#include "pack/stub/Install.h"
#include "tests/pack/Installed.h"
#include "tests/pack/PackSheet.h"
#include "tests/support/SmallDisk.h"
#include "tests/support/Test.h"

#include <array>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

// What the system answers when a pack that runs in this program has the exams
// folder brought to the disk: a code, 0 for success.
std::function<int()> exchangeReachesDisk;
bool canExchangeHere = true;

}

extern "C" int fsync(int file)
{
    struct stat folder = {};
    struct stat exams = {};
    const bool isExams = exchangeReachesDisk && fstat(file, &folder) == 0
        && stat(qPrintable(Sandbox::ExamsFolder()), &exams) == 0 && folder.st_ino == exams.st_ino;
    errno = isExams ? exchangeReachesDisk() : 0;
    return errno != 0 ? -1 : static_cast<int>(syscall(SYS_fsync, file));
}

extern "C" int renameat2(int from, const char *name, int to, const char *other, unsigned flags) noexcept
{
    errno = EINVAL;
    return canExchangeHere ? static_cast<int>(syscall(SYS_renameat2, from, name, to, other, flags)) : -1;
}

void Freeze(const QProcess &process)
{
    Signal(process, SIGSTOP);
}

void Thaw(const QProcess &process)
{
    Signal(process, SIGCONT);
}

TEST(InstallTest, WhereExamsAreLookedFor)
{
    const QString program = MakePack(u"NET-101.v2"_s, u"A-1"_s);
    const QString root = Sandbox::Path(u"homes"_s);
    const QString data = u"XDG_DATA_HOME="_s;
    const QString home = u"HOME="_s;
    const std::pair<QStringList, QString> rows[] = {
        { { data + root + u"/a/b"_s, home + root + u"/h"_s }, u"/a/b"_s },
        { { data + root + u"/slash/"_s }, u"/slash"_s },
        { { data + u"relative"_s, home + root + u"/h1"_s }, u"/h1/.local/share"_s },
        { { data, home + root + u"/h2"_s }, u"/h2/.local/share"_s },
        { { home + root + u"/h3"_s }, u"/h3/.local/share"_s },
        { { u"NONE="_s }, {} },
        { { home + u"relative"_s }, {} },
    };
    const Outcome nowhere = Failed(u"NET-101.v2"_s, u"there is no exams folder to install into"_s);
    for (const auto &[variables, folder] : rows) {
        QDir(root).removeRecursively();
        EXPECT_EQ(OutcomeOf(program, {}, [&variables = variables](QProcess &process) { process.setEnvironment(variables); }),
                  folder.isEmpty() ? nowhere : Done)
            << folder.toStdString();
        const Tree wanted = folder.isEmpty() ? Tree() : Installed(u"NET-101.v2"_s, u"A-1"_s);
        EXPECT_EQ(Snapshot(root + folder + u"/Practorium/Exams"_s), wanted);
    }
}

TEST(InstallTest, LinksAndPermissions)
{
    const QString program = MakePack(u"PLACE"_s, u"P-2"_s);
    const QString root = Sandbox::Path(u"places"_s);
    const QString elsewhere = Sandbox::Path(u"elsewhere"_s);
    Sandbox::WriteFile(elsewhere + u"/PLACE.exam"_s, "mine");
    const QString inPlace = u"a file or a link is in its place"_s;
    // Where a link leads; without one it is a folder that is locked.
    const struct {
        QString Link, Where, Reason;
    } rows[] = {
        { elsewhere, u"/Practorium/Exams/PLACE"_s, inPlace },
        { u"/nowhere"_s, u"/Practorium/Exams/PLACE"_s, inPlace },
        { {}, u"/Practorium/Exams"_s, u"the exam cannot be written: Permission denied"_s },
        { {}, {}, u"there is no exams folder to install into: Permission denied"_s },
    };
    for (const auto &[link, where, reason] : rows) {
        QDir(root).removeRecursively();
        EXPECT_TRUE(QDir().mkpath(QFileInfo(root + where).path()));
        EXPECT_TRUE(link.isEmpty() ? QDir().mkdir(root + where, QFile::ReadOwner | QFile::ExeOwner)
                                   : QFile::link(link, root + where));
        const Tree before = Snapshot(Sandbox::Path({}));
        const Outcome outcome = OutcomeOf(program, {}, [&](QProcess &process) {
            process.setEnvironment({ u"XDG_DATA_HOME="_s + root });
            // Permissions hold for everybody, the superuser too.
            process.setChildProcessModifier([] { prctl(PR_CAPBSET_DROP, 1 /* CAP_DAC_OVERRIDE */, 0, 0, 0); });
        });
        EXPECT_EQ(outcome, Failed(u"PLACE"_s, reason)) << link.toStdString() << where.toStdString();
        EXPECT_EQ(Snapshot(Sandbox::Path({})), before) << link.toStdString() << where.toStdString();
    }
}

TEST(InstallTest, AFailureChangesNothing)
{
    const QString data = QFileInfo(FreshFolder()).path();
    const QString pack = MakePack(u"FULL"_s, u"F-1"_s, 100'000);
    for (const bool hasOld : { false, true }) {
        QDir(data).removeRecursively();
        if (hasOld)
            Sandbox::WriteFile(data + u"/Exams/FULL/FULL.exam"_s, "old");
        const Tree before = Snapshot(QFileInfo(data).path());
        for (const quint64 bytes : { 100u, 20'000u, 99'999u }) {
            const SmallDisk disk(bytes);
            EXPECT_EQ(InstallHere(pack), "1 Exam pack: FULL: the exam cannot be written: File too large\n") << bytes;
            EXPECT_EQ(Snapshot(QFileInfo(data).path()), before) << bytes;
        }
    }
    {
        const SmallDisk disk(100'000);
        EXPECT_EQ(InstallHere(pack), "0 ");
    }
    EXPECT_EQ(Snapshot(data + u"/Exams"_s), Installed(u"FULL"_s, u"F-1"_s));

    // Not what was summed up any more when it is unpacked.
    const QString large = MakePack(u"FULL"_s, u"F-2"_s, LargeBytes);
    std::thread spoiler([&] {
        AwaitUnpacking(data + u"/Exams"_s);
        QFile file(large);
        EXPECT_TRUE(file.open(QIODevice::ReadWrite) && file.seek(file.size() - 65) && file.write("x") == 1);
    });
    EXPECT_EQ(InstallHere(large), "1 Exam pack: FULL: the pack has changed while it was read\n");
    spoiler.join();
    EXPECT_EQ(Snapshot(data + u"/Exams"_s), Installed(u"FULL"_s, u"F-1"_s));
}

// The exam is in its place when the disk fails: it goes again, or is told to be there.
TEST(InstallTest, TheDiskFailsAtTheEnd)
{
    const QString exams = FreshFolder();
    const QString place = exams + u"/LAST"_s;
    const QString pack = MakePack(u"LAST"_s, u"L-1"_s);
    const std::string failed = "1 Exam pack: LAST: the exam cannot be written: Input/output error\n";
    const std::string notKept
        = "1 Exam pack: LAST: the exam is there, but the system cannot say whether it will stay: Input/output error\n";
    const Tree fresh = Snapshot(Sandbox::Path(u"packages/L-1/LAST"_s));
    const Tree old = { { u"/LAST.exam"_s, "old" } };
    const std::string other = MakePack(u"OTHER"_s, u"O-1"_s).toStdString();
    // Another run clears away what is left over.
    const auto sweep = [&] {
        const pid_t run = fork();
        if (run == 0) {
            exchangeReachesDisk = {};
            _exit(InstallPack(other.c_str()));
        }
        int status = -1;
        EXPECT_TRUE(waitpid(run, &status, 0) == run && status == 0) << status;
    };
    const struct {
        bool HasOld, CanExchange;
        std::function<int(int)> Answer;
        std::string Said;
        Tree Left;
    } rows[] = {
        { true, true, [](int call) { return call < 3 ? EINTR : 0; }, "0 ", fresh },
        { false, true, [](int) { return EIO; }, failed, {} },
        { true, true, [](int) { return PrepareProgram(), std::raise(SIGTERM), EIO; }, failed, old },
        { true, false, [](int) { return EIO; }, failed, old },
        { true, true, [&](int) { return sweep(), EIO; }, failed, old },
        { true, false, [&](int) { return sweep(), EIO; }, failed, old },
        { true, false, [&](int) { return QDir(exams + u"/.practorium-kept-LAST"_s).removeRecursively(), EIO; }, notKept,
          fresh },
        // Another run's exam has come meanwhile.
        { true, true, [&](int) { return QDir(place).removeRecursively() && QDir().mkdir(place) ? EIO : 0; }, failed, {} },
        { true, true, [](int) { return canExchangeHere = false, EIO; }, notKept, fresh },
    };
    for (const auto &[hasOld, canExchange, answer, said, left] : rows) {
        FreshFolder();
        if (hasOld)
            Sandbox::WriteFile(place + u"/LAST.exam"_s, "old");
        canExchangeHere = canExchange;
        exchangeReachesDisk = [&answer = answer, call = 0]() mutable { return answer(++call); };
        EXPECT_EQ(InstallHere(pack), said);
        exchangeReachesDisk = {};
        EXPECT_EQ(Snapshot(place), left) << said;
        EXPECT_EQ(HiddenNames(exams).size(), canExchangeHere == canExchange ? 0 : 1) << said;
    }
    canExchangeHere = true;
}

TEST(InstallTest, SignalsMidway)
{
    const QString exams = FreshFolder();
    ASSERT_EQ(OutcomeOf(MakePack(u"BIG"_s, u"B-1"_s)), Done);
    const QString large = MakePack(u"BIG"_s, u"B-2"_s, LargeBytes);
    const Tree before = Snapshot(exams);
    for (const int number : { SIGTERM, SIGINT, SIGHUP }) {
        std::signal(number, SIG_DFL); // a test run may have been told to ignore it
        const auto process = Unpacking(large, exams);
        Signal(*process, number);
        EXPECT_EQ(EndOf(*process), Failed(u"BIG"_s, u"cancelled"_s));
        EXPECT_EQ(Snapshot(exams), before);
    }
}

TEST(InstallTest, AnExamAtEveryMoment)
{
    const std::string programs[]
        = { MakePack(u"BOTH"_s, u"X-1"_s).toStdString(), MakePack(u"BOTH"_s, u"X-2"_s, 50'000).toStdString() };
    for (const bool canExchange : { true, false }) {
        const QString exams = FreshFolder();
        std::atomic<bool> isOver = false;
        QString seen = u"X-1"_s;
        std::thread watcher([&] {
            Await([&] { return QFile::exists(exams + u"/BOTH"_s); });
            while (!isOver && canExchange && seen.startsWith(u"X-"_s))
                seen = ResultOf([] { return CodeOf(u"BOTH"_s); });
        });
        canExchangeHere = canExchange;
        for (int round = 0; round < 8; ++round) {
            std::array<pid_t, 8> runs = {};
            for (size_t i = 0; i < runs.size(); ++i) {
                if ((runs[i] = fork()) == 0)
                    _exit(InstallPack(programs[i % 2].c_str()));
            }
            for (const pid_t run : runs) {
                int status = -1;
                EXPECT_TRUE(waitpid(run, &status, 0) == run && status == 0) << status;
            }
            EXPECT_EQ(Snapshot(exams), Installed(u"BOTH"_s, CodeOf(u"BOTH"_s))) << "round " << round;
        }
        isOver = true;
        watcher.join();
        EXPECT_TRUE(seen == "X-1"_L1 || seen == "X-2"_L1) << seen.toStdString();
    }
    canExchangeHere = true;
}
