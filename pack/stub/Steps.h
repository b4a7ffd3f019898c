// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "handles/Retry.h"
#include "pack/stub/Install.h"
#include "pack/stub/PackReader.h"
#include "packformat/KeptExams.h"

#include <algorithm>

// The steps of installing a pack that are the same on every system.

// Folders inside the exams folder that are not listed as exams: the exam file would
// begin with a dot, which no name in a package does.
//
// What is being unpacked, or was replaced: 16 hexadecimal digits follow.
constexpr std::string_view WorkPrefix = ".practorium-pack-";
constexpr std::size_t WorkDigits = 16;
// The other kind begins with KeptPrefix.

// What went wrong, with the system's code for it or 0; without a text nothing
// did.
struct Fault {
    const char *Text = nullptr;
    unsigned long Code = 0;
    // Whether another attempt may succeed, because it is another run or program
    // that was in the way.
    bool IsPassing = false;
    explicit operator bool() const { return Text != nullptr; }
};

constexpr Fault Cancelled = { "cancelled", 0 };
constexpr char NotRead[] = "the pack cannot be read";
constexpr char NotWritten[] = "the exam cannot be written";
constexpr char NotKept[] = "the exam is there, but the system cannot say whether it will stay";
constexpr char NotReplaced[] = "the installed exam cannot be replaced";
constexpr char NoExamsFolder[] = "there is no exams folder to install into";
constexpr Fault InPlace = { "a file or a link is in its place", 0 };
constexpr Fault FolderInside = { "the installed exam cannot be replaced, because a folder is in it", 0 };

// A fault with the code of the system call that has just failed.
Fault SystemFault(const char *text, bool isPassing = false);
// Makes attempts, with a pause in between, until one has no fault or one that
// does not pass, so many at most; the fault of the last one.
template <class Pause, class Attempt> Fault LastFault(int most, Pause pause, Attempt attempt)
{
    Fault fault;
    Retry(most, pause, [&] {
        fault = attempt();
        return !fault.IsPassing;
    });
    // What has not passed by now will not.
    fault.IsPassing = false;
    return fault;
}
inline void NoPause() { }

// The system's words for a code, in UTF-8; good until the next call.
const char *SystemText(unsigned long code);
// Writes one line, in UTF-8, to the error output.
void WriteErrorLine(const char *line, std::size_t length);

// The name of a work folder that belongs to a random number.
struct WorkName {
    explicit WorkName(const unsigned char (&random)[WorkDigits / 2]);
    char Text[WorkPrefix.size() + WorkDigits + 1];
};
bool IsWorkName(std::string_view name);
// The package whose exam is kept in the folder of that name; empty for other names.
std::string_view KeptPackage(std::string_view name);

// Unpacks a checked pack into the folder.
template <class Work> Fault Unpack(PackReader &pack, Work &work)
{
    static char block[1 << 18];
    PackEntry entry;
    while (pack.Next(entry)) {
        if (const Fault fault = work.Begin(entry.Name))
            return fault;
        for (std::uint64_t left = entry.Size; left > 0;) {
            const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(left, sizeof block));
            if (!pack.Read(block, count))
                return SystemFault(NotRead);
            if (const Fault fault = work.Put(block, count))
                return fault;
            left -= count;
        }
        if (const Fault fault = work.End())
            return fault;
    }
    return pack.IsSame() ? work.Keep() : Fault{ "the pack has changed while it was read" };
}

// Installs a checked pack.
template <class Exams, class Work> Fault Install(PackReader &pack)
{
    Exams exams;
    if (const Fault fault = exams.Open())
        return fault;
    if (const Fault fault = exams.Check(pack.Folder()))
        return fault;
    exams.Sweep();
    Work work(exams);
    if (const Fault fault = work.Make())
        return fault;
    if (const Fault fault = Unpack(pack, work))
        return fault;
    return work.SwapIn(pack.Folder());
}

// Installs without a question, and reports a failure on the error output.
class ErrorOutput final : public InstallPort {
public:
    bool Agrees(PackReader &) override { return true; }
    void Fail(const char *about, const char *text, const char *reason) override { Complain(about, text, reason); }
};

// What InstallPack does, with the classes of the system.
template <class File, class Exams, class Work> int InstallFile(const char *path, InstallPort &port)
{
    const auto complain = [&port](const char *about, const Fault &fault) {
        port.Fail(about, fault.Text, fault.Code != 0 ? SystemText(fault.Code) : nullptr);
        return 1;
    };
    File file;
    if (const Fault fault = file.Open(path))
        return complain(nullptr, fault);
    PackReader pack(file.Source());
    if (const char *damage = pack.Check())
        return complain(nullptr, file.IsCancelled() ? Cancelled : Fault{ damage });
    if (!port.Agrees(pack))
        return 1;
    pack.Rewind();
    const Fault fault = Install<Exams, Work>(pack);
    if (!fault)
        return 0;
    char name[PackFormat::LongestName + 1] = {};
    std::copy(pack.Folder().begin(), pack.Folder().end(), name);
    return complain(name, file.IsCancelled() ? Cancelled : fault);
}
