// SPDX-License-Identifier: Apache-2.0
#include "common/Common.h"

#include "common/Error.h"

#include <QFile>
#include <QProcess>

#include <cerrno>
#include <csignal>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace Common {

namespace {

// While SIGCHLD is ignored, as a program may be started, the system keeps no
// exit codes.
class ExitCodesAreKept {
public:
    ExitCodesAreKept()
    {
        sigaction(SIGCHLD, nullptr, &m_before);
        if (m_before.sa_handler == SIG_IGN)
            std::signal(SIGCHLD, SIG_DFL);
    }
    ~ExitCodesAreKept()
    {
        if (m_before.sa_handler == SIG_IGN)
            sigaction(SIGCHLD, &m_before, nullptr);
    }
    ExitCodesAreKept(const ExitCodesAreKept &) = delete;
    ExitCodesAreKept &operator=(const ExitCodesAreKept &) = delete;

private:
    struct sigaction m_before = {};
};

}

qint32 SyncShell(const QString &command)
{
    const auto failed = [&](int code) {
        Error error(InvalidCall, u"Unable to execute command "_s + command, u"SyncShell()"_s);
        SetLastSystemError(code);
        return error;
    };
    std::vector<QByteArray> words;
    for (const QString &word : QProcess::splitCommand(command))
        words.push_back(QFile::encodeName(word));
    if (words.empty())
        throw failed(ENOENT);
    std::vector<char *> arguments;
    arguments.reserve(words.size() + 1);
    for (QByteArray &word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);

    const ExitCodesAreKept kept;
    pid_t child = 0;
    if (const int code = posix_spawnp(&child, arguments.front(), nullptr, nullptr, arguments.data(), environ); code != 0)
        throw failed(code);
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR)
            throw failed(errno);
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}
