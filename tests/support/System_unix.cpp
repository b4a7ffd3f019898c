// SPDX-License-Identifier: Apache-2.0
#include "tests/support/System.h"

#include "common/Common.h"
#include "tests/support/Program.h"
#include "tests/support/Sandbox.h"
#include "tests/support/SmallDisk.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <csignal>
#include <dlfcn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace System {

const int NotFound = ENOENT;
const int FolderNotFound = ENOENT;
const int Exists = EEXIST;
const int IsFolder = EISDIR;
const int IsDevice = EINVAL;
const int NotOpen = EBADF;
const int NotAllowed = EBADF;
const int BelowAFile = ENOTDIR;

const bool RunsByName = false;

const QString Device = u"/dev/zero"_s;

QString TextOf(int code)
{
    return Common::ShownText(Common::SystemErrorText(code));
}

QString ProgramFiles()
{
    return Sandbox::Path(u"xdg_data_home"_s);
}

void ForgetSettings(const QString &)
{
    QDir(Sandbox::Path(u"xdg_config_home/Practorium"_s)).removeRecursively();
}

bool HasWidgets()
{
    return dlopen("libQt6Widgets.so.6", RTLD_LAZY | RTLD_NOLOAD) != nullptr;
}

bool MakePipe(const QString &path)
{
    return mkfifo(QFile::encodeName(path).constData(), 0600) == 0;
}

bool MakeLink(const QString &target, const QString &path)
{
    return symlink(QFile::encodeName(target).constData(), QFile::encodeName(path).constData()) == 0;
}

}

bool HearsSignals(QProcess &)
{
    return true;
}

void Signal(const QProcess &process, int number)
{
    ::kill(static_cast<pid_t>(process.processId()), number);
}

Preparation SmallFiles(quint64 bytes)
{
    return [bytes](QProcess &process) {
        // Nor have the counters of a coverage build any room.
        QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
        variables.insert(u"LLVM_PROFILE_FILE"_s, u"/dev/null"_s);
        process.setProcessEnvironment(variables);
        process.setChildProcessModifier([bytes] {
            const rlimit limit = { bytes, bytes };
            setrlimit(RLIMIT_FSIZE, &limit);
        });
    };
}

struct SmallDisk::System {
    rlimit Before = {};
    void (*Handler)(int) = nullptr;
};

SmallDisk::SmallDisk(quint64 bytes)
    : m_system(std::make_unique<System>())
{
    m_system->Handler = std::signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &m_system->Before);
    const rlimit small = { bytes, m_system->Before.rlim_max };
    setrlimit(RLIMIT_FSIZE, &small);
}

SmallDisk::~SmallDisk()
{
    setrlimit(RLIMIT_FSIZE, &m_system->Before);
    std::signal(SIGXFSZ, m_system->Handler);
}

const char *SmallDisk::WhyNot()
{
    return nullptr;
}
