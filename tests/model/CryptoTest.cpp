#include "model/CryptoAPI.h"
#include "model/File.h"
#include "tests/support/ExpectError.h"
#include "tests/support/Sandbox.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using namespace CryptoAPI;

TEST(CryptoTest, KnownCipherBytes)
{
    struct Row { QString PassPhrase, Text; QByteArray Hex; };
    const Row rows[] = {
        { u"secret"_s, u"Hello World"_s, "47af0e9668fa75c57a1776" }, { u"secret"_s, u"Hello"_s, "47af0e9668" },
        { u"secret"_s, u""_s, "" }, { u""_s, u"Hello"_s, "48656c6c6f" },
        { RecordPassPhrase(), u"Which one?"_s, "cc467d1439f861f15c2b" },
    };
    for (const Row &row : rows) {
        const QByteArray sealed = EncryptText(row.Text, row.PassPhrase, CipherRC4, HashMD5);
        EXPECT_EQ(sealed, QByteArray::fromHex(row.Hex)) << row.Text.toStdString();
        EXPECT_EQ(DecryptText(sealed, row.PassPhrase, CipherRC4, HashMD5), row.Text);
    }
    // A key stream that grew is still the same from its start.
    const QString length(70'000, u'\u20AC');
    const QByteArray sealed = EncryptText(length, RecordPassPhrase(), CipherRC4, HashMD5);
    EXPECT_EQ(sealed.size(), length.size());
    EXPECT_TRUE(EncryptText(length.left(10), RecordPassPhrase(), CipherRC4, HashMD5) == sealed.left(10));
    EXPECT_EQ(RecordPassPhrase().size(), 82);
}

TEST(CryptoTest, OtherAlgorithmsAreRefused)
{
    const QString bad = QString::number(qint32(0x80090008));
    QByteArray data = "abc";
    EXPECT_EQ(ResultOf([&] { Encrypt(data, u"p"_s, 0x6602, HashMD5); }), bad + u" CryptoAPI:Encrypt()"_s);
    EXPECT_EQ(ResultOf([&] { Decrypt(data, u"p"_s, CipherRC4, 0x8004); }), bad + u" CryptoAPI:Decrypt()"_s);
    EXPECT_EQ(ResultOf([&] { Encrypt(data, u""_s, 0, 0); }), u"none"_s);
    EXPECT_EQ(data, "abc");
}

TEST(CryptoTest, RecordsOfTextsAndOthers)
{
    struct Row { QVariant Value; qint32 Length; QByteArray Hex; QVariant Before, After; };
    const Row rows[] = {
        // The length does not matter to a text.
        { u"Hi"_s, 1, "02000000d347", u"old"_s, u"Hi"_s }, { u""_s, -1, "00000000", u"old"_s, u"old"_s },
        { qint32(5), -1, "05000000", qint32(0), qint32(5) },
        { QByteArray("ab"), 2, "6162", QByteArray(), QByteArray("ab") },
    };
    for (const Row &row : rows) {
        File file;
        file.OpenFile(u"sealed"_s, File::BinaryMode, File::ReadAccess | File::WriteAccess, File::CreateAlways);
        WriteSecureData(file, row.Value, row.Length);
        file.SeekTo(0, File::FromStart);
        QVariant value = row.Before;
        ReadSecureData(file, value, row.Length);
        EXPECT_TRUE(value == row.After) << row.Hex.data();
        EXPECT_TRUE(file.IsEOF()) << row.Hex.data();
        EXPECT_EQ(Sandbox::ReadFile(u"sealed"_s), QByteArray::fromHex(row.Hex));
    }
}
