// SPDX-License-Identifier: Apache-2.0
#include "pack/stub/Files_unix.h"
#include "pack/stub/Steps.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

namespace {

constexpr char ExamsPath[] = "/Practorium/Exams";

volatile std::sig_atomic_t isStopRequested = 0;

void RequestStop(int)
{
    isStopRequested = 1;
}

// A name of the pack, ended as the system expects it.
class Name {
public:
    explicit Name(std::string_view text, std::string_view prefix = {})
    {
        char *end = std::copy(prefix.begin(), prefix.end(), m_text);
        *std::copy(text.begin(), text.end(), end) = '\0';
    }
    operator const char *() const { return m_text; }

private:
    char m_text[KeptPrefix.size() + PackFormat::LongestName + 1];
};

bool ReadUnlessStopped(std::intptr_t file, std::uint64_t offset, void *out, std::size_t count)
{
    errno = 0;
    return !isStopRequested && ReadFileAt(file, offset, out, count);
}

class OpenPack {
public:
    Fault Open(const char *path)
    {
        m_file = UniqueHandle(open(path ? path : "/proc/self/exe", O_RDONLY | O_CLOEXEC));
        if (!m_file.IsOpen() || !SourceOf(m_file, m_source))
            return SystemFault(NotRead);
        m_source.Read = ReadUnlessStopped;
        return {};
    }

    PackSource Source() const { return m_source; }
    bool IsCancelled() const { return isStopRequested != 0; }

private:
    UniqueHandle m_file;
    PackSource m_source = {};
};

// Locks a folder that another run may have locked, for whose end it waits up to
// ten seconds. Where nothing can be locked, nothing is waited for.
Fault AwaitLock(int folder)
{
    constexpr int mostAttempts = 5000;
    static constexpr timespec pause = { 0, 2'000'000 };
    const auto attempt = [folder] {
        const bool isFree = !isStopRequested && (Lock(folder) || errno != EWOULDBLOCK);
        return isFree ? Fault() : Fault{ NotReplaced, EWOULDBLOCK, isStopRequested == 0 };
    };
    return LastFault(
        mostAttempts, [] { nanosleep(&pause, nullptr); }, attempt);
}

// No fault when an exam can be put in that place: nothing is there, or a folder of
// files.
Fault CheckPlace(int exams, const char *name)
{
    const UniqueHandle folder(openat(exams, name, FolderFlags | O_NOFOLLOW));
    if (!folder.IsOpen() && errno == ENOENT)
        return {};
    if (!folder.IsOpen() && (errno == ENOTDIR || errno == ELOOP))
        return InPlace;
    if (!folder.IsOpen())
        return SystemFault(NotReplaced);
    return HoldsFolder(folder) ? FolderInside : Fault();
}

// The user's exams folder. The folders of its path that were made are removed
// again if they stay empty.
class ExamsFolder {
public:
    ExamsFolder() = default;
    ~ExamsFolder()
    {
        for (std::size_t length = std::strlen(m_path); m_made > 0 && length >= m_made; --length) {
            if (m_path[length] == '\0' || m_path[length] == '/') {
                m_path[length] = '\0';
                rmdir(m_path);
            }
        }
    }
    ExamsFolder(const ExamsFolder &) = delete;
    ExamsFolder &operator=(const ExamsFolder &) = delete;

    Fault Open()
    {
        const char *data = getenv("XDG_DATA_HOME");
        const char *home = getenv("HOME");
        const bool hasData = data && data[0] == '/';
        if (!hasData && (!home || home[0] != '/'))
            return { NoExamsFolder };
        for (const char *part : { hasData ? data : home, hasData ? "" : "/.local/share", ExamsPath }) {
            const std::size_t length = std::strlen(m_path);
            const std::size_t more = std::strlen(part);
            if (length + more >= sizeof m_path)
                return { NoExamsFolder, ENAMETOOLONG };
            std::copy_n(part, more + 1, m_path + length);
        }
        m_folder = UniqueHandle(open(m_path, FolderFlags));
        if (!m_folder.IsOpen() && errno == ENOENT && Make())
            m_folder = UniqueHandle(open(m_path, FolderFlags));
        return m_folder.IsOpen() ? Fault() : SystemFault(NoExamsFolder);
    }

    Fault Check(std::string_view package) const { return CheckPlace(m_folder, Name(package)); }
    void Sweep() const;

    operator int() const { return m_folder; }

private:
    bool Make()
    {
        for (std::size_t length = 1; m_path[length - 1] != '\0'; ++length) {
            const char after = m_path[length];
            if (after != '/' && after != '\0')
                continue;
            m_path[length] = '\0';
            const bool isMade = mkdir(m_path, S_IRWXU) == 0;
            m_path[length] = after;
            if (isMade && m_made == 0)
                m_made = length;
            if (!isMade && errno != EEXIST)
                return false;
        }
        return true;
    }

    char m_path[PATH_MAX] = {};
    std::size_t m_made = 0; // length of the shortest path that was made
    UniqueHandle m_folder;
};

// A new folder inside the exams folder, which is removed with everything in it
// unless it has been swapped in.
class WorkFolder {
public:
    explicit WorkFolder(int exams)
        : m_exams(exams)
    {
    }
    ~WorkFolder()
    {
        if (m_isMade)
            Remove(m_exams, m_name.Text);
    }
    WorkFolder(const WorkFolder &) = delete;
    WorkFolder &operator=(const WorkFolder &) = delete;

    Fault Make()
    {
        return LastFault(MostAttempts, NoPause, [this] { return TryMake(); });
    }

    // Creates a file in the folder, writes to it, and closes it.
    Fault Begin(std::string_view name)
    {
        m_file = UniqueHandle(openat(m_folder, Name(name), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
        return m_file.IsOpen() ? Fault() : SystemFault(NotWritten);
    }
    Fault Put(const char *bytes, std::size_t count)
    {
        return WriteAll(m_file, bytes, count) ? Fault() : SystemFault(NotWritten);
    }
    Fault End() { return Sync(m_file) && m_file.Close() ? Fault() : SystemFault(NotWritten); }
    // Flushes the folder to the disk.
    Fault Keep() { return Sync(m_folder) ? Fault() : SystemFault(NotWritten); }

    // Puts the folder where the exam belongs and removes what was there.
    Fault SwapIn(std::string_view package)
    {
        if (isStopRequested)
            return Cancelled;
        const Name place(package);
        const Name kept(package, KeptPrefix);
        return LastFault(MostAttempts, NoPause, [&] { return TrySwapIn(place, kept); });
    }

private:
    Fault TryMake()
    {
        unsigned char random[WorkDigits / 2] = {};
        if (getrandom(random, sizeof random, 0) != sizeof random)
            return SystemFault(NotWritten);
        m_name = WorkName(random);
        if (mkdirat(m_exams, m_name.Text, 0777) != 0)
            return SystemFault(NotWritten, errno == EEXIST);
        m_isMade = true;
        m_folder = UniqueHandle(openat(m_exams, m_name.Text, FolderFlags | O_NOFOLLOW));
        if (m_folder.IsOpen() && IsOurs())
            return {};
        m_isMade = false;
        unlinkat(m_exams, m_name.Text, AT_REMOVEDIR);
        return SystemFault(NotWritten, true);
    }

    Fault TrySwapIn(const char *place, const char *kept)
    {
        if (const Fault fault = CheckPlace(m_exams, place))
            return fault;
        // Nothing was there, or an empty folder.
        if (renameat(m_exams, m_name.Text, m_exams, place) == 0)
            return Finish(place, nullptr);
        return errno == ENOTEMPTY || errno == EEXIST ? Replace(place, kept) : SystemFault(NotWritten);
    }

    Fault Replace(const char *place, const char *kept)
    {
        // While it is locked, no other run removes the old exam as a leftover. The
        // new exam of another run is locked until that run ends.
        const UniqueHandle old(openat(m_exams, place, FolderFlags | O_NOFOLLOW));
        if (const Fault fault = old.IsOpen() ? AwaitLock(old) : Fault())
            return fault;
        if (!old.IsOpen() || !IsAt(old, place))
            return SystemFault(NotWritten, true);
        if (renameat2(m_exams, m_name.Text, m_exams, place, RENAME_EXCHANGE) == 0)
            return Finish(place, m_name.Text);
        return errno == EINVAL || errno == ENOSYS ? ReplaceInTwoSteps(place, kept) : RenameFault();
    }

    // If the run is killed between the steps, the next one moves the exam back.
    Fault ReplaceInTwoSteps(const char *place, const char *kept)
    {
        if (const Fault fault = ClearKept(kept))
            return fault;
        if (renameat(m_exams, place, m_exams, kept) != 0)
            return RenameFault();
        if (renameat(m_exams, m_name.Text, m_exams, place) == 0)
            return Finish(place, kept);
        const Fault fault = RenameFault();
        renameat(m_exams, kept, m_exams, place);
        return fault;
    }

    // Another run may have been faster, whose exam is replaced in turn.
    static Fault RenameFault() { return SystemFault(NotWritten, errno == ENOENT || errno == ENOTEMPTY || errno == EEXIST); }

    // Another run may have removed the folder as a leftover before it was locked.
    // Where nothing can be locked, leftovers are not removed.
    bool IsOurs() const
    {
        struct stat status = {};
        return (Lock(m_folder) || errno != EWOULDBLOCK) && fstat(m_folder, &status) == 0 && status.st_nlink > 0;
    }

    // Removes what a killed run has kept, but not what another run still needs.
    Fault ClearKept(const char *kept) const
    {
        const UniqueHandle folder(openat(m_exams, kept, FolderFlags | O_NOFOLLOW));
        const Fault fault = folder.IsOpen() ? AwaitLock(folder) : Fault();
        if (!fault)
            Remove(m_exams, kept);
        return fault;
    }

    // The exam is in its place; old is the name that the previous one has now, or
    // nullptr. That one is removed only once the change is on the disk, and moved
    // back when the flush fails.
    Fault Finish(const char *place, const char *old)
    {
        const Fault fault = Sync(m_exams) ? Fault() : SystemFault(NotWritten);
        // A signal that came after the exam was in its place is ignored.
        isStopRequested = 0;
        if (fault && (!IsAt(m_folder, place) || ChangeBack(place, old)))
            return fault;
        m_isMade = false;
        if (fault)
            return { NotKept, fault.Code };
        if (old)
            Remove(m_exams, old);
        return {};
    }

    // Whether the open folder still has that name. Another run may have replaced
    // it, whose exam then stays.
    bool IsAt(int folder, const char *name) const
    {
        struct stat here = {};
        struct stat there = {};
        return fstat(folder, &here) == 0 && fstatat(m_exams, name, &there, AT_SYMLINK_NOFOLLOW) == 0
            && here.st_dev == there.st_dev && here.st_ino == there.st_ino;
    }

    // Moves the folder back to its first name, and the previous exam to its place.
    bool ChangeBack(const char *place, const char *old) const
    {
        if (old == m_name.Text)
            return renameat2(m_exams, place, m_exams, m_name.Text, RENAME_EXCHANGE) == 0;
        // One of the two exams has to stay.
        if (old && faccessat(m_exams, old, F_OK, AT_SYMLINK_NOFOLLOW) != 0)
            return false;
        if (renameat(m_exams, place, m_exams, m_name.Text) != 0)
            return false;
        // If this fails, the next run does it.
        if (old)
            renameat(m_exams, old, m_exams, place);
        return true;
    }

    int m_exams;
    WorkName m_name{ {} };
    bool m_isMade = false;
    UniqueHandle m_folder;
    UniqueHandle m_file;
};

// Removes the leftovers of killed runs, and moves exams back that they had kept.
void ExamsFolder::Sweep() const
{
    ForEach(m_folder, [this](const char *entry) {
        const std::string_view package = KeptPackage(entry);
        if (package.empty() && !IsWorkName(entry))
            return true;
        const UniqueHandle folder(openat(m_folder, entry, FolderFlags | O_NOFOLLOW));
        struct stat status = {};
        if (!folder.IsOpen() || fstat(folder, &status) != 0 || status.st_uid != geteuid())
            return true;
        const bool isLocked = Lock(folder);
        if (!isLocked && errno == EWOULDBLOCK)
            return true;
        const bool isMissing
            = !package.empty() && fstatat(m_folder, package.data(), &status, AT_SYMLINK_NOFOLLOW) != 0 && errno == ENOENT;
        if (isMissing)
            renameat(m_folder, entry, m_folder, package.data());
        else if (isLocked)
            Remove(m_folder, entry);
        return true;
    });
}

}

// A signal to stop is only noted, so that the run can clean up. A write past a
// limit is an error like a full disk.
void PrepareProgram()
{
    for (const int number : { SIGINT, SIGTERM, SIGHUP }) {
        struct sigaction before = {};
        struct sigaction action = {};
        action.sa_handler = RequestStop;
        sigaction(number, nullptr, &before);
        if (before.sa_handler != SIG_IGN)
            sigaction(number, &action, nullptr);
    }
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
}

Fault SystemFault(const char *text, bool isPassing)
{
    return { text, static_cast<unsigned long>(errno), isPassing };
}

const char *SystemText(unsigned long code)
{
    return strerrordesc_np(static_cast<int>(code));
}

void WriteErrorLine(const char *line, std::size_t length)
{
    WriteAll(STDERR_FILENO, line, length);
}

int InstallPack(const char *file, InstallPort &port)
{
    return InstallFile<OpenPack, ExamsFolder, WorkFolder>(file, port);
}
