#include "tests/pack/Installed.h"
#include "tests/pack/PackSheet.h"
#include "tests/support/SmallDisk.h"
#include "tests/support/Test.h"

#include <atomic>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace {

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

Preparation With(const QMap<QString, QString> &variables)
{
    return [variables](QProcess &process) {
        QProcessEnvironment environment;
        for (auto each = variables.begin(); each != variables.end(); ++each)
            environment.insert(each.key(), each.value());
        process.setProcessEnvironment(environment);
    };
}

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
    const QString data = u"XDG_DATA_HOME"_s;
    const QString home = u"HOME"_s;
    const std::vector<std::pair<QMap<QString, QString>, QString>> rows = {
        { { { data, root + u"/a/b"_s }, { home, root + u"/h"_s } }, u"/a/b"_s },
        { { { data, root + u"/slash/"_s } }, u"/slash"_s },
        { { { data, u"relative"_s }, { home, root + u"/h1"_s } }, u"/h1/.local/share"_s },
        { { { data, u""_s }, { home, root + u"/h2"_s } }, u"/h2/.local/share"_s },
        { { { home, root + u"/h3"_s } }, u"/h3/.local/share"_s },
        { {}, {} },
        { { { home, u"relative"_s } }, {} },
    };
    const Outcome nowhere = Failed(u"NET-101.v2"_s, u"there is no exams folder to install into"_s);
    for (const auto &[variables, folder] : rows) {
        QDir(root).removeRecursively();
        EXPECT_EQ(OutcomeOf(program, {}, With(variables)), folder.isEmpty() ? nowhere : Done) << folder.toStdString();
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
    const QString noFolder = u"there is no exams folder to install into: %1"_s;
    const struct {
        QString What; // a "file", a folder that is "locked", or where a link leads
        QString Where;
        QString Reason;
    } rows[] = {
        { elsewhere, u"/Practorium/Exams/PLACE"_s, inPlace },
        { u"/nowhere"_s, u"/Practorium/Exams/PLACE"_s, inPlace },
        { u"file"_s, {}, noFolder.arg(u"Not a directory"_s) },
        { u"locked"_s, u"/Practorium/Exams"_s, u"the exam cannot be written: Permission denied"_s },
        { u"locked"_s, {}, noFolder.arg(u"Permission denied"_s) },
    };
    for (const auto &[what, where, reason] : rows) {
        QDir(root).removeRecursively();
        QFile::remove(root);
        Sandbox::WriteFile(root + where, "x");
        if (what != "file"_L1)
            QFile::remove(root + where);
        if (what == "locked"_L1)
            QDir().mkdir(root + where, QFile::ReadOwner | QFile::ExeOwner);
        else if (what != "file"_L1)
            QFile::link(what, root + where);
        const Tree before = Snapshot(Sandbox::Path({}));
        const Outcome outcome = OutcomeOf(program, {}, [&](QProcess &process) {
            With({ { u"XDG_DATA_HOME"_s, root } })(process);
            // Permissions hold for everybody, the superuser too.
            process.setChildProcessModifier([] { prctl(PR_CAPBSET_DROP, 1 /* CAP_DAC_OVERRIDE */, 0, 0, 0); });
        });
        EXPECT_EQ(outcome, Failed(u"PLACE"_s, reason)) << what.toStdString() << where.toStdString();
        EXPECT_EQ(Snapshot(Sandbox::Path({})), before) << what.toStdString() << where.toStdString();
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
    const QStringList programs = { MakePack(u"BOTH"_s, u"X-1"_s), MakePack(u"BOTH"_s, u"X-2"_s, 50'000) };
    for (const bool canExchange : { true, false }) {
        const QString exams = FreshFolder();
        std::atomic<bool> isOver = false;
        QString seen = u"X-1"_s;
        std::thread watcher([&] {
            Await([&] { return QFile::exists(exams + u"/BOTH"_s); });
            while (!isOver && canExchange && seen.startsWith(u"X-"_s))
                seen = ResultOf([] { return CodeOf(u"BOTH"_s); });
        });
        for (int round = 0; round < 8; ++round) {
            std::vector<std::unique_ptr<QProcess>> runs;
            for (int i = 0; i < 8; ++i) {
                runs.push_back(std::make_unique<QProcess>());
                if (!canExchange)
                    WithoutExchange(*runs.back());
                runs.back()->start(programs[i % 2], QStringList());
            }
            for (const auto &run : runs)
                EXPECT_EQ(EndOf(*run), Done);
            EXPECT_EQ(Snapshot(exams), Installed(u"BOTH"_s, CodeOf(u"BOTH"_s))) << "round " << round;
        }
        isOver = true;
        watcher.join();
        EXPECT_TRUE(seen == "X-1"_L1 || seen == "X-2"_L1) << seen.toStdString();
    }
}
