#include "pack/stub/Install.h"

#include "pack/stub/Files_unix.h"
#include "pack/stub/PackReader.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

const char OwnFile[] = "/proc/self/exe";

namespace {

// Folders inside the exams folder that are no exams: no package holds a file
// with a leading dot, so that none of them ever holds an exam of its own name.
//
// What is being unpacked, or was replaced: a number of 16 digits follows.
constexpr std::string_view WorkPrefix = ".practorium-pack-";
constexpr std::size_t WorkDigits = 16;
// The exam that is being replaced where two folders cannot change places: the
// package's name follows.
constexpr std::string_view KeptPrefix = ".practorium-kept-";

constexpr char ExamsPath[] = "/Practorium/Exams";
constexpr int MostAttempts = 100;

volatile std::sig_atomic_t hasCome = 0;

void Note(int)
{
    hasCome = 1;
}

// A wish to stop only leaves a note, so that nothing half-made stays. A write
// past a limit is an error like a full disk.
void NoteSignals()
{
    for (const int number : { SIGINT, SIGTERM, SIGHUP }) {
        struct sigaction before = {};
        struct sigaction action = {};
        action.sa_handler = Note;
        sigaction(number, nullptr, &before);
        if (before.sa_handler != SIG_IGN)
            sigaction(number, &action, nullptr);
    }
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
}

// What went wrong, with the system's code for it if there is one; without a
// text nothing did.
struct Fault {
    const char *Text = nullptr;
    int Code = 0;
    explicit operator bool() const { return Text != nullptr; }
};

constexpr Fault Cancelled = { "cancelled", 0 };
constexpr char NotWritten[] = "the exam cannot be written";
constexpr char NoExamsFolder[] = "there is no exams folder to install into";

Fault SystemFault(const char *text)
{
    return { text, errno };
}

// A name of the pack as the system wants it.
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

bool ReadAt(int file, std::uint64_t offset, void *out, std::size_t count)
{
    auto *bytes = static_cast<char *>(out);
    while (count > 0 && !hasCome) {
        const ssize_t got = pread(file, bytes, count, static_cast<off_t>(offset));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        bytes += got;
        offset += static_cast<std::uint64_t>(got);
        count -= static_cast<std::size_t>(got);
    }
    return count == 0;
}

// The user's exams folder. What was made of its path goes again if nothing
// comes into it.
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
        m_folder = Descriptor(open(m_path, FolderFlags));
        if (!m_folder.IsOpen() && errno == ENOENT && Make())
            m_folder = Descriptor(open(m_path, FolderFlags));
        return m_folder.IsOpen() ? Fault() : SystemFault(NoExamsFolder);
    }

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
    Descriptor m_folder;
};

// Whether an exam can come to that place: nothing is there, or a folder of files.
Fault CheckPlace(int exams, const char *name)
{
    const Descriptor folder(openat(exams, name, FolderFlags | O_NOFOLLOW));
    if (!folder.IsOpen() && errno == ENOENT)
        return {};
    if (!folder.IsOpen() && (errno == ENOTDIR || errno == ELOOP))
        return { "a file or a link is in its place" };
    if (!folder.IsOpen())
        return SystemFault("the installed exam cannot be replaced");
    return HoldsFolder(folder) ? Fault{ "the installed exam cannot be replaced, because a folder is in it" } : Fault();
}

// A new folder inside the exams folder, which goes with everything in it
// unless it has been swapped in.
class WorkFolder {
public:
    explicit WorkFolder(int exams)
        : m_exams(exams)
    {
        std::copy(WorkPrefix.begin(), WorkPrefix.end(), m_name);
    }
    ~WorkFolder()
    {
        if (m_isMade)
            Remove(m_exams, m_name);
    }
    WorkFolder(const WorkFolder &) = delete;
    WorkFolder &operator=(const WorkFolder &) = delete;

    operator int() const { return m_folder; }

    Fault Make()
    {
        errno = EEXIST;
        for (int attempt = 0; attempt < MostAttempts; ++attempt) {
            unsigned char random[WorkDigits / 2];
            if (getrandom(random, sizeof random, 0) != sizeof random)
                break;
            for (std::size_t i = 0; i < WorkDigits; ++i)
                m_name[WorkPrefix.size() + i] = "0123456789abcdef"[random[i / 2] >> (i % 2 * 4) & 0xF];
            if (mkdirat(m_exams, m_name, 0777) != 0) {
                if (errno == EEXIST)
                    continue;
                break;
            }
            m_isMade = true;
            m_folder = Descriptor(openat(m_exams, m_name, FolderFlags | O_NOFOLLOW));
            if (m_folder.IsOpen() && IsOurs())
                return {};
            m_isMade = false;
            unlinkat(m_exams, m_name, AT_REMOVEDIR);
        }
        return SystemFault(NotWritten);
    }

    // Puts the folder where the exam belongs and removes what was there.
    Fault SwapIn(std::string_view package)
    {
        const Name place(package);
        const Name kept(package, KeptPrefix);
        for (int attempt = 0; attempt < MostAttempts; ++attempt) {
            if (const Fault fault = CheckPlace(m_exams, place))
                return fault;
            // Nothing was there, or an empty folder.
            if (renameat(m_exams, m_name, m_exams, place) == 0)
                return Finish(m_name);
            if (errno != ENOTEMPTY && errno != EEXIST)
                return SystemFault(NotWritten);
            if (renameat2(m_exams, m_name, m_exams, place, RENAME_EXCHANGE) == 0)
                return Finish(m_name);
            if (errno == EINVAL || errno == ENOSYS) {
                // Two steps, in between of which a run that dies leaves an exam
                // that the next one puts back.
                Remove(m_exams, kept);
                if (renameat(m_exams, place, m_exams, kept) == 0) {
                    if (renameat(m_exams, m_name, m_exams, place) == 0)
                        return Finish(kept);
                    const int code = errno;
                    renameat(m_exams, kept, m_exams, place);
                    errno = code;
                }
            }
            // Another run may have been faster; its exam is replaced in turn.
            if (errno != ENOENT && errno != ENOTEMPTY && errno != EEXIST)
                return SystemFault(NotWritten);
        }
        return SystemFault(NotWritten);
    }

private:
    // Whoever clears away leftovers may have come between making the folder
    // and locking it. Where nothing can be locked, nothing is cleared away.
    bool IsOurs() const
    {
        struct stat status = {};
        return (Lock(m_folder) || errno != EWOULDBLOCK) && fstat(m_folder, &status) == 0 && status.st_nlink > 0;
    }

    Fault Finish(const char *old)
    {
        m_isMade = false;
        // The old exam goes only when the new one is sure to stay.
        if (!Sync(m_exams))
            return SystemFault(NotWritten);
        Remove(m_exams, old);
        return {};
    }

    int m_exams;
    char m_name[WorkPrefix.size() + WorkDigits + 1] = {};
    bool m_isMade = false;
    Descriptor m_folder;
};

bool IsWorkName(std::string_view name)
{
    return name.starts_with(WorkPrefix) && name.size() == WorkPrefix.size() + WorkDigits
        && name.find_first_not_of("0123456789abcdef", WorkPrefix.size()) == std::string_view::npos;
}

// Clears away what runs left behind that were ended by force.
void Sweep(int exams)
{
    ForEach(exams, [exams](const char *entry) {
        const std::string_view name = entry;
        const char *place = entry + std::min(name.size(), KeptPrefix.size());
        const bool isKept = name.starts_with(KeptPrefix) && PackFormat::IsPlainName(place);
        if (!isKept && !IsWorkName(name))
            return true;
        const Descriptor folder(openat(exams, entry, FolderFlags | O_NOFOLLOW));
        struct stat status = {};
        if (!folder.IsOpen() || fstat(folder, &status) != 0 || status.st_uid != geteuid())
            return true;
        if (isKept) {
            if (fstatat(exams, place, &status, AT_SYMLINK_NOFOLLOW) != 0 && errno == ENOENT)
                renameat(exams, entry, exams, place);
            else
                Remove(exams, entry);
        } else if (Lock(folder)) {
            Remove(exams, entry);
        }
        return true;
    });
}

Fault WriteFile(PackReader &pack, int folder, const PackEntry &entry)
{
    static char block[1 << 18];
    Descriptor file(openat(folder, Name(entry.Name), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
    if (!file.IsOpen())
        return SystemFault(NotWritten);
    for (std::uint64_t left = entry.Size; left > 0;) {
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(left, sizeof block));
        errno = 0;
        if (!pack.Read(block, count))
            return SystemFault("the pack cannot be read");
        if (!WriteAll(file, block, count))
            return SystemFault(NotWritten);
        left -= count;
    }
    return Sync(file) && file.Close() ? Fault() : SystemFault(NotWritten);
}

Fault Unpack(PackReader &pack, int folder)
{
    PackEntry entry;
    while (pack.Next(entry)) {
        if (const Fault fault = WriteFile(pack, folder, entry))
            return fault;
    }
    if (!pack.IsSame())
        return { "the pack has changed while it was read" };
    return Sync(folder) ? Fault() : SystemFault(NotWritten);
}

Fault Install(PackReader &pack)
{
    ExamsFolder exams;
    if (const Fault fault = exams.Open())
        return fault;
    if (const Fault fault = CheckPlace(exams, Name(pack.Folder())))
        return fault;
    Sweep(exams);
    WorkFolder work(exams);
    if (const Fault fault = work.Make())
        return fault;
    if (const Fault fault = Unpack(pack, work))
        return fault;
    return hasCome ? Cancelled : work.SwapIn(pack.Folder());
}

}

void Complain(const char *about, const char *text, const char *reason)
{
    char line[1024];
    std::size_t length = 0;
    const auto add = [&](const char *part) {
        const std::size_t count = std::min(std::strlen(part), sizeof line - 1 - length);
        std::copy_n(part, count, line + length);
        length += count;
    };
    add("Exam pack: ");
    for (const char *part : { about, text, reason }) {
        if (part && part != about && length > std::strlen("Exam pack: "))
            add(": ");
        if (part)
            add(part);
    }
    line[length++] = '\n';
    WriteAll(STDERR_FILENO, line, length);
}

int InstallPack(const char *file)
{
    hasCome = 0;
    NoteSignals();
    const Descriptor descriptor(open(file, O_RDONLY | O_CLOEXEC));
    struct stat status = {};
    if (!descriptor.IsOpen() || fstat(descriptor, &status) != 0) {
        Complain(nullptr, "the pack cannot be read", strerrordesc_np(errno));
        return 1;
    }
    PackReader pack({ ReadAt, descriptor, static_cast<std::uint64_t>(status.st_size) });
    const char *damage = pack.Check();
    Fault fault = damage ? Fault{ damage } : Install(pack);
    if (!fault)
        return 0;
    if (hasCome)
        fault = Cancelled;
    Complain(damage ? nullptr : static_cast<const char *>(Name(pack.Folder())), fault.Text,
             fault.Code != 0 ? strerrordesc_np(fault.Code) : nullptr);
    return 1;
}
