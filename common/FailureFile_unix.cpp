// SPDX-License-Identifier: Apache-2.0
#include "common/FailureFile_p.h"

#include <QDir>

#include <climits>
#include <csignal>
#include <cstdint>
#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <iterator>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace FailureFile {

namespace {

constexpr int MostFrames = 64;

// Never destroyed, because a crash may come while the program ends.
QByteArray &filePath = *new QByteArray;
std::string_view fileHeader;
// Of the handler: the usual stack may be what ran out.
alignas(16) char handlerStack[64 * 1024];

void Put(int file, std::string_view text)
{
    [[maybe_unused]] const ssize_t written = write(file, text.data(), text.size());
}

void PutNumber(int file, std::uintptr_t number)
{
    char digits[2 * sizeof number];
    for (auto digit = std::rbegin(digits); digit != std::rend(digits); ++digit, number >>= 4)
        *digit = "0123456789abcdef"[number & 0xF];
    Put(file, { digits, sizeof digits });
}

// The program or library that the address is in, without its folder, and the distance from
// its start.
void PutFrame(int file, const void *address)
{
    Dl_info about = {};
    if (dladdr(address, &about) != 0 && about.dli_fname) {
        const std::string_view path(about.dli_fname);
        Put(file, path.substr(path.rfind('/') + 1));
    }
    Put(file, " +");
    PutNumber(file, reinterpret_cast<std::uintptr_t>(address) - reinterpret_cast<std::uintptr_t>(about.dli_fbase));
    Put(file, "\n");
}

// Makes the folders on the way to the file.
void MakeFolders()
{
    static char path[PATH_MAX];
    const auto length = static_cast<std::size_t>(filePath.size());
    if (length >= sizeof path)
        return;
    for (std::size_t at = 0; at < length; ++at) {
        path[at] = '\0';
        if (at > 0 && filePath.constData()[at] == '/')
            mkdir(path, S_IRWXU);
        path[at] = filePath.constData()[at];
    }
}

void OnCrash(int signal)
{
    char line[] = "Signal 00";
    line[sizeof line - 3] = static_cast<char>('0' + signal / 10);
    line[sizeof line - 2] = static_cast<char>('0' + signal % 10);
    Write(line);
    // The handler is gone by now, so that this is what the system would have done.
    raise(signal);
}

}

QString StateFolder()
{
    const QString state = qEnvironmentVariable("XDG_STATE_HOME");
    if (QDir::isAbsolutePath(state))
        return state + u"/Practorium"_s;
    const QString home = qEnvironmentVariable("HOME");
    return QDir::isAbsolutePath(home) ? home + u"/.local/state/Practorium"_s : QString();
}

void Watch(const QString &path, std::string_view header)
{
    filePath = path.toUtf8();
    fileHeader = header;
    // Its first call loads a library.
    void *frame = nullptr;
    backtrace(&frame, 1);
    stack_t stack = {};
    stack.ss_sp = handlerStack;
    stack.ss_size = sizeof handlerStack;
    sigaltstack(&stack, nullptr);
    struct sigaction action = {};
    action.sa_handler = OnCrash;
    action.sa_flags = SA_ONSTACK | static_cast<int>(SA_RESETHAND);
    for (const int signal : { SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT })
        sigaction(signal, &action, nullptr);
}

void Write(std::string_view line)
{
    MakeFolders();
    const int file = open(filePath.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (file < 0)
        return;
    Put(file, fileHeader);
    Put(file, line);
    Put(file, "\n");
    void *frames[MostFrames];
    const int count = backtrace(frames, MostFrames);
    for (int at = 0; at < count; ++at)
        PutFrame(file, frames[at]);
    close(file);
    Put(STDERR_FILENO, "What happened is described in ");
    Put(STDERR_FILENO, { filePath.constData(), static_cast<size_t>(filePath.size()) });
    Put(STDERR_FILENO, "\n");
}

}
