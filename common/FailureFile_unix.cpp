// SPDX-License-Identifier: Apache-2.0
#include "common/FailureFile_p.h"

#include <QDir>

#include <csignal>
#include <cstring>
#include <execinfo.h>
#include <fcntl.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace FailureFile {

namespace {

constexpr int MostFrames = 64;

QByteArray filePath;
std::string_view fileHeader;
// Of the handler: the usual stack may be what ran out.
alignas(16) char handlerStack[64 * 1024];

void Put(int file, std::string_view text)
{
    [[maybe_unused]] const ssize_t written = write(file, text.data(), text.size());
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
    const int file = open(filePath.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (file < 0)
        return;
    Put(file, fileHeader);
    Put(file, line);
    Put(file, "\n");
    void *frames[MostFrames];
    backtrace_symbols_fd(frames, backtrace(frames, MostFrames), file);
    close(file);
    Put(STDERR_FILENO, "What happened is described in ");
    Put(STDERR_FILENO, { filePath.constData(), static_cast<size_t>(filePath.size()) });
    Put(STDERR_FILENO, "\n");
}

}
