// SPDX-License-Identifier: Apache-2.0
#include "signature/Minisign.h"

#include "common/Error.h"

#include <QByteArrayList>
#include <QtEndian>

#include <algorithm>

#include <sodium.h>

using namespace Qt::Literals::StringLiterals;

namespace Minisign {

namespace {

static_assert(PublicBytes == crypto_sign_PUBLICKEYBYTES && SecretBytes == crypto_sign_SECRETKEYBYTES
              && SignatureBytes == crypto_sign_BYTES);

constexpr char Ed25519[] = "Ed";
constexpr char Scrypt[] = "Sc";
constexpr char Blake2b[] = "B2";
constexpr qsizetype SaltBytes = crypto_pwhash_scryptsalsa208sha256_SALTBYTES;
constexpr qsizetype LimitBytes = 8;
constexpr qsizetype SumBytes = 32;
constexpr qsizetype SealedBytes = KeyIdBytes + SecretBytes + SumBytes;
// Before a key is opened its file says what that takes.
constexpr quint64 MostOperations = quint64(1) << 28;
constexpr quint64 MostMemory = quint64(1) << 31; // bytes

constexpr char UntrustedComment[] = "untrusted comment: ";
constexpr char TrustedComment[] = "trusted comment: ";

Error Refused(const QString &text)
{
    return Error(InvalidCall, text, u"Minisign"_s);
}

Error NotASignature()
{
    return Refused(u"the signature cannot be read"_s);
}

void RequireLibrary()
{
    if (sodium_init() < 0)
        throw Refused(u"the cryptographic library cannot be used"_s);
}

unsigned char *Data(QByteArray &bytes)
{
    return reinterpret_cast<unsigned char *>(bytes.data());
}

const unsigned char *Data(QByteArrayView bytes)
{
    return reinterpret_cast<const unsigned char *>(bytes.data());
}

quint64 Count(QByteArrayView bytes)
{
    return static_cast<quint64>(bytes.size());
}

// The bytes that the whole text stands for; empty for any text but one that encodes so many.
QByteArray FromBase64(QByteArrayView text, qsizetype count)
{
    const auto result = QByteArray::fromBase64Encoding(text.toByteArray(), QByteArray::AbortOnBase64DecodingErrors);
    // One encoding alone: the bits that the last character leaves over are 0.
    if (!result || result.decoded.size() != count || result.decoded.toBase64() != text)
        return {};
    return result.decoded;
}

QByteArray SumOf(const SecretKey &key)
{
    const QByteArray text = Ed25519 + key.Id + key.Bytes;
    QByteArray sum(SumBytes, '\0');
    crypto_generichash(Data(sum), Count(sum), Data(text), Count(text), nullptr, 0);
    return sum;
}

// Puts a key stream that belongs to the pass phrase over the bytes; the same again takes it off.
void Mask(QByteArray &bytes, const QString &passPhrase, QByteArrayView salt, quint64 operations, quint64 memory)
{
    QByteArray stream(bytes.size(), '\0');
    const QByteArray phrase = passPhrase.toUtf8();
    if (crypto_pwhash_scryptsalsa208sha256(Data(stream), Count(stream), phrase.constData(), Count(phrase), Data(salt),
                                           operations, static_cast<size_t>(memory))
        != 0)
        throw Refused(u"there is not enough memory to open or seal the key"_s);
    for (qsizetype i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(bytes[i] ^ stream[i]);
}

QByteArray LittleEndian(quint64 number)
{
    QByteArray bytes(LimitBytes, '\0');
    qToLittleEndian(number, bytes.data());
    return bytes;
}

QByteArray File(const QByteArray &comment, const QByteArray &bytes)
{
    return QByteArray(UntrustedComment) + comment + '\n' + bytes.toBase64() + '\n';
}

// Takes parts off the front of bytes.
class Parts {
public:
    explicit Parts(QByteArrayView bytes)
        : m_rest(bytes)
    {
    }
    QByteArray Take(qsizetype count)
    {
        const QByteArrayView part = m_rest.first(count);
        m_rest = m_rest.sliced(count);
        return part.toByteArray();
    }

private:
    QByteArrayView m_rest;
};

QByteArray Signed(const SecretKey &key, QByteArrayView message)
{
    QByteArray signature(SignatureBytes, '\0');
    crypto_sign_detached(Data(signature), nullptr, Data(message), Count(message), Data(key.Bytes));
    return signature;
}

bool IsSignedBy(const PublicKey &key, QByteArrayView signature, QByteArrayView message)
{
    return signature.size() == SignatureBytes && key.Bytes.size() == PublicBytes
        && crypto_sign_verify_detached(Data(signature), Data(message), Count(message), Data(key.Bytes)) == 0;
}

// The next line of the texts without its end, which must be there, and without the prefix.
QByteArrayView TakeLine(QByteArrayView &texts, QByteArrayView prefix)
{
    const qsizetype end = texts.indexOf('\n');
    if (end < 0 || !texts.first(end).startsWith(prefix))
        throw NotASignature();
    const QByteArrayView line = texts.first(end).sliced(prefix.size());
    texts = texts.sliced(end + 1);
    return line;
}

}

PublicKey PublicKey::FromText(const QString &line)
{
    RequireLibrary();
    const QByteArray bytes = FromBase64(line.toLatin1(), 2 + KeyIdBytes + PublicBytes);
    if (!bytes.startsWith(Ed25519))
        throw Refused(u"“%1” is no public key"_s.arg(line.left(100)));
    const PublicKey key = { bytes.mid(2, KeyIdBytes), bytes.last(PublicBytes) };
    if (crypto_core_ed25519_is_valid_point(Data(key.Bytes)) != 1)
        throw Refused(u"“%1” is no usable public key"_s.arg(line));
    return key;
}

QString PublicKey::ToText() const
{
    return QString::fromLatin1((Ed25519 + Id + Bytes).toBase64());
}

QString PublicKey::IdText() const
{
    return u"%1"_s.arg(qFromLittleEndian<quint64>(Id.constData()), 16, 16, QChar(u'0')).toUpper();
}

SecretKey NewKey()
{
    RequireLibrary();
    SecretKey key = { QByteArray(KeyIdBytes, '\0'), QByteArray(SecretBytes, '\0') };
    QByteArray publicKey(PublicBytes, '\0');
    randombytes_buf(key.Id.data(), KeyIdBytes);
    crypto_sign_keypair(Data(publicKey), Data(key.Bytes));
    return key;
}

QByteArray Sealed(const SecretKey &key, const QString &passPhrase, Cost cost)
{
    RequireLibrary();
    if (passPhrase.isEmpty())
        throw Refused(u"the pass phrase is empty"_s);
    const bool isHigh = cost == Cost::High;
    const quint64 operations
        = isHigh ? crypto_pwhash_scryptsalsa208sha256_OPSLIMIT_SENSITIVE : crypto_pwhash_scryptsalsa208sha256_OPSLIMIT_MIN;
    const quint64 memory
        = isHigh ? crypto_pwhash_scryptsalsa208sha256_MEMLIMIT_SENSITIVE : crypto_pwhash_scryptsalsa208sha256_MEMLIMIT_MIN;
    QByteArray salt(SaltBytes, '\0');
    randombytes_buf(salt.data(), SaltBytes);
    QByteArray sealed = key.Id + key.Bytes + SumOf(key);
    Mask(sealed, passPhrase, salt, operations, memory);
    return File("minisign encrypted secret key",
                QByteArray(Ed25519) + Scrypt + Blake2b + salt + LittleEndian(operations) + LittleEndian(memory) + sealed);
}

SecretKey Opened(const QByteArray &file, const QString &passPhrase)
{
    RequireLibrary();
    const QByteArrayList lines = file.split('\n');
    const QByteArray bytes
        = FromBase64(lines.value(1).trimmed(), 2 + 2 + 2 + SaltBytes + LimitBytes + LimitBytes + SealedBytes);
    if (!lines.first().startsWith(UntrustedComment) || !bytes.startsWith(QByteArray(Ed25519) + Scrypt + Blake2b))
        throw Refused(u"it is no secret key that is sealed with a pass phrase"_s);
    Parts parts(QByteArrayView(bytes).sliced(2 + 2 + 2));
    const QByteArray salt = parts.Take(SaltBytes);
    const auto operations = qFromLittleEndian<quint64>(parts.Take(LimitBytes).constData());
    const auto memory = qFromLittleEndian<quint64>(parts.Take(LimitBytes).constData());
    if (operations > MostOperations || memory > MostMemory)
        throw Refused(u"the key takes too much memory or time to open"_s);
    QByteArray sealed = parts.Take(SealedBytes);
    Mask(sealed, passPhrase, salt, operations, memory);
    Parts opened(sealed);
    SecretKey key;
    key.Id = opened.Take(KeyIdBytes);
    key.Bytes = opened.Take(SecretBytes);
    if (opened.Take(SumBytes) != SumOf(key))
        throw Refused(u"the pass phrase is wrong, or the key is damaged"_s);
    return key;
}

QByteArray FileOf(const PublicKey &key)
{
    return QByteArray(UntrustedComment) + "minisign public key " + key.IdText().toLatin1() + '\n' + key.ToText().toLatin1()
        + '\n';
}

QByteArray Sign(const SecretKey &key, QByteArrayView message, const QString &comment)
{
    RequireLibrary();
    if (std::any_of(comment.begin(), comment.end(), [](QChar c) { return c.category() == QChar::Other_Control; }))
        throw Refused(u"the comment of a signature is one line without control characters"_s);
    const QByteArray text = comment.toUtf8();
    const QByteArray signature = Signed(key, message);
    return File("signature by practorium-author", Ed25519 + key.Id + signature) + TrustedComment + text + '\n'
        + Signed(key, signature + text).toBase64() + '\n';
}

std::vector<Signature> Signatures(QByteArrayView texts)
{
    std::vector<Signature> signatures;
    while (!texts.isEmpty()) {
        TakeLine(texts, UntrustedComment);
        const QByteArray bytes = FromBase64(TakeLine(texts, {}), 2 + KeyIdBytes + SignatureBytes);
        Signature signature;
        signature.Comment = TakeLine(texts, TrustedComment).toByteArray();
        signature.CommentBytes = FromBase64(TakeLine(texts, {}), SignatureBytes);
        if (!bytes.startsWith(Ed25519) || signature.CommentBytes.isEmpty())
            throw NotASignature();
        signature.KeyId = bytes.mid(2, KeyIdBytes);
        signature.Bytes = bytes.last(SignatureBytes);
        signatures.push_back(signature);
    }
    return signatures;
}

bool Verifies(const Signature &signature, const PublicKey &key, QByteArrayView message)
{
    RequireLibrary();
    return signature.KeyId == key.Id && IsSignedBy(key, signature.Bytes, message)
        && IsSignedBy(key, signature.CommentBytes, signature.Bytes + signature.Comment);
}

}
