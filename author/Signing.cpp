// SPDX-License-Identifier: Apache-2.0
#include "author/Signing.h"

#include "common/Common.h"
#include "common/Error.h"
#include "console/PasswordPrompt.h"
#include "pack/stub/PackReader.h"
#include "signature/PackTrust.h"

#include <QFile>

using namespace Qt::Literals::StringLiterals;

namespace Signing {

namespace {

constexpr qint64 LongestKeyFile = 4096;

Error Refused(const QString &file, const QString &reason)
{
    return Error(InvalidCall, file + u": "_s + reason, u"Signing"_s);
}

QByteArray KeyFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw Refused(path, file.errorString());
    return file.read(LongestKeyFile);
}

// Writes a file that does not exist yet.
void WriteNew(const QString &path, const QByteArray &bytes, QFile::Permissions permissions)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly, permissions))
        throw Refused(path, file.errorString());
    const bool isWritten = file.write(bytes) == bytes.size() && file.flush();
    file.close();
    if (!isWritten || file.error() != QFile::NoError) {
        const Error error = Refused(path, file.errorString());
        file.remove();
        throw error;
    }
}

bool ReadFrom(std::intptr_t file, std::uint64_t offset, void *out, std::size_t count)
{
    auto *device = reinterpret_cast<QFile *>(file);
    const auto bytes = static_cast<qint64>(count);
    return device->seek(static_cast<qint64>(offset)) && device->read(static_cast<char *>(out), bytes) == bytes;
}

QString Described(const PackStatement &statement)
{
    return u"version %1 of the exam %2, signed by %3 at %4"_s.arg(statement.Version)
        .arg(statement.Exam, statement.Signer, statement.Date.toString(Qt::ISODate));
}

// What is stated, without a look at whether it is true.
QStringList StatedIn(std::string_view texts)
{
    QStringList lines;
    for (const auto &signature : Minisign::Signatures({ texts.data(), static_cast<qsizetype>(texts.size()) }))
        lines += u"not verified (--key): "_s + Described(PackStatement::FromText(signature.Comment));
    return lines;
}

}

Minisign::PublicKey MakeKey(const QString &file, const QString &passPhrase, Minisign::Cost cost)
{
    const Minisign::SecretKey key = Minisign::NewKey();
    const QString publicFile = file + u".pub"_s;
    constexpr QFile::Permissions mine = QFile::ReadOwner | QFile::WriteOwner;
    WriteNew(publicFile, Minisign::FileOf(key.Public()), mine | QFile::ReadGroup | QFile::ReadOther);
    try {
        WriteNew(file, Minisign::Sealed(key, passPhrase, cost), mine);
    } catch (const Error &) {
        QFile::remove(publicFile);
        throw;
    }
    return key.Public();
}

Minisign::PublicKey PublicKey(const QString &text)
{
    if (!QFile::exists(text))
        return Minisign::PublicKey::FromText(text);
    const QString line = QString::fromLatin1(KeyFile(text).split('\n').value(1)).trimmed();
    try {
        return Minisign::PublicKey::FromText(line);
    } catch (const Error &error) {
        throw Refused(text, error.Description());
    }
}

PackContents::Signer SignerOf(const QStringList &files, PackStatement statement)
{
    std::vector<Minisign::SecretKey> keys;
    for (const QString &file : files) {
        const QByteArray text = KeyFile(file);
        try {
            keys.push_back(Minisign::Opened(text, ReadPassword(u"Pass phrase of %1: "_s.arg(file))));
        } catch (const Error &error) {
            throw Refused(file, error.Description());
        }
    }
    if (statement.Signer.isEmpty())
        statement.Signer = u"key "_s + keys.front().Public().IdText();
    statement.Require();
    return [keys, comment = statement.ToText()](const QByteArray &digest) {
        QByteArray texts;
        for (const Minisign::SecretKey &key : keys)
            texts += Minisign::Sign(key, digest, comment);
        return texts;
    };
}

QStringList Faults(const QString &path, const QStringList &keys, QStringList &notes)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return { path + u": "_s + file.errorString() };
    PackReader pack({ ReadFrom, reinterpret_cast<std::intptr_t>(&file), static_cast<std::uint64_t>(file.size()) });
    if (const char *fault = pack.Check())
        return { path + u": "_s + QString::fromLatin1(fault) };
    QString fault;
    try {
        if (keys.isEmpty() && !pack.Signatures().empty()) {
            for (const QString &line : StatedIn(pack.Signatures()))
                notes += path + u": "_s + line;
        }
    } catch (const Error &error) {
        return { path + u": "_s + error.Description() };
    }
    for (const QString &text : keys) {
        const Minisign::PublicKey key = PublicKey(text);
        try {
            notes += path + u": "_s + Described(PackTrust::Verified(pack, key));
            return {};
        } catch (const Error &error) {
            fault = path + u": "_s + error.Description();
        }
    }
    return fault.isEmpty() ? QStringList() : QStringList(fault);
}

}
