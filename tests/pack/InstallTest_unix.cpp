// SPDX-License-Identifier: Apache-2.0
#include "pack/stub/Files_unix.h"
#include "pack/stub/Install.h"
#include "tests/pack/PackFixture.h"
#include "tests/support/SmallDisk.h"

#include <array>
#include <atomic>
#include <csignal>
#include <fcntl.h>
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
// Called when a pack that runs in this program waits.
std::function<void()> onPause;

// A run of the pack in a copy of this program, and its end.
pid_t Fork(const std::string &pack)
{
    const pid_t run = fork();
    if (run == 0)
        _exit(InstallPack(pack.c_str()));
    return run;
}

void AwaitEnd(pid_t run)
{
    int status = -1;
    EXPECT_TRUE(waitpid(run, &status, 0) == run && status == 0) << status;
}

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

extern "C" int nanosleep(const timespec *time, timespec *left)
{
    if (onPause)
        onPause();
    return static_cast<int>(syscall(SYS_nanosleep, time, left));
}

TEST(InstallTest, WhereExamsAreLookedFor)
{
    const QString program = MakePack(u"NET-101.v2"_s, u"A-1"_s);
    const QString root = Sandbox::Path(u"homes"_s);
    const QString data = u"XDG_DATA_HOME="_s;
    const QString home = u"HOME="_s;
    const QString nowhere = u"there is no exams folder to install into"_s;
    const Tree installed = Installed(u"NET-101.v2"_s, u"A-1"_s);
    const auto locked = QFile::ReadOwner | QFile::ExeOwner;
    // Where the exam is afterwards, or why it is nowhere.
    const std::tuple<QStringList, QString, QString> rows[] = {
        { { data + root + u"/a/b"_s, home + root + u"/h"_s }, u"/a/b"_s, {} },
        { { data + root + u"/slash/"_s }, u"/slash"_s, {} },
        { { data + u"relative"_s, home + root + u"/h1"_s }, u"/h1/.local/share"_s, {} },
        { { data, home + root + u"/h2"_s }, u"/h2/.local/share"_s, {} },
        { { home + root + u"/h3"_s }, u"/h3/.local/share"_s, {} },
        { { u"NONE="_s }, {}, nowhere },
        { { home + u"relative"_s }, {}, nowhere },
        { { data + root + u"/x"_s.repeated(2'040) }, {}, nowhere + u": File name too long"_s },
        { { data + root + u"/locked"_s }, {}, nowhere + u": Permission denied"_s },
        { { data + root + u"/full"_s }, {}, u"the exam cannot be written: Permission denied"_s },
    };
    for (const auto &[variables, folder, reason] : rows) {
        QDir(root).removeRecursively();
        EXPECT_TRUE(QDir().mkpath(root + u"/full/Practorium"_s) && QDir().mkdir(root + u"/locked"_s, locked)
                    && QDir().mkdir(root + u"/full/Practorium/Exams"_s, locked));
        const Tree before = Snapshot(root);
        const Outcome outcome = OutcomeOf(program, {}, [variables = variables](QProcess &process) {
            process.setEnvironment(variables);
            // Permissions hold for everybody, the superuser too.
            process.setChildProcessModifier([] { prctl(PR_CAPBSET_DROP, 1 /* CAP_DAC_OVERRIDE */, 0, 0, 0); });
        });
        EXPECT_EQ(outcome, reason.isEmpty() ? Done : Failed(u"NET-101.v2"_s, reason)) << qPrintable(variables.join(u' '));
        const Tree after = Snapshot(reason.isEmpty() ? root + folder + u"/Practorium/Exams"_s : root);
        EXPECT_EQ(after, reason.isEmpty() ? installed : before) << qPrintable(variables.join(u' '));
        EXPECT_EQ(QDir(root + folder).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size() == 1, reason.isEmpty());
    }
}

TEST(InstallTest, AFailureChangesNothing)
{
    const QString exams = FreshFolder();
    const QString data = QFileInfo(exams).path();
    const QString pack = MakePack(u"FULL"_s, u"F-1"_s, 100'000);
    for (const quint64 bytes : { 100u, 99'999u }) {
        for (const bool hasOld : { false, true }) {
            QDir(data).removeRecursively();
            if (hasOld)
                Sandbox::WriteFile(exams + u"/FULL/FULL.exam"_s, "old");
            const Tree before = Snapshot(QFileInfo(data).path());
            const SmallDisk disk(bytes);
            EXPECT_EQ(InstallHere(pack), "1 Exam pack: FULL: the exam cannot be written: File too large\n") << bytes;
            EXPECT_EQ(Snapshot(QFileInfo(data).path()), before) << bytes;
        }
    }
    EXPECT_EQ(OutcomeOf(pack, {}, SmallFiles(20'000)), Failed(u"FULL"_s, u"the exam cannot be written: File too large"_s));
    EXPECT_EQ(OutcomeOf(pack, {}, SmallFiles(100'000)), Done);
    // Changed after it was summed up.
    const QString large = MakePack(u"FULL"_s, u"F-2"_s, LargeBytes);
    std::thread spoiler([&] {
        AwaitUnpacking(exams);
        QFile file(large);
        EXPECT_TRUE(file.open(QIODevice::ReadWrite) && file.seek(file.size() - 65) && file.write("x") == 1);
    });
    EXPECT_EQ(InstallHere(large), "1 Exam pack: FULL: the pack has changed while it was read\n");
    spoiler.join();
    EXPECT_EQ(Snapshot(exams), Installed(u"FULL"_s, u"F-1"_s));
}

// The exam is in its place when the disk fails: it is moved back, or reported to be there.
TEST(InstallTest, TheDiskFailsAtTheEnd)
{
    const QString exams = FreshFolder();
    const QString place = exams + u"/LAST"_s;
    const QString kept = exams + u"/.practorium-kept-LAST"_s;
    const QString pack = MakePack(u"LAST"_s, u"L-1"_s);
    const std::string failed = "1 Exam pack: LAST: the exam cannot be written: Input/output error\n";
    const std::string notKept
        = "1 Exam pack: LAST: the exam is there, but the system cannot say whether it will stay: Input/output error\n";
    const Tree fresh = Snapshot(Sandbox::Path(u"packages/L-1/LAST"_s));
    const Tree old = { { u"/LAST.exam"_s, "old" } };
    const std::string other = MakePack(u"OTHER"_s, u"O-1"_s).toStdString();
    // Another run removes leftovers.
    const auto sweep = [&] {
        const auto answer = std::exchange(exchangeReachesDisk, {});
        AwaitEnd(Fork(other));
        exchangeReachesDisk = answer;
    };
    const auto takePlace = [&](int) { return QDir().rename(place, exams + u"/N"_s) && QDir().mkdir(place) ? EIO : 0; };
    const struct {
        const char *Name;
        bool HasOld, CanExchange;
        std::function<int(int)> Answer;
        std::string Said;
        Tree Left;
    } rows[] = {
        { "interrupted twice", true, true, [](int call) { return call < 3 ? EINTR : 0; }, "0 ", fresh },
        { "a file system that flushes no folders", true, true, [](int) { return EINVAL; }, "0 ", fresh },
        { "no old exam", false, true, [](int) { return EIO; }, failed, {} },
        { "a signal", true, true, [](int) { return PrepareProgram(), std::raise(SIGTERM), EIO; }, failed, old },
        { "two steps", true, false, [](int) { return EIO; }, failed, old },
        { "another run", true, true, [&](int) { return sweep(), EIO; }, failed, old },
        { "another run, two steps", true, false, [&](int) { return sweep(), EIO; }, failed, old },
        { "the old exam is gone", true, false, [&](int) { return QDir(kept).removeRecursively(), EIO; }, notKept, fresh },
        { "another exam in its place", true, true, takePlace, failed, {} },
        { "no way back", true, true, [](int) { return canExchangeHere = false, EIO; }, notKept, fresh },
    };
    for (const auto &[name, hasOld, canExchange, answer, said, left] : rows) {
        FreshFolder();
        if (hasOld)
            Sandbox::WriteFile(place + u"/LAST.exam"_s, "old");
        canExchangeHere = canExchange;
        exchangeReachesDisk = [answer = answer, call = 0]() mutable { return answer(++call); };
        EXPECT_EQ(InstallHere(pack), said) << name;
        exchangeReachesDisk = {};
        EXPECT_EQ(Snapshot(place), left) << name;
        EXPECT_EQ(HiddenNames(exams).size(), canExchangeHere == canExchange ? 0 : 1) << name;
    }
    canExchangeHere = true;
}

TEST(InstallTest, SignalsWhileItUnpacks)
{
    const QString exams = FreshFolder();
    ASSERT_EQ(OutcomeOf(MakePack(u"BIG"_s, u"B-1"_s)), Done);
    const QString large = MakePack(u"BIG"_s, u"B-2"_s, LargeBytes);
    const Tree before = Snapshot(exams);
    for (const int number : { SIGTERM, SIGINT, SIGHUP, SIGKILL }) {
        std::signal(number, SIG_DFL); // a test run may have been started with it ignored
        QProcess process;
        process.start(large, QStringList());
        AwaitUnpacking(exams);
        Signal(process, number);
        EXPECT_TRUE(number == SIGKILL ? process.waitForFinished(60'000) : EndOf(process) == Failed(u"BIG"_s, u"cancelled"_s));
        EXPECT_EQ(Snapshot(exams) == before, number != SIGKILL) << number;
    }
    // The next run removes what the killed one has left.
    EXPECT_EQ(HiddenNames(exams).size(), 1);
    EXPECT_EQ(OutcomeOf(MakePack(u"BIG"_s, u"B-1"_s)), Done);
    EXPECT_EQ(HiddenNames(exams), QStringList());
}

TEST(InstallTest, AnotherRunHoldsTheExam)
{
    const QString exams = FreshFolder();
    ASSERT_EQ(InstallHere(MakePack(u"HELD"_s, u"H-1"_s)), "0 ");
    UniqueHandle other(open(qPrintable(exams + u"/HELD"_s), FolderFlags));
    ASSERT_TRUE(Lock(other));
    int pauses = 0;
    onPause = [&] {
        if (++pauses == 3)
            other.Close();
    };
    EXPECT_EQ(InstallHere(MakePack(u"HELD"_s, u"H-2"_s)), "0 ");
    onPause = {};
    EXPECT_EQ(pauses, 3);
    EXPECT_EQ(Snapshot(exams), Installed(u"HELD"_s, u"H-2"_s));
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
            for (size_t i = 0; i < runs.size(); ++i)
                runs[i] = Fork(programs[i % 2]);
            for (const pid_t run : runs)
                AwaitEnd(run);
            EXPECT_EQ(Snapshot(exams), Installed(u"BOTH"_s, CodeOf(u"BOTH"_s))) << "round " << round;
        }
        isOver = true;
        watcher.join();
        EXPECT_TRUE(seen == "X-1"_L1 || seen == "X-2"_L1) << seen.toStdString();
    }
    canExchangeHere = true;
}
