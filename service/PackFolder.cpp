// SPDX-License-Identifier: Apache-2.0
#include "service/PackFolder.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;

std::optional<PackVersion> VersionOf(int file)
{
    struct stat status = {};
    if (::fstat(file, &status) != 0 || !S_ISREG(status.st_mode))
        return {};
    return PackVersion{ status.st_dev, status.st_ino, static_cast<quint64>(status.st_size), status.st_ctim.tv_sec,
                        status.st_ctim.tv_nsec };
}

QString SystemFolderOf(const QByteArray &userAgent)
{
    if (userAgent.contains("Windows"))
        return u"windows"_s;
    return userAgent.contains("Linux") ? u"linux"_s : QString();
}

std::optional<OpenPack> OpenPackOf(const QString &folder, const QString &system, const QString &exam)
{
    const QByteArray root = QFile::encodeName(folder) + '/';
    QByteArray path = QFile::encodeName(u"%1/%2.exe"_s.arg(system, exam));
    struct stat status = {};
    // A pack for the system that cannot be read is a mistake, which a pack for
    // another system would only hide.
    if (system.isEmpty() || ::lstat((root + path).constData(), &status) != 0)
        path = QFile::encodeName(exam + u".exe"_s);
    // Without O_NONBLOCK, opening a FIFO would block.
    UniqueHandle file(::open((root + path).constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
    const auto version = file.IsOpen() ? VersionOf(file) : std::nullopt;
    if (!version)
        return {};
    return OpenPack{ std::move(file), *version, path };
}
