// SPDX-License-Identifier: Apache-2.0
#include "download/PackFile.h"

#include "common/Common.h"
#include "common/Error.h"
#include "handles/Handle_unix.h"
#include "model/IO.h"

#include <QByteArray>
#include <QFile>

#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

// Chunks of the network are small; the disk gets them in larger pieces.
constexpr qsizetype WriteBuffer = 256 * 1024;

Error Exchanged()
{
    return Error(InvalidCall, u"The downloaded file is not the one that was written"_s, u"PackFile"_s);
}

// Raises an Error unless nobody but this user and the administrator can put
// another file at the place of one of this user's in the folder, or another
// folder at the place of that one or of one above it. Where others may write,
// the sticky bit keeps them from renaming what is not theirs; it does not keep a
// folder's owner.
void CheckFolder(const QString &folder)
{
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(QFile::encodeName(folder).constData(), nullptr),
                                                           &std::free);
    Common::CheckApiResult(real != nullptr);
    for (std::string path = real.get(); !path.empty(); path.erase(path.rfind('/'))) {
        struct stat status = {};
        Common::CheckApiResult(stat(path.c_str(), &status) == 0);
        const bool isTheirs = status.st_uid != geteuid() && status.st_uid != 0;
        const bool isShared = (status.st_mode & (S_IWGRP | S_IWOTH)) != 0 && (status.st_mode & S_ISVTX) == 0;
        if (isTheirs || isShared)
            throw Error(InvalidCall, u"Other users can exchange files in %1"_s.arg(QFile::decodeName(path.c_str())),
                        u"PackFile"_s);
    }
}

}

struct PackFile::System {
    UniqueHandle File;
    UniqueHandle Reader; // of what is checked before it becomes a program
    dev_t Device = 0;
    ino_t Node = 0;
    QByteArray Pending;

    void WritePending()
    {
        Common::CheckApiResult(WriteAll(File, Pending.constData(), static_cast<size_t>(Pending.size())));
        Pending.clear();
    }

    bool IsStill(const QByteArray &path, struct stat &status) const
    {
        return lstat(path.constData(), &status) == 0 && Is(status);
    }

    bool Is(const struct stat &status) const
    {
        return S_ISREG(status.st_mode) && status.st_dev == Device && status.st_ino == Node && status.st_uid == geteuid()
            && status.st_nlink == 1;
    }
};

PackFile::PackFile() = default;
PackFile::~PackFile() = default;

void PackFile::Create(const QString &path)
{
    m_path = path;
    m_system = std::make_unique<System>();
    m_system->Pending.reserve(WriteBuffer);
    m_system->File
        = UniqueHandle(open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    Common::CheckApiResult(m_system->File.IsOpen());
    struct stat status = {};
    Common::CheckApiResult(fstat(m_system->File, &status) == 0);
    m_system->Device = status.st_dev;
    m_system->Node = status.st_ino;
}

void PackFile::Write(const char *bytes, qint64 count)
{
    m_system->Pending.append(bytes, count);
    if (m_system->Pending.size() >= WriteBuffer)
        m_system->WritePending();
}

void PackFile::StartOver()
{
    m_system->Pending.clear();
    Common::CheckApiResult(ftruncate(m_system->File, 0) == 0 && lseek(m_system->File, 0, SEEK_SET) == 0);
}

void PackFile::Close()
{
    if (!m_system || !m_system->File.IsOpen())
        return;
    m_system->WritePending();
    Common::CheckApiResult(m_system->File.Close());
}

void PackFile::Abandon()
{
    if (m_system) {
        m_system->File.Close();
        m_system->Reader.Close();
    }
}

// The handle that writes cannot stay: the system runs no file that is open for writing.
std::intptr_t PackFile::OpenForCheck()
{
    if (!m_system)
        throw Exchanged();
    Close();
    m_system->Reader = UniqueHandle(open(QFile::encodeName(m_path).constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status = {};
    Common::CheckApiResult(m_system->Reader.IsOpen() && fstat(m_system->Reader, &status) == 0);
    if (!m_system->Is(status))
        throw Exchanged();
    return m_system->Reader;
}

void PackFile::MakeRunnable()
{
    if (!m_system)
        throw Exchanged();
    Close();
    // Open up to the end of the look at the path: no other file can have the same number.
    const UniqueHandle checked = std::move(m_system->Reader);
    const QByteArray path = QFile::encodeName(m_path);
    struct stat status = {};
    CheckFolder(IO::GetFolder(m_path));
    if (!m_system->IsStill(path, status))
        throw Exchanged();
    Common::CheckApiResult(chmod(path.constData(), S_IRUSR | S_IWUSR | S_IXUSR) == 0);
    struct statvfs disk = {};
    if (statvfs(path.constData(), &disk) == 0 && (disk.f_flag & ST_NOEXEC) != 0)
        throw Error(InvalidCall, u"No program can be run from the disk that it is on (noexec)"_s, u"PackFile"_s);
}

// Nobody else can put another file there, or MakeRunnable has raised an Error.
QString PackFile::RunPath() const
{
    return m_path;
}

void PackFile::Remove()
{
    const QByteArray path = QFile::encodeName(m_path);
    struct stat status = {};
    if (!m_system || !m_system->IsStill(path, status))
        throw Exchanged();
    Common::CheckApiResult(unlink(path.constData()) == 0);
}

void RemoveOwnFile(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    struct stat status = {};
    if (lstat(name.constData(), &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == geteuid())
        unlink(name.constData());
}

bool IsPlainFileName(const QString &name)
{
    return !name.isEmpty() && name != "."_L1 && name != ".."_L1 && !name.contains(u'/') && !name.contains(QChar(u'\0'));
}
