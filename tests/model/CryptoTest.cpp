#include "model/CryptoAPI.h"
#include "model/File.h"
#include "tests/support/ExpectError.h"
#include "tests/support/Sandbox.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using namespace CryptoAPI;

TEST(CryptoTest, KnownCipherBytes)
{
    struct Row { QString PassPhrase; QString Text; QByteArray Hex; };
    const Row rows[] = {
        { u"secret"_s, u"Hello World"_s, "47af0e9668fa75c57a1776" },
        { u"secret"_s, u"Hello"_s, "47af0e9668" },
        { u"secret"_s, u""_s, "" },
        { u""_s, u"Hello"_s, "48656c6c6f" },
    };
    for (const Row &row : rows) {
        // The same again: no state is left behind.
        for (int i = 0; i < 2; ++i) {
            const QByteArray sealed = EncryptText(row.Text, row.PassPhrase, CipherRC4, HashMD5);
            EXPECT_EQ(sealed, QByteArray::fromHex(row.Hex)) << row.Text.toStdString();
            EXPECT_EQ(DecryptText(sealed, row.PassPhrase, CipherRC4, HashMD5), row.Text);
        }
    }
    EXPECT_EQ(RecordPassPhrase().size(), 82);
    const QString length = QString(70'000, u'\u20AC');
    const QByteArray sealed = EncryptText(length, u"p"_s, CipherRC4, HashMD5);
    EXPECT_EQ(sealed.size(), length.size());
    EXPECT_TRUE(DecryptText(sealed, u"p"_s, CipherRC4, HashMD5) == length);
}

TEST(CryptoTest, OtherAlgorithmsAreRefused)
{
    const qint32 code = static_cast<qint32>(0x80090008);
    QByteArray data = "abc";
    EXPECT_EQ(ErrorOf([&] { Encrypt(data, u"p"_s, 0x6602, HashMD5); }), u"%1 CryptoAPI:Encrypt()"_s.arg(code));
    EXPECT_EQ(ErrorOf([&] { Decrypt(data, u"p"_s, CipherRC4, 0x8004); }), u"%1 CryptoAPI:Decrypt()"_s.arg(code));
    EXPECT_EQ(data, "abc");
    QByteArray nothing;
    EXPECT_EQ(ErrorOf([&] { Encrypt(nothing, u"p"_s, 0, 0); }), u"none"_s);
    EXPECT_EQ(ErrorOf([&] { Encrypt(data, u""_s, 0, 0); }), u"none"_s);
}

TEST(CryptoTest, RecordsOfTextsAndOthers)
{
    const QString path = Sandbox::Path(u"sealed"_s);
    struct Row { QVariant Value; qint32 Length; QByteArray Hex; QVariant Before; QVariant After; };
    const QByteArray sealed = EncryptText(u"Hi"_s, RecordPassPhrase(), CipherRC4, HashMD5).toHex();
    const Row rows[] = {
        // The length does not matter to a text.
        { u"Hi"_s, -1, "02000000" + sealed, u"old"_s, u"Hi"_s },
        { u"Hi"_s, 1, "02000000" + sealed, u"old"_s, u"Hi"_s },
        { u""_s, -1, "00000000", u"old"_s, u"old"_s },
        { qint32(5), -1, "05000000", qint32(0), qint32(5) },
        { QByteArray("ab"), 2, "6162", QByteArray(), QByteArray("ab") },
    };
    for (const Row &row : rows) {
        File file;
        file.OpenFile(path, File::BinaryMode, File::ReadAccess | File::WriteAccess, File::CreateAlways);
        WriteSecureData(file, row.Value, row.Length);
        file.SeekTo(0, File::FromStart);
        QVariant value = row.Before;
        ReadSecureData(file, value, row.Length);
        EXPECT_TRUE(value == row.After) << row.Hex.data();
        EXPECT_TRUE(file.IsEOF()) << row.Hex.data();
        EXPECT_EQ(Sandbox::ReadFile(path), QByteArray::fromHex(row.Hex));
    }
}
