// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

// Keys and signatures in the files of minisign, so that anybody can make and verify
// them with that program: Ed25519 (RFC 8032) over the message itself, which minisign
// calls legacy, and a trusted comment that is signed with it. Everything here raises
// InvalidCall for what cannot be used.
namespace Minisign {

constexpr qsizetype KeyIdBytes = 8;
constexpr qsizetype PublicBytes = 32;
constexpr qsizetype SecretBytes = 64;
constexpr qsizetype SignatureBytes = 64;

struct PublicKey {
    QByteArray Id; // KeyIdBytes
    QByteArray Bytes; // PublicBytes

    // One line of 56 characters, as it stands in the second line of a .pub file. Raises an
    // error also for a key that is no point of the curve, or one of a small order.
    static PublicKey FromText(const QString &line);
    QString ToText() const;
    // The ID as minisign shows it: 16 hexadecimal digits.
    QString IdText() const;
    bool operator==(const PublicKey &) const = default;
};

struct SecretKey {
    QByteArray Id; // KeyIdBytes
    QByteArray Bytes; // SecretBytes: the seed, then the public key

    PublicKey Public() const { return { Id, Bytes.last(PublicBytes) }; }
};

// What a guess of the pass phrase costs.
enum class Cost {
    High, // a second or several, and 1 GiB of memory: minisign's own
    Low, // for tests
};

SecretKey NewKey();
// The text of a key file: the key sealed with the pass phrase (scrypt). An empty
// pass phrase raises an error.
QByteArray Sealed(const SecretKey &key, const QString &passPhrase, Cost cost = Cost::High);
// The key in such a text. Another pass phrase than the one it was sealed with raises
// an error, as damage does.
SecretKey Opened(const QByteArray &file, const QString &passPhrase);
// The text of a file for the public key.
QByteArray FileOf(const PublicKey &key);

// The text of a signature file of the message. The comment is one line without control
// characters, and is signed too.
QByteArray Sign(const SecretKey &key, QByteArrayView message, const QString &comment);

struct Signature {
    QByteArray KeyId;
    QByteArray Bytes; // over the message
    QByteArray CommentBytes; // over Bytes and the comment
    QByteArray Comment; // UTF-8
};
// The signatures in texts of signature files that stand one behind the other.
std::vector<Signature> Signatures(QByteArrayView texts);
// Whether both parts of the signature are the key's, for this message.
bool Verifies(const Signature &signature, const PublicKey &key, QByteArrayView message);

}
