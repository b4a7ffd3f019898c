#include "common/Common.h"

#include "common/Error.h"

#include <QFile>
#include <QProcess>

#include <cerrno>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace Common {

qint32 SyncShell(const QString &command)
{
    const auto failed = [&] {
        return Error(InvalidCall, u"Unable to execute command "_s + command, u"SyncShell()"_s);
    };
    std::vector<QByteArray> words;
    for (const QString &word : QProcess::splitCommand(command))
        words.push_back(QFile::encodeName(word));
    if (words.empty())
        throw failed();
    std::vector<char *> arguments;
    for (QByteArray &word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);

    pid_t child = 0;
    if (posix_spawnp(&child, arguments.front(), nullptr, nullptr, arguments.data(), environ) != 0)
        throw failed();
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) { }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}
