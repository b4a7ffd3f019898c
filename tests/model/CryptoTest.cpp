// SPDX-License-Identifier: Apache-2.0
#include "model/CryptoAPI.h"

#include "model/File.h"
#include "tests/support/Test.h"

using namespace CryptoAPI;

TEST(CryptoTest, KnownCipherBytes)
{
    const std::tuple<QString, QString, QByteArray> rows[] = {
        { u"secret"_s, u"Hello World"_s, "47af0e9668fa75c57a1776" },
        { u""_s, u"Hello"_s, "48656c6c6f" },
        { RecordPassPhrase(), u"Which one?"_s, "cc467d1439f861f15c2b" },
    };
    for (const auto &[passPhrase, text, hex] : rows) {
        const QByteArray sealed = EncryptText(text, passPhrase, CipherRC4, HashMD5);
        EXPECT_EQ(sealed, QByteArray::fromHex(hex)) << text.toStdString();
        EXPECT_EQ(DecryptText(sealed, passPhrase, CipherRC4, HashMD5), text);
    }
    // A key stream that grew is still the same from its start.
    const QString length(70'000, u'\u20AC');
    const QByteArray sealed = EncryptText(length, RecordPassPhrase(), CipherRC4, HashMD5);
    EXPECT_TRUE(EncryptText(length.left(10), RecordPassPhrase(), CipherRC4, HashMD5) == sealed.left(10));
}

TEST(CryptoTest, OtherAlgorithmsAreRefused)
{
    const QString bad = QString::number(qint32(0x80090008));
    QByteArray data = "abc";
    EXPECT_EQ(ResultOf([&] { Encrypt(data, u"p"_s, 0x6602, HashMD5); }), bad + u" CryptoAPI:Encrypt()"_s);
    EXPECT_EQ(ResultOf([&] { Decrypt(data, u"p"_s, CipherRC4, 0x8004); }), bad + u" CryptoAPI:Decrypt()"_s);
}

TEST(CryptoTest, ValuesInAFile)
{
    const QVariant values[] = { u"Which one?"_s, 7, u""_s };
    File file;
    file.OpenFile(u"sealed"_s, File::BinaryMode, File::WriteAccess, File::CreateAlways);
    for (const QVariant &value : values)
        WriteSecureData(file, value, -1);
    file.OpenFile(u"sealed"_s, File::BinaryMode, File::ReadAccess, File::OpenExisting);
    for (const QVariant &value : values) {
        QVariant read(value.metaType());
        ReadSecureData(file, read, -1);
        EXPECT_EQ(read, value);
    }
    // Texts are sealed, and nothing else is.
    EXPECT_EQ(Sandbox::ReadFile(u"sealed"_s), QByteArray::fromHex("0a000000 cc467d1439f861f15c2b 07000000 00000000"));
}
