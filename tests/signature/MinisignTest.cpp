// SPDX-License-Identifier: Apache-2.0
#include "signature/Minisign.h"

#include "signature/PackStatement.h"
#include "tests/support/Test.h"

namespace {

std::string Refusal(const std::function<void()> &action)
{
    try {
        action();
    } catch (const Error &error) {
        return error.Description().toStdString();
    }
    return "accepted";
}

}

TEST(MinisignTest, AKeyInItsFile)
{
    const Minisign::SecretKey key = Minisign::NewKey();
    const QByteArray file = Minisign::Sealed(key, u"pass \u00FC"_s, Minisign::Cost::Low);
    EXPECT_EQ(Minisign::Opened(file, u"pass \u00FC"_s).Bytes, key.Bytes);
    EXPECT_NE(file, Minisign::Sealed(key, u"pass \u00FC"_s, Minisign::Cost::Low)) << "the salt";
    EXPECT_NE(key.Bytes, Minisign::NewKey().Bytes);
    const std::string wrong = "the pass phrase is wrong, or the key is damaged";
    const std::string noKey = "it is no secret key that is sealed with a pass phrase";
    EXPECT_EQ(Refusal([&] { Minisign::Opened(file, u"pass"_s); }), wrong);
    EXPECT_EQ(Refusal([&] { Minisign::Sealed(key, {}); }), "the pass phrase is empty");
    QByteArray bytes = QByteArray::fromBase64(file.split('\n').at(1));
    const auto opened = [&](qsizetype at) {
        QByteArray changed = bytes;
        changed[at] = static_cast<char>(changed[at] ^ 0x40);
        return Refusal([&] { Minisign::Opened("untrusted comment: x\n" + changed.toBase64() + '\n', u"pass \u00FC"_s); });
    };
    // Kind, salt, limits beyond any machine, key, sum.
    const std::pair<qsizetype, std::string> rows[] = { { 0, noKey },
                                                       { 3, noKey },
                                                       { 6, wrong },
                                                       { 44, "the key takes too much memory or time to open" },
                                                       { 52, "the key takes too much memory or time to open" },
                                                       { 60, wrong },
                                                       { bytes.size() - 1, wrong } };
    for (const auto &[at, said] : rows)
        EXPECT_EQ(opened(at), said) << at;
    for (const QByteArray &text : { QByteArray(), QByteArray("x"), file.first(100), QByteArray(file).replace('\n', ' ') })
        EXPECT_EQ(Refusal([&] { Minisign::Opened(text, u"pass"_s); }), noKey) << text.toStdString();
}

TEST(MinisignTest, APublicKeyAsOneLine)
{
    // RFC 8032, 7.1, test 1.
    const QByteArray point = QByteArray::fromHex("d75a980182b10ab7d54bfed3c964073a0ee172f3daa62325af021a68f707511a");
    const Minisign::PublicKey key = { QByteArray::fromHex("0123456789abcdef"), point };
    EXPECT_EQ(Minisign::PublicKey::FromText(key.ToText()), key);
    EXPECT_EQ(key.ToText().size(), 56);
    EXPECT_EQ(key.IdText(), u"EFCDAB8967452301"_s);
    EXPECT_EQ(Minisign::FileOf(key),
              "untrusted comment: minisign public key EFCDAB8967452301\n" + key.ToText().toLatin1() + '\n');

    const auto text = [&](const QByteArray &bytes) { return Minisign::PublicKey{ key.Id, bytes }.ToText(); };
    QByteArray order4(32, '\0'); // of the point (i, 0)
    const QString unusable[] = {
        text(order4),
        text(QByteArray("\1") + QByteArray(31, '\0')),
        text(QByteArray(32, '\xFF')),
        text("\2" + QByteArray(31, '\0')),
    };
    for (const QString &line : unusable)
        EXPECT_EQ(Refusal([&] { Minisign::PublicKey::FromText(line); }),
                  u"“%1” is no usable public key"_s.arg(line).toStdString());
    const QString good = key.ToText();
    for (const QString &line :
         { QString(), u"x"_s, good.chopped(1), good + u'=', good + good, good.left(55) + u' ', u'Q' + good.mid(1) })
        EXPECT_TRUE(Refusal([&] { Minisign::PublicKey::FromText(line); }).ends_with("is no public key")) << line.toStdString();
}

// RFC 8032, 7.1, test 2; and what minisign itself has made is read.
TEST(MinisignTest, SignaturesOfOthers)
{
    const QByteArray seed = QByteArray::fromHex("4ccd089b28ff96da9db6c346ec114e0f5b8a319f35aba624da8cf6ed4fb8a6fb");
    const QByteArray point = QByteArray::fromHex("3d4017c3e843895a92b70aa74d1b7ebc9c982ccf2ec4968cc0cd55f12af4660c");
    const QByteArray wanted = QByteArray::fromHex("92a009a9f0d4cab8720e820b5f642540a2b27b5416503f8fb3762223ebdb69da"
                                                  "085ac1e43e15996e458f3613d0f11d8c387b2eaeb4302aeeb00d291612bb0c00");
    const Minisign::SecretKey key = { "identity", seed + point };
    const auto signatures = Minisign::Signatures(Minisign::Sign(key, "\x72", u"over \u00FC"_s));
    ASSERT_EQ(signatures.size(), 1u);
    EXPECT_EQ(signatures[0].Bytes, wanted);
    EXPECT_EQ(signatures[0].Comment, "over \xC3\xBC");
    EXPECT_TRUE(Minisign::Verifies(signatures[0], key.Public(), "\x72"));
    EXPECT_FALSE(Minisign::Verifies(signatures[0], key.Public(), "\x73"));
    EXPECT_FALSE(Minisign::Verifies(signatures[0], { "Identity", point }, "\x72"));
    EXPECT_EQ(Refusal([&] { Minisign::Sign(key, "x", u"two\nlines"_s); }),
              "the comment of a signature is one line without control characters");
}

TEST(MinisignTest, TextsThatAreNoSignature)
{
    const QByteArray good = Minisign::Sign(Minisign::NewKey(), "message", u"comment"_s);
    EXPECT_EQ(Minisign::Signatures({}).size(), 0u);
    EXPECT_EQ(Minisign::Signatures(good + good).size(), 2u);
    const QByteArrayList lines = good.split('\n');
    const QByteArray rows[] = {
        "\n",
        good.chopped(1),
        good + "\n",
        good + "untrusted comment: \n",
        QByteArray(good).replace("\n", "\r\n"),
        QByteArray(good).replace("untrusted", "trusted"),
        QByteArray(good).replace("\ntrusted", "\nuntrusted"),
        QByteArray(good).replace(lines[1], lines[1].chopped(4)),
        QByteArray(good).replace(lines[1], 'Q' + lines[1].sliced(1)),
        QByteArray(good).replace(lines[3], lines[1]),
        QByteArray(good).replace(lines[3], ""),
    };
    for (const QByteArray &text : rows)
        EXPECT_EQ(Refusal([&] { Minisign::Signatures(text); }), "the signature cannot be read") << text.toStdString();
}

TEST(MinisignTest, Statements)
{
    const PackStatement statement = { u"NET-101"_s, 7, QDateTime({ 2026, 11, 23 }, { 9, 30 }, Qt::UTC), u"Büro; by=Org"_s };
    const QByteArray text = "Practorium pack; exam=NET-101; version=7; date=2026-11-23T09:30:00Z; by=B\xC3\xBCro; by=Org";
    EXPECT_EQ(statement.ToText().toUtf8(), text);
    EXPECT_EQ(PackStatement::FromText(text), statement);
    const std::pair<const char *, const char *> changes[] = {
        { "Practorium pack", "Practorium packs" },
        { "=7", "=07" },
        { "=7", "=0" },
        { "=7", "=-7" },
        { "=7", "=2147483648" },
        { "=7", "=99999999999" },
        { "=7", "=" },
        { "NET-101", "" },
        { "NET-101", "NET 101" },
        { "NET-101", "NET\t101" },
        { "2026-11-23", "2026-13-23" },
        { "00Z", "00" },
        { "00Z", "00+01:00" },
        { "; by=", "; BY=" },
        { "=B\xC3\xBCro; by=Org", "=" },
        { "Org", "Org " },
        { "Org", "Org\n" },
        { "Org", "Org\x01" },
        { "\xC3\xBC", "\xFC" },
        { "; version=7", "; version=7; version=8" },
    };
    const auto refused = [](const QByteArray &changed) {
        EXPECT_NE(Refusal([&] { PackStatement::FromText(changed); }), "accepted") << changed.toStdString();
    };
    for (const auto &[from, to] : changes)
        refused(QByteArray(text).replace(from, to));
    refused(QByteArray(text).replace("Org", QByteArray(200, 'x')));
}
