// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "packformat/PackFormat.h"
#include "signature/PackTrust.h"
#include "tests/support/Test.h"

#include <QCryptographicHash>
#include <QDataStream>

// Small packs made by hand: one exam of five bytes behind the program.
namespace SignedPack {

inline QByteArray Sum(const QByteArray &bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
}

// What stands in front of the signatures, and the trailer's numbers.
struct Body {
    QByteArray Front;
    QByteArray Numbers;
    QByteArray Digest() const { return Sum(Front + Numbers); }
};

inline Body BodyOf(const QByteArray &program, quint32 version = PackFormat::SignedVersion)
{
    const QByteArray index("\3\0NET\x8\0NET.exam\5\0\0\0\0\0\0\0", 5 + 10 + 8);
    Body body = { program + index + "exam!", "PRACPACK" };
    QDataStream out(&body.Numbers, QIODevice::WriteOnly | QIODevice::Append);
    out.setByteOrder(QDataStream::LittleEndian);
    out << version << quint32(index.size()) << quint64(program.size()) << quint64(5);
    return body;
}

inline QByteArray With(const Body &body, const QByteArray &signatures)
{
    return body.Front + signatures + body.Numbers + Sum(body.Digest() + signatures);
}

inline QByteArray Unsigned(const QByteArray &program)
{
    const Body body = BodyOf(program, PackFormat::Version);
    return body.Front + body.Numbers + body.Digest();
}

inline PackStatement Statement(const QString &exam, qint32 version)
{
    return { exam, version, QDateTime({ 2026, 3, 21 }, { 20, 5, 9 }, Qt::UTC), QStringLiteral("Example Org") };
}

inline QByteArray Signed(const QByteArray &program, const Minisign::SecretKey &key, const PackStatement &statement)
{
    const Body body = BodyOf(program);
    return With(body, Minisign::Sign(key, body.Digest(), statement.ToText()));
}

}

// The keys that the user trusts while the object exists.
class TrustedKeys {
public:
    explicit TrustedKeys(const QString &text);
    ~TrustedKeys();
};
