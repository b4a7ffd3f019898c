// SPDX-License-Identifier: Apache-2.0
#include "common/Registry.h"

#include "common/Common.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QStandardPaths>

#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace Registry {

namespace {

const QString TypeName = u"type"_s;
const QString BytesName = u"bytes"_s;

QString HiveFile(Hive hive)
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + u"/Practorium/"_s
        + (hive == CurrentUser ? u"current-user.json"_s : u"local-machine.json"_s);
}

qint32 Failed(int code)
{
    Common::SetLastSystemError(code);
    return code;
}

// Says once of each state of the file why it is left out.
void Distrust(const QString &path, const struct stat &status)
{
    static struct stat known = {};
    if (known.st_ino == status.st_ino && known.st_ctim.tv_sec == status.st_ctim.tv_sec
        && known.st_ctim.tv_nsec == status.st_ctim.tv_nsec)
        return;
    known = status;
    Common::Log(path + u" is not used: it is not a file of this user that nobody else can write"_s);
}

// The keys of a hive. A file that is not there or empty holds none. One that cannot be read, is
// damaged, or that another user has, or could have, written is an error: it holds the address
// that packs come from, and the keys that they must be signed with.
qint32 Load(Hive hive, QJsonObject &keys)
{
    // A pipe would keep the program waiting.
    const int descriptor = open(QFile::encodeName(HiveFile(hive)).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        return errno == ENOENT || errno == ENOTDIR ? 0 : Failed(errno);
    struct stat status = {};
    QFile file;
    if (fstat(descriptor, &status) != 0 || !file.open(descriptor, QIODevice::ReadOnly, QFile::AutoCloseHandle)) {
        close(descriptor);
        return Failed(EIO);
    }
    if (!S_ISREG(status.st_mode) || status.st_uid != geteuid() || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        Distrust(HiveFile(hive), status);
        return Failed(EPERM);
    }
    const QByteArray bytes = file.readAll();
    if (file.error() != QFile::NoError)
        return Failed(EIO);
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    if (!bytes.isEmpty() && !document.isObject())
        return Failed(EBADMSG);
    keys = document.object();
    return 0;
}

// From reading the keys to replacing them, one program at a time. Where the folder cannot be
// locked, nothing is waited for.
class HiveLock {
public:
    explicit HiveLock(Hive hive)
        : m_folder(open(QFile::encodeName(HiveFile(hive).section(u'/', 0, -2)).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
    {
        if (m_folder >= 0)
            flock(m_folder, LOCK_EX);
    }
    ~HiveLock()
    {
        if (m_folder >= 0)
            close(m_folder);
    }
    HiveLock(const HiveLock &) = delete;
    HiveLock &operator=(const HiveLock &) = delete;

private:
    const int m_folder;
};

// Makes the folder, and those above it that are not there, for the user alone,
// whatever the umask.
bool MakePrivate(const QString &folder)
{
    const QByteArray path = QFile::encodeName(folder);
    if (mkdir(path.constData(), S_IRWXU) != 0 && errno == ENOENT && !path.isEmpty() && MakePrivate(folder.section(u'/', 0, -2)))
        mkdir(path.constData(), S_IRWXU);
    return chmod(path.constData(), S_IRWXU) == 0;
}

qint32 Store(Hive hive, const QJsonObject &keys)
{
    const QString path = HiveFile(hive);
    if (!MakePrivate(path.section(u'/', 0, -2)))
        return Failed(errno);
    QSaveFile file(path);
    errno = 0;
    // The permissions come before the content.
    if (!file.open(QIODevice::WriteOnly) || !file.setPermissions(QFile::ReadOwner | QFile::WriteOwner)
        || file.write(QJsonDocument(keys).toJson()) < 0 || !file.commit())
        return Failed(errno != 0 ? errno : EIO);
    return 0;
}

// Keys and names are the same in any letter case.
QString Folded(const QString &name)
{
    return name.toCaseFolded();
}

}

qint32 OpenKey(Hive hive, const QString &SubKey, bool create, KeyAccess)
{
    // A key is opened for writing too.
    const QByteArray path = QFile::encodeName(HiveFile(hive));
    if (access(path.constData(), F_OK) == 0 && access(path.constData(), R_OK | W_OK) != 0)
        return Failed(errno);
    // A mere look waits for nobody: the file is replaced in one step.
    std::optional<HiveLock> lock;
    if (create)
        lock.emplace(hive);
    QJsonObject keys;
    if (const qint32 result = Load(hive, keys); result != 0)
        return result;
    if (keys.contains(Folded(SubKey)))
        return 0;
    if (!create)
        return Failed(ENOENT);
    keys.insert(Folded(SubKey), QJsonObject());
    return Store(hive, keys);
}

qint32 QueryStored(Hive hive, const QString &SubKey, const QString &ValueName, StoredValue &value)
{
    QJsonObject keys;
    if (const qint32 result = Load(hive, keys); result != 0)
        return result;
    const QJsonObject values = keys.value(Folded(SubKey)).toObject();
    const auto found = values.constFind(Folded(ValueName));
    if (found == values.constEnd())
        return Failed(ENOENT);
    value.Type = found->toObject().value(TypeName).toInt();
    value.Bytes = QByteArray::fromBase64(found->toObject().value(BytesName).toString().toLatin1());
    return 0;
}

qint32 SetStored(Hive hive, const QString &SubKey, const QString &ValueName, const StoredValue &value)
{
    const HiveLock lock(hive);
    QJsonObject keys;
    if (const qint32 result = Load(hive, keys); result != 0)
        return result;
    QJsonObject values = keys.value(Folded(SubKey)).toObject();
    values.insert(Folded(ValueName),
                  QJsonObject{ { TypeName, value.Type }, { BytesName, QString::fromLatin1(value.Bytes.toBase64()) } });
    keys.insert(Folded(SubKey), values);
    return Store(hive, keys);
}

qint32 DeleteStored(Hive hive, const QString &SubKey, const QString &ValueName)
{
    const HiveLock lock(hive);
    QJsonObject keys;
    if (const qint32 result = Load(hive, keys); result != 0)
        return result;
    QJsonObject values = keys.value(Folded(SubKey)).toObject();
    if (!values.contains(Folded(ValueName)))
        return Failed(ENOENT);
    values.remove(Folded(ValueName));
    keys.insert(Folded(SubKey), values);
    return Store(hive, keys);
}

}
