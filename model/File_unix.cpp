// SPDX-License-Identifier: Apache-2.0
#include "model/File_p.h"

#include "handles/Handle_unix.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t AnyWrite = S_IWUSR | S_IWGRP | S_IWOTH;

// -1 for an unknown disposition.
int OpenFlags(quint32 access, quint32 disposition)
{
    const bool reads = (access & File::ReadAccess) != 0;
    const bool writes = (access & File::WriteAccess) != 0;
    int flags = writes ? (reads ? O_RDWR : O_WRONLY) : O_RDONLY;
    switch (disposition) {
    case File::OpenExisting: break;
    case File::CreateNew: flags |= O_CREAT | O_EXCL; break;
    case File::CreateAlways: flags |= O_CREAT | O_TRUNC; break;
    case File::OpenAlways: flags |= O_CREAT; break;
    case File::TruncateExisting: flags |= O_TRUNC; break;
    default: return -1;
    }
    return flags;
}

// A leading dot hides a file, and write permission is all there is of "read
// only"; a file with none of the flags is "normal".
quint32 AttributesOf(const struct stat &status, const QString &path)
{
    quint32 attributes = 0;
    if (S_ISDIR(status.st_mode))
        attributes |= File::Directory;
    if ((status.st_mode & AnyWrite) == 0)
        attributes |= File::ReadOnly;
    if (QStringView(path).sliced(path.lastIndexOf(u'/') + 1).startsWith(u'.'))
        attributes |= File::Hidden;
    return attributes == 0 ? static_cast<quint32>(File::Normal) : attributes;
}

}

File::Handle::~Handle()
{
    Close();
}

bool File::Handle::Open(const QString &path, quint32 access, quint32 disposition, quint32 &attributes, qint64 &size)
{
    const int flags = OpenFlags(access, disposition);
    if (flags < 0) {
        errno = EINVAL;
        return false;
    }
    // Without O_NONBLOCK the open itself would wait for the other end of a
    // pipe; it means nothing to a regular file.
    UniqueHandle file(open(QFile::encodeName(path).constData(), flags | O_CLOEXEC | O_NONBLOCK, 0666));
    if (!file.IsOpen())
        return false;
    struct stat status = {};
    const bool known = fstat(file, &status) == 0;
    if (known && S_ISREG(status.st_mode)) {
        attributes = AttributesOf(status, path);
        size = status.st_size;
        m_descriptor = file.Release();
        return true;
    }
    const int code = !known ? errno : S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    file.Close();
    errno = code;
    return false;
}

bool File::Handle::Close()
{
    return UniqueHandle(static_cast<int>(std::exchange(m_descriptor, -1))).Close();
}

bool File::Handle::Flush()
{
    return Uninterrupted([&] { return fsync(m_descriptor); }) == 0;
}

qint64 File::Handle::Size() const
{
    struct stat status = {};
    return fstat(m_descriptor, &status) == 0 ? status.st_size : -1;
}

qint64 File::Handle::Read(char *out, qint64 count, qint64 position)
{
    return Uninterrupted([&] { return pread(m_descriptor, out, static_cast<size_t>(count), position); });
}

bool File::Handle::Write(const char *bytes, qint64 count, qint64 position)
{
    return WriteAllAt(m_descriptor, bytes, static_cast<size_t>(count), position);
}

bool File::Handle::ReadAttributes(const QString &path, quint32 &attributes)
{
    struct stat status = {};
    if (stat(QFile::encodeName(path).constData(), &status) != 0)
        return false;
    attributes = AttributesOf(status, path);
    return true;
}

bool File::Handle::WriteAttributes(const QString &path, quint32 attributes)
{
    const QByteArray name = QFile::encodeName(path);
    struct stat status = {};
    if (stat(name.constData(), &status) != 0)
        return false;
    const bool readOnly = (attributes & File::ReadOnly) != 0;
    if (readOnly == ((status.st_mode & AnyWrite) == 0))
        return true;
    const mode_t mode = readOnly ? status.st_mode & ~AnyWrite : status.st_mode | S_IWUSR;
    return chmod(name.constData(), mode & 07777) == 0;
}

qint32 File::Handle::RefusalCode(bool)
{
    return EBADF;
}
