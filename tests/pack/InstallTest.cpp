#include "common/Error.h"
#include "model/Exam.h"
#include "model/Globals.h"
#include "pack/stub/Install.h"
#include "tests/pack/PackSheet.h"
#include "tests/support/ExpectError.h"
#include "tests/support/Sandbox.h"
#include "tests/support/SmallDisk.h"

#include <QDir>
#include <QElapsedTimer>
#include <QThread>

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <memory>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <thread>

using namespace Qt::Literals::StringLiterals;

namespace {

using Tree = std::map<QString, QByteArray>;

// What an exams folder holds in which nothing but this package is installed.
Tree Installed(const QString &name, const QString &code)
{
    Tree tree = { { u'/' + name, "folder" } };
    for (const auto &[path, bytes] : Snapshot(Sandbox::Path(u"packages/"_s + code)))
        tree[path] = bytes;
    return tree;
}

QString CodeOf(const QString &name)
{
    Exam exam;
    exam.Load(Globals::FindExamFile(Sandbox::ExamsFolder() + u'/' + name));
    return exam.Code();
}

// An empty exams folder.
QString FreshFolder()
{
    QDir(Globals::ExamsFolder()).removeRecursively();
    return Sandbox::ExamsFolder();
}

QStringList HiddenNames(const QString &folder)
{
    return QDir(folder).entryList({ u".practorium-*"_s }, QDir::Dirs | QDir::Hidden);
}

// A system that cannot have two folders change places.
void WithoutExchange(QProcess &process)
{
    process.setChildProcessModifier([] {
        sock_filter code[] = {
            BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_renameat2, 0, 3),
            BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[4])),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, RENAME_EXCHANGE, 0, 1),
            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EINVAL),
            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        };
        const sock_fprog program = { std::size(code), code };
        prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
        if (prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
            _exit(99);
    });
}

void WithVariables(QProcess &process, const QMap<QString, QString> &variables)
{
    QProcessEnvironment environment;
    for (auto each = variables.begin(); each != variables.end(); ++each)
        environment.insert(each.key(), each.value());
    process.setProcessEnvironment(environment);
}

// Waits until a first file of a pack is there.
void AwaitUnpacking(const QString &exams)
{
    const auto hasBegun = [&] {
        const QStringList names = HiddenNames(exams);
        return !names.isEmpty() && QDir(exams + u'/' + names.first()).count() > 2;
    };
    QElapsedTimer timer;
    timer.start();
    while (!hasBegun() && timer.elapsed() < 60'000)
        QThread::usleep(100);
}

// Starts a pack and lets it come to its unpacking.
std::unique_ptr<QProcess> Unpacking(const QString &program, const QString &exams)
{
    auto process = std::make_unique<QProcess>();
    process->start(program, QStringList());
    AwaitUnpacking(exams);
    return process;
}

void Signal(const QProcess &process, int number)
{
    ::kill(static_cast<pid_t>(process.processId()), number);
}

constexpr qsizetype LargeBytes = 64'000'000;

}

TEST(InstallTest, WhereExamsAreLookedFor)
{
    const QString program = MakePack(u"NET-101.v2"_s, u"A-1"_s);
    const QString root = Sandbox::Path(u"homes"_s);
    const std::vector<std::pair<QMap<QString, QString>, QString>> rows = {
        { { { u"XDG_DATA_HOME"_s, root + u"/a/b"_s }, { u"HOME"_s, root + u"/h"_s } }, u"/a/b"_s },
        { { { u"XDG_DATA_HOME"_s, root + u"/slash/"_s } }, u"/slash"_s },
        { { { u"XDG_DATA_HOME"_s, u"relative"_s }, { u"HOME"_s, root + u"/h1"_s } }, u"/h1/.local/share"_s },
        { { { u"XDG_DATA_HOME"_s, u""_s }, { u"HOME"_s, root + u"/h2"_s } }, u"/h2/.local/share"_s },
        { { { u"HOME"_s, root + u"/h3"_s } }, u"/h3/.local/share"_s },
    };
    for (const auto &[variables, folder] : rows) {
        const Outcome outcome = OutcomeOf(program, {}, [&](QProcess &process) { WithVariables(process, variables); });
        EXPECT_EQ(outcome.Code, 0) << folder.toStdString();
        EXPECT_EQ(outcome.Err, QByteArray());
        EXPECT_EQ(Snapshot(root + folder + u"/Practorium/Exams"_s), Installed(u"NET-101.v2"_s, u"A-1"_s));
    }
    const auto before = Snapshot(root);
    for (const QMap<QString, QString> &variables : { QMap<QString, QString>(), { { u"HOME"_s, u"relative"_s } } }) {
        const Outcome outcome = OutcomeOf(program, {}, [&](QProcess &process) { WithVariables(process, variables); });
        EXPECT_EQ(outcome.Code, 1);
        EXPECT_EQ(outcome.Err, QByteArray("Exam pack: NET-101.v2: there is no exams folder to install into\n"));
    }
    EXPECT_EQ(OutcomeOf(program, { u"--help"_s }).Code, 2);
    EXPECT_EQ(Snapshot(root), before);

    FreshFolder();
    EXPECT_EQ(OutcomeOf(program).Code, 0);
    EXPECT_EQ(CodeOf(u"NET-101.v2"_s), u"A-1"_s);
}

TEST(InstallTest, AnExamIsThereAtEveryMoment)
{
    const QString exams = FreshFolder();
    const QStringList programs = { MakePack(u"NET"_s, u"N-1"_s), MakePack(u"NET"_s, u"N-2"_s) };
    Sandbox::WriteFile(exams + u"/NET/picture-of-the-old.bmp"_s, "x");
    ASSERT_EQ(OutcomeOf(programs[0]).Code, 0);
    EXPECT_EQ(Snapshot(exams), Installed(u"NET"_s, u"N-1"_s));

    std::atomic<bool> isOver = false;
    std::atomic<int> looks = 0;
    QString seen;
    std::thread watcher([&] {
        while (!isOver) {
            seen = ResultOf([] { return CodeOf(u"NET"_s); });
            if (seen != "N-1"_L1 && seen != "N-2"_L1)
                return;
            ++looks;
        }
    });
    for (int i = 1; i <= 60; ++i) {
        const QString code = u"N-%1"_s.arg(i % 2 + 1);
        EXPECT_EQ(OutcomeOf(programs[i % 2]).Code, 0);
        EXPECT_EQ(CodeOf(u"NET"_s), code);
        EXPECT_EQ(Snapshot(exams), Installed(u"NET"_s, code));
    }
    isOver = true;
    watcher.join();
    EXPECT_TRUE(seen == "N-1"_L1 || seen == "N-2"_L1) << seen.toStdString();
    EXPECT_GT(looks, 60);
}

TEST(InstallTest, WhereNoExamCanCome)
{
    const QString program = MakePack(u"PLACE"_s, u"P-2"_s);
    const QByteArray inPlace = "a file or a link is in its place";
    const QByteArray noFolder = "there is no exams folder to install into: Not a directory";
    const QString root = Sandbox::Path(u"places"_s);
    const QString elsewhere = Sandbox::Path(u"elsewhere"_s);
    Sandbox::WriteFile(elsewhere + u"/PLACE.exam"_s, "mine");
    struct Row {
        std::function<void(const QString &exams)> Prepare;
        QByteArray Reason;
    };
    const std::vector<Row> rows = {
        { [](const QString &exams) { Sandbox::WriteFile(exams + u"/PLACE"_s, "x"); }, inPlace },
        { [&](const QString &exams) { QDir().mkpath(exams); QFile::link(elsewhere, exams + u"/PLACE"_s); }, inPlace },
        { [](const QString &exams) { QDir().mkpath(exams); QFile::link(u"/nowhere"_s, exams + u"/PLACE"_s); }, inPlace },
        { [](const QString &exams) { Sandbox::WriteFile(exams + u"/PLACE/notes/n"_s, "x"); },
          "the installed exam cannot be replaced, because a folder is in it" },
        { [](const QString &exams) { Sandbox::WriteFile(exams, "x"); }, noFolder },
        { [](const QString &exams) { Sandbox::WriteFile(QFileInfo(exams).path(), "x"); }, noFolder },
        { [&](const QString &) { Sandbox::WriteFile(root, "x"); }, noFolder },
        { [](const QString &exams) { QDir().mkpath(exams); QFile::setPermissions(exams, QFile::ReadOwner | QFile::ExeOwner); },
          "the exam cannot be written: Permission denied" },
        { [&](const QString &) { QDir().mkpath(root); QFile::setPermissions(root, QFile::ReadOwner | QFile::ExeOwner); },
          "there is no exams folder to install into: Permission denied" },
    };
    for (size_t i = 0; i < rows.size(); ++i) {
        QDir(root).removeRecursively();
        QFile::remove(root);
        rows[i].Prepare(root + u"/Practorium/Exams"_s);
        const auto before = Snapshot(Sandbox::Path({}));
        const Outcome outcome = OutcomeOf(program, {}, [&](QProcess &process) {
            WithVariables(process, { { u"XDG_DATA_HOME"_s, root } });
            // Permissions hold for everybody, the superuser too.
            process.setChildProcessModifier([] { prctl(PR_CAPBSET_DROP, 1 /* CAP_DAC_OVERRIDE */, 0, 0, 0); });
        });
        EXPECT_EQ(outcome.Code, 1) << "row " << i;
        EXPECT_EQ(outcome.Err, "Exam pack: PLACE: " + rows[i].Reason + '\n') << "row " << i;
        EXPECT_EQ(Snapshot(Sandbox::Path({})), before) << "row " << i;
    }
}

TEST(InstallTest, AFullDiskChangesNothing)
{
    const QString program = MakePack(u"FULL"_s, u"F-1"_s, 100'000);
    const QString root = Sandbox::Path(u"full"_s);
    const auto installed = [&](rlim_t bytes) {
        return OutcomeOf(program, {}, [&](QProcess &process) {
            WithVariables(process, { { u"XDG_DATA_HOME"_s, root + u"/data"_s } });
            process.setChildProcessModifier([bytes] {
                const rlimit limit = { bytes, bytes };
                setrlimit(RLIMIT_FSIZE, &limit);
            });
        });
    };
    for (const bool hasOld : { false, true }) {
        if (hasOld)
            Sandbox::WriteFile(root + u"/data/Practorium/Exams/FULL/FULL.exam"_s, "old");
        else
            QDir().mkpath(root);
        const auto before = Snapshot(root);
        for (const rlim_t bytes : { 0u, 20'000u, 99'999u }) {
            const Outcome outcome = installed(bytes);
            EXPECT_EQ(outcome.Code, 1) << bytes;
            EXPECT_EQ(outcome.Err, QByteArray("Exam pack: FULL: the exam cannot be written: File too large\n")) << bytes;
            EXPECT_EQ(Snapshot(root), before) << bytes;
        }
    }
    EXPECT_EQ(installed(100'000).Code, 0);
    EXPECT_EQ(Snapshot(root + u"/data/Practorium/Exams"_s), Installed(u"FULL"_s, u"F-1"_s));
}

TEST(InstallTest, SignalsMidway)
{
    const QString exams = FreshFolder();
    ASSERT_EQ(OutcomeOf(MakePack(u"BIG"_s, u"B-1"_s)).Code, 0);
    const QString large = MakePack(u"BIG"_s, u"B-2"_s, LargeBytes);
    const auto before = Snapshot(exams);
    for (const int number : { SIGTERM, SIGINT, SIGHUP }) {
        std::signal(number, SIG_DFL); // a test run may have been told to ignore it
        const auto process = Unpacking(large, exams);
        Signal(*process, number);
        ASSERT_TRUE(process->waitForFinished(60'000));
        EXPECT_EQ(process->exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(process->exitCode(), 1);
        EXPECT_EQ(process->readAllStandardError(), QByteArray("Exam pack: BIG: cancelled\n"));
        EXPECT_EQ(Snapshot(exams), before);
    }

    // One that is ended by force leaves something, and only there to the next;
    // one that only sleeps is left alone by it.
    auto killed = Unpacking(large, exams);
    Signal(*killed, SIGKILL);
    ASSERT_TRUE(killed->waitForFinished(60'000));
    ASSERT_EQ(HiddenNames(exams).size(), 1);
    EXPECT_EQ(CodeOf(u"BIG"_s), u"B-1"_s);
    const QString small = MakePack(u"SMALL"_s, u"S-1"_s);
    EXPECT_EQ(OutcomeOf(small).Code, 0);
    EXPECT_EQ(HiddenNames(exams), QStringList());

    const auto asleep = Unpacking(large, exams);
    Signal(*asleep, SIGSTOP);
    EXPECT_EQ(OutcomeOf(small).Code, 0);
    EXPECT_EQ(HiddenNames(exams).size(), 1);
    Signal(*asleep, SIGCONT);
    ASSERT_TRUE(asleep->waitForFinished(60'000));
    EXPECT_EQ(asleep->exitCode(), 0) << asleep->readAllStandardError().constData();
    EXPECT_EQ(CodeOf(u"BIG"_s), u"B-2"_s);
    EXPECT_EQ(HiddenNames(exams), QStringList());
}

TEST(InstallTest, ManyAtOnce)
{
    const QString exams = FreshFolder();
    const QStringList programs = { MakePack(u"BOTH"_s, u"X-1"_s), MakePack(u"BOTH"_s, u"X-2"_s, 50'000) };
    for (int round = 0; round < 12; ++round) {
        if (round % 3 == 0)
            FreshFolder();
        std::vector<std::unique_ptr<QProcess>> runs;
        for (int i = 0; i < 8; ++i) {
            runs.push_back(std::make_unique<QProcess>());
            if (round % 2 == 1)
                WithoutExchange(*runs.back());
            runs.back()->start(programs[i % 2], QStringList());
        }
        for (const auto &run : runs) {
            ASSERT_TRUE(run->waitForFinished(60'000));
            EXPECT_EQ(run->exitCode(), 0) << run->readAllStandardError().constData();
        }
        EXPECT_EQ(Snapshot(exams), Installed(u"BOTH"_s, CodeOf(u"BOTH"_s))) << "round " << round;
    }
}

TEST(InstallTest, FoldersThatCannotChangePlaces)
{
    const QString exams = FreshFolder();
    const QString first = MakePack(u"TWO"_s, u"T-1"_s);
    const QString second = MakePack(u"TWO"_s, u"T-2"_s);
    for (const auto &[program, code] : { std::pair(first, u"T-1"_s), std::pair(second, u"T-2"_s) }) {
        EXPECT_EQ(OutcomeOf(program, {}, WithoutExchange).Code, 0);
        EXPECT_EQ(Snapshot(exams), Installed(u"TWO"_s, code));
    }
    // Ended between the two steps: the next run of any pack puts the exam back.
    const QString kept = exams + u"/.practorium-kept-TWO"_s;
    ASSERT_TRUE(QDir().rename(exams + u"/TWO"_s, kept));
    EXPECT_TRUE(Globals::GetInstalledExams().isEmpty());
    const QString other = MakePack(u"OTHER"_s, u"O-1"_s);
    EXPECT_EQ(OutcomeOf(other).Code, 0);
    EXPECT_EQ(CodeOf(u"TWO"_s), u"T-2"_s);
    EXPECT_EQ(HiddenNames(exams), QStringList());
    // Ended behind them: what was kept goes.
    Sandbox::WriteFile(kept + u"/TWO.exam"_s, "old");
    EXPECT_EQ(OutcomeOf(other).Code, 0);
    EXPECT_EQ(HiddenNames(exams), QStringList());
    EXPECT_EQ(CodeOf(u"TWO"_s), u"T-2"_s);
}

TEST(InstallTest, OnlyLeftoversAreClearedAway)
{
    const QString exams = FreshFolder();
    for (const QString &name : { u"pack-notes/n"_s, u"pack-0123456789ABCDEF/n"_s, u"pack-0123456789abcdef0/n"_s,
                                 u"pack-0123456789abcdea/folder/n"_s, u"pack-0123456789abcdea/a"_s,
                                 u"pack-0123456789abcdeb"_s, u"kept-/n"_s, u"kept-.a/n"_s })
        Sandbox::WriteFile(exams + u"/.practorium-"_s + name, "mine");
    QFile::link(Sandbox::Path(u"packages"_s), exams + u"/.practorium-pack-0123456789abcdec"_s);
    auto before = Snapshot(exams);
    Sandbox::WriteFile(exams + u"/.practorium-pack-0123456789abcdef/half"_s, "x");
    EXPECT_EQ(OutcomeOf(MakePack(u"SWEEP"_s, u"C-1"_s)).Code, 0);
    before.merge(Installed(u"SWEEP"_s, u"C-1"_s));
    EXPECT_EQ(Snapshot(exams), before);
}

// The same inside the test's own program, where a sanitizer looks on.
TEST(InstallTest, AsALibrary)
{
    const QString exams = FreshFolder();
    const QByteArray first = QFile::encodeName(MakePack(u"LIB"_s, u"L-1"_s));
    const QByteArray second = QFile::encodeName(MakePack(u"LIB"_s, u"L-2"_s, 600'000));
    const auto installed = [](const QByteArray &pack) {
        testing::internal::CaptureStderr();
        const int code = InstallPack(pack.constData());
        return std::to_string(code) + ' ' + testing::internal::GetCapturedStderr();
    };
    EXPECT_EQ(installed(first), "0 ");
    {
        const SmallDisk disk(500'000);
        EXPECT_EQ(installed(second), "1 Exam pack: LIB: the exam cannot be written: File too large\n");
    }
    EXPECT_EQ(Snapshot(exams), Installed(u"LIB"_s, u"L-1"_s));
    EXPECT_EQ(installed(second), "0 ");
    EXPECT_EQ(Snapshot(exams), Installed(u"LIB"_s, u"L-2"_s));

    // Not what was summed up any more when it is unpacked.
    const QString large = MakePack(u"LIB"_s, u"L-3"_s, LargeBytes);
    std::thread spoiler([&] {
        AwaitUnpacking(exams);
        QFile file(large);
        EXPECT_TRUE(file.open(QIODevice::ReadWrite) && file.seek(file.size() - 65) && file.write("x") == 1);
    });
    EXPECT_EQ(installed(QFile::encodeName(large)), "1 Exam pack: LIB: the pack has changed while it was read\n");
    spoiler.join();
    EXPECT_EQ(Snapshot(exams), Installed(u"LIB"_s, u"L-2"_s));
    EXPECT_EQ(installed("/nowhere"), "1 Exam pack: the pack cannot be read: No such file or directory\n");
    EXPECT_EQ(installed("/tmp"), "1 Exam pack: the pack cannot be read\n");
}
