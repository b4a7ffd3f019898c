// SPDX-License-Identifier: Apache-2.0
#include "signature/PackTrust.h"

#include "common/Registry.h"
#include "common/ServiceKey.h"
#include "pack/stub/PackReader.h"
#include "tests/signature/SignedPack.h"

#include <cstring>

namespace {

const QByteArray Program = "#!/bin/false\n";
const std::string Untrusted = "the pack has no valid signature by a key that is trusted";
const std::string Unreadable = "the signature cannot be read";
const std::string Accepted = "NET-101 7 Example Org";

bool ReadBytes(std::intptr_t file, std::uint64_t offset, void *out, std::size_t count)
{
    const auto *bytes = reinterpret_cast<const QByteArray *>(file);
    return offset + count <= static_cast<std::uint64_t>(bytes->size()) && std::memcpy(out, bytes->constData() + offset, count);
}

// What is stated about the pack, or why it is refused.
std::string Checked(const QByteArray &bytes, const std::optional<QString> &exam = u"NET-101"_s)
{
    PackReader pack({ ReadBytes, reinterpret_cast<std::intptr_t>(&bytes), static_cast<std::uint64_t>(bytes.size()) });
    if (const char *fault = pack.Check())
        return fault;
    try {
        const auto statement = PackTrust::Check(pack, exam);
        return statement ? u"%1 %2 %3"_s.arg(statement->Exam).arg(statement->Version).arg(statement->Signer).toStdString() : "";
    } catch (const Error &error) {
        return error.Description().toStdString();
    }
}

class PackTrustTest : public testing::Test {
protected:
    const Minisign::SecretKey Ours = Minisign::NewKey();
    const Minisign::SecretKey Others = Minisign::NewKey();
    const QByteArray Good = SignedPack::Signed(Program, Ours, SignedPack::Statement(u"NET-101"_s, 7));
};

}

TEST_F(PackTrustTest, WithoutKeysEveryPackIsRun)
{
    EXPECT_EQ(Checked(SignedPack::Unsigned(Program)), "");
    EXPECT_EQ(Checked(Good), "");
    EXPECT_EQ(Checked(SignedPack::With(SignedPack::BodyOf(Program), "nonsense")), "");
    const TrustedKeys none(u" \r\n "_s);
    EXPECT_EQ(Checked(SignedPack::Unsigned(Program)), "");
    EXPECT_TRUE(PackTrust::Keys().empty());
}

TEST_F(PackTrustTest, Forgeries)
{
    const TrustedKeys ours(Ours.Public().ToText());
    const auto body = SignedPack::BodyOf(Program);
    const auto other = SignedPack::BodyOf("#!/bin/evil\n");
    const auto sign = [&](const Minisign::SecretKey &key, const QByteArray &digest, qint32 version = 7) {
        return Minisign::Sign(key, digest, SignedPack::Statement(u"NET-101"_s, version).ToText());
    };
    const QByteArray good = sign(Ours, body.Digest());
    // Parts of genuine signatures, put together anew: lines 2 and 4 hold what is signed.
    const QByteArrayList lines = good.split('\n');
    const QByteArrayList next = sign(Ours, body.Digest(), 8).split('\n');
    const QByteArrayList evil = sign(Ours, other.Digest()).split('\n');
    const auto joined = [](const QByteArrayList &parts) { return parts.join('\n') + '\n'; };
    const Minisign::SecretKey disguised = { Ours.Id, Others.Bytes };
    const std::tuple<const char *, QByteArray, std::string> rows[] = {
        { "genuine", SignedPack::With(body, good), Accepted },
        { "a second one behind it", SignedPack::With(body, good + sign(Others, body.Digest(), 9)), Accepted },
        { "a second one before it", SignedPack::With(body, sign(Others, body.Digest(), 9) + good), Accepted },
        { "none", SignedPack::Unsigned(Program), "the pack is not signed" },
        { "none in a signed layout", SignedPack::With(body, {}), "the pack is damaged" },
        { "one in a layout without", SignedPack::With(SignedPack::BodyOf(Program, 1), good), "the pack is damaged" },
        { "too many", SignedPack::With(body, good.repeated(20)), "the pack is damaged" },
        { "no text", SignedPack::With(body, "nonsense"), Unreadable },
        { "genuine, and half of one", SignedPack::With(body, good + good.first(50)), Unreadable },
        { "by another key", SignedPack::With(body, sign(Others, body.Digest())), Untrusted },
        { "by another key under our ID", SignedPack::With(body, sign(disguised, body.Digest())), Untrusted },
        { "of another pack", SignedPack::With(other, good), Untrusted },
        { "of other numbers", SignedPack::With({ body.Front, SignedPack::BodyOf(Program, 1).Numbers }, good),
          "the pack is damaged" },
        { "a statement of its own", SignedPack::With(body, QByteArray(good).replace("=7", "=9")), Untrusted },
        { "another one's statement", SignedPack::With(body, joined({ lines[0], lines[1], next[2], lines[3] })), Untrusted },
        // Ed25519 signs twice in the same way, so both packs' signatures are the same here.
        { "the same with its sum", SignedPack::With(body, joined({ lines[0], lines[1], next[2], next[3] })),
          "NET-101 8 Example Org" },
        { "another pack's statement", SignedPack::With(body, joined({ lines[0], lines[1], evil[2], evil[3] })), Untrusted },
        { "another pack's signature", SignedPack::With(body, joined({ lines[0], evil[1], lines[2], lines[3] })), Untrusted },
        { "the message's for the comment's",
          SignedPack::With(body,
                           joined({ lines[0], lines[1], lines[2], QByteArray::fromBase64(lines[1]).sliced(10).toBase64() })),
          Untrusted },
        { "a statement that cannot be read, and one that can",
          SignedPack::With(body, Minisign::Sign(Ours, body.Digest(), u"version=7"_s) + good), Accepted },
        { "a statement that cannot be read", SignedPack::With(body, Minisign::Sign(Ours, body.Digest(), u"version=7"_s)),
          "what the signature states cannot be read" },
    };
    for (const auto &[name, pack, said] : rows)
        EXPECT_EQ(Checked(pack), said) << name;
}

// Whoever changes a byte can also correct the sum in the trailer.
TEST_F(PackTrustTest, EveryByteIsSigned)
{
    const TrustedKeys ours(Ours.Public().ToText());
    const qsizetype numbersAt = Good.size() - 64;
    const qsizetype signaturesAt = SignedPack::BodyOf(Program).Front.size();
    const qsizetype comment = Good.indexOf('\n', signaturesAt); // anybody's
    for (qsizetype at = 0; at < Good.size(); ++at) {
        if (at > signaturesAt + 18 && at < comment)
            continue;
        QByteArray changed = Good;
        changed[at] = static_cast<char>(changed[at] ^ 1);
        const SignedPack::Body body = { changed.first(signaturesAt), changed.sliced(numbersAt, 32) };
        const QByteArray pack
            = at < numbersAt + 32 ? SignedPack::With(body, changed.sliced(signaturesAt, numbersAt - signaturesAt)) : changed;
        EXPECT_NE(Checked(pack), Accepted) << at;
        EXPECT_NE(Checked(Good.first(at)), Accepted) << at;
    }
}

TEST_F(PackTrustTest, TheExamAndTheVersion)
{
    const TrustedKeys ours(Ours.Public().ToText());
    for (const QString &exam : { u"NET-102"_s, u"net-101"_s, u""_s })
        EXPECT_EQ(Checked(Good, exam), "the pack is signed for the exam NET-101") << exam.toStdString();
    EXPECT_EQ(Checked(Good, {}), Accepted);

    const auto version
        = [this](qint32 number) { return SignedPack::Signed(Program, Ours, SignedPack::Statement(u"NET-101"_s, number)); };
    // A look at a pack is not its installation.
    EXPECT_EQ(Checked(version(9)), "NET-101 9 Example Org");
    EXPECT_EQ(Checked(Good), Accepted);
    PackTrust::Remember(SignedPack::Statement(u"NET-101"_s, 8));
    PackTrust::Remember(SignedPack::Statement(u"NET-101"_s, 6));
    PackTrust::Remember(SignedPack::Statement(u"NET-102"_s, 2'147'483'647));
    EXPECT_EQ(Checked(Good), "the pack is version 7 of the exam NET-101, and version 8 has been installed");
    EXPECT_EQ(Checked(Good, {}), "the pack is version 7 of the exam NET-101, and version 8 has been installed");
    EXPECT_EQ(Checked(version(8)), "NET-101 8 Example Org");
    Registry::WriteValue(PackTrust::VersionsKey, u"NET-101"_s, u"8"_s, Registry::Text, Registry::CurrentUser);
    EXPECT_EQ(Checked(version(9)), "the value “NET-101” in the registry is not what it should be");
    Registry::DeleteValue(PackTrust::VersionsKey, u"NET-101"_s, Registry::CurrentUser);
}

TEST_F(PackTrustTest, TheKeysInTheRegistry)
{
    const QString key = Ours.Public().ToText();
    const QString another = Others.Public().ToText();
    const std::tuple<QString, size_t, std::string> rows[] = {
        { another + u"\r\n"_s + key, 2, Accepted },
        { u' ' + key + u' ' + key + u'\t', 1, Accepted },
        { another, 1, Untrusted },
        { key + u" x"_s, 0, "“x” is no public key" },
        { key.toLower(), 0, u"“%1” is no public key"_s.arg(key.toLower()).toStdString() },
    };
    for (const auto &[text, count, said] : rows) {
        const TrustedKeys trusted(text);
        EXPECT_EQ(Checked(Good), said) << text.toStdString();
        EXPECT_TRUE(count == 0 || PackTrust::Keys().size() == count);
    }
    // A value that is there, but is no text, does not end the protection.
    Registry::WriteValue(ServiceKey, PackTrust::KeysName, key.toUtf8(), Registry::Binary, Registry::CurrentUser);
    EXPECT_EQ(Checked(Good), "the value “Pack Keys” in the registry is not what it should be");
    Registry::SetStored(Registry::CurrentUser, ServiceKey, PackTrust::KeysName, { Registry::Text, {} });
    EXPECT_EQ(Checked(Good), "the value “Pack Keys” in the registry is not what it should be");
    Registry::DeleteValue(ServiceKey, PackTrust::KeysName, Registry::CurrentUser);
}
