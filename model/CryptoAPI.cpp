// SPDX-License-Identifier: Apache-2.0
#include "model/CryptoAPI.h"

#include "common/Ansi.h"
#include "common/Common.h"
#include "common/Error.h"
#include "model/File.h"

#include <QCryptographicHash>
#include <QtEndian>

#include <array>
#include <numeric>

namespace CryptoAPI {

namespace {

constexpr int KeyBytes = 5;
constexpr int PaddedKeyBytes = 16;
// What the cryptographic service answers to an algorithm that it lacks.
constexpr qint32 BadAlgorithm = static_cast<qint32>(0x80090008);

// The key stream under a pass phrase is always the same, so it is worked out
// once and only ever gets longer.
class KeyStream {
public:
    explicit KeyStream(const QByteArray &passPhrase)
        : m_passPhrase(passPhrase)
    {
        // A 40-bit key without salt is padded with zeros to the cipher's 128.
        std::array<uchar, PaddedKeyBytes> key{};
        const QByteArray digest = QCryptographicHash::hash(passPhrase, QCryptographicHash::Md5);
        std::copy_n(digest.begin(), KeyBytes, key.begin());
        std::iota(m_state.begin(), m_state.end(), uchar(0));
        uchar j = 0;
        for (int i = 0; i < 256; ++i) {
            j = static_cast<uchar>(j + m_state[i] + key[i % PaddedKeyBytes]);
            std::swap(m_state[i], m_state[j]);
        }
    }

    const QByteArray &PassPhrase() const { return m_passPhrase; }

    const char *Bytes(qsizetype count)
    {
        if (m_bytes.size() < count) {
            qsizetype done = m_bytes.size();
            m_bytes.resize(std::max(count, done * 2));
            char *bytes = m_bytes.data();
            for (; done < m_bytes.size(); ++done) {
                ++m_i;
                m_j = static_cast<uchar>(m_j + m_state[m_i]);
                std::swap(m_state[m_i], m_state[m_j]);
                bytes[done] = static_cast<char>(m_state[static_cast<uchar>(m_state[m_i] + m_state[m_j])]);
            }
        }
        return m_bytes.constData();
    }

    void Apply(char *data, qsizetype count)
    {
        const char *bytes = Bytes(count);
        constexpr qsizetype step = sizeof(quint64);
        qsizetype i = 0;
        for (; i + step <= count; i += step)
            qToUnaligned(qFromUnaligned<quint64>(data + i) ^ qFromUnaligned<quint64>(bytes + i), data + i);
        for (; i < count; ++i)
            data[i] = static_cast<char>(data[i] ^ bytes[i]);
    }

private:
    QByteArray m_passPhrase;
    std::array<uchar, 256> m_state{};
    uchar m_i = 0;
    uchar m_j = 0;
    QByteArray m_bytes;
};

KeyStream &RecordStream()
{
    static KeyStream stream(Ansi::FromText(RecordPassPhrase()));
    return stream;
}

// The cipher is its own inverse.
bool Transform(const char16_t *source, QByteArray &data, const QString &passPhrase, quint32 algorithm, quint32 hash)
{
    return WithSource(source, [&] {
        const QByteArray key = Ansi::FromText(passPhrase);
        if (data.isEmpty() || key.isEmpty())
            return true;
        if (algorithm != CipherRC4 || hash != HashMD5) {
            Common::SetLastSystemError(BadAlgorithm);
            Common::CheckApiResult(false);
        }
        if (key == RecordStream().PassPhrase())
            RecordStream().Apply(data.data(), data.size());
        else
            KeyStream(key).Apply(data.data(), data.size());
        return true;
    });
}

}

bool Encrypt(QByteArray &Data, const QString &PassPhrase, quint32 Algorithm, quint32 HashAlgorithm)
{
    return Transform(u"CryptoAPI:Encrypt()", Data, PassPhrase, Algorithm, HashAlgorithm);
}

bool Decrypt(QByteArray &Data, const QString &PassPhrase, quint32 Algorithm, quint32 HashAlgorithm)
{
    return Transform(u"CryptoAPI:Decrypt()", Data, PassPhrase, Algorithm, HashAlgorithm);
}

QByteArray EncryptText(const QString &Text, const QString &PassPhrase, quint32 Algorithm, quint32 HashAlgorithm)
{
    QByteArray bytes = Ansi::FromText(Text);
    Encrypt(bytes, PassPhrase, Algorithm, HashAlgorithm);
    return bytes;
}

QString DecryptText(const QByteArray &Data, const QString &PassPhrase, quint32 Algorithm, quint32 HashAlgorithm)
{
    QByteArray bytes = Data;
    Decrypt(bytes, PassPhrase, Algorithm, HashAlgorithm);
    return Ansi::ToText(bytes);
}

const QString &RecordPassPhrase()
{
    static QString phrase;
    if (phrase.isEmpty()) {
        static constexpr char constants[]
            = "Practorium exam record: problem, explanation and statement texts are sealed by it.";
        static_assert(sizeof constants - 1 == 82);
        phrase = QString::fromLatin1(constants);
    }
    return phrase;
}

void WriteSecureData(File &Target, const QVariant &Value, qint32 Length)
{
    if (Value.typeId() == QMetaType::QString)
        WriteSecureData(Target, Value.toString());
    else
        Target.WriteData(Value, Length);
}

void WriteSecureData(File &Target, const QString &Value)
{
    QByteArray bytes = Target.SealedPage().FromText(Value);
    RecordStream().Apply(bytes.data(), bytes.size());
    Target.WriteData(bytes, -1);
}

void ReadSecureData(File &Source, QVariant &Value, qint32 Length)
{
    if (Value.typeId() != QMetaType::QString) {
        Source.ReadData(Value, Length);
        return;
    }
    QString text = Value.toString();
    ReadSecureData(Source, text);
    Value = text;
}

void ReadSecureData(File &Source, QString &Value)
{
    QByteArray bytes;
    Source.ReadData(bytes, -1);
    if (bytes.isEmpty())
        return;
    OpenSecureData(bytes);
    Value = Source.SealedPage().ToText(bytes);
}

void OpenSecureData(QByteArray &Bytes)
{
    RecordStream().Apply(Bytes.data(), Bytes.size());
}

}
