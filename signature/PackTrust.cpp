// SPDX-License-Identifier: Apache-2.0
#include "signature/PackTrust.h"

#include "common/Common.h"
#include "common/Error.h"
#include "common/Registry.h"
#include "common/ServiceKey.h"
#include "common/TrapErrors.h"
#include "pack/stub/PackReader.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace PackTrust {

const QString KeysName = u"Pack Keys"_s;
const QString VersionsKey = ServiceKey + u"\\Versions"_s;

namespace {

// The system's code for a key or a value that is not there, on every system.
constexpr qint32 NotThere = 2;

Error Refused(const QString &text)
{
    return Error(InvalidCall, text, u"PackTrust"_s);
}

// The value, or an invalid one if there is none. One that cannot be read, or is not what it
// should be, raises an error: a mistake in the settings does not end what protects the user.
QVariant Value(const QString &key, const QString &name, Registry::ValueType type)
{
    Registry::StoredValue stored;
    const qint32 result = Registry::QueryStored(Registry::CurrentUser, key, name, stored);
    if (result == NotThere)
        return {};
    if (result != 0)
        throw Refused(u"the value “%1” in the registry cannot be read: %2"_s.arg(
            name, Common::ShownText(Common::SystemErrorText(result)).trimmed()));
    // A text has at least its NUL.
    const qsizetype size = stored.Bytes.size();
    const bool isWhole = type == Registry::Number ? size == 4 : size >= 2 && size % 2 == 0;
    if (stored.Type != type || !isWhole)
        throw Refused(u"the value “%1” in the registry is not what it should be"_s.arg(name));
    return Registry::ValueOf(stored);
}

qint32 InstalledVersion(const QString &exam)
{
    return Value(VersionsKey, exam, Registry::Number).toInt();
}

QByteArrayView DigestOf(const PackReader &pack)
{
    return { pack.PackDigest(), static_cast<qsizetype>(PackFormat::DigestBytes) };
}

std::vector<Minisign::Signature> SignaturesOf(const PackReader &pack)
{
    const std::string_view texts = pack.Signatures();
    if (texts.empty())
        throw Refused(u"the pack is not signed"_s);
    return Minisign::Signatures(QByteArrayView(texts.data(), static_cast<qsizetype>(texts.size())));
}

PackStatement Verified(const PackReader &pack, const std::vector<Minisign::PublicKey> &keys)
{
    Error reason = Refused(u"the pack has no valid signature by a key that is trusted"_s);
    for (const Minisign::Signature &signature : SignaturesOf(pack)) {
        for (const Minisign::PublicKey &key : keys) {
            if (!Minisign::Verifies(signature, key, DigestOf(pack)))
                continue;
            try {
                return PackStatement::FromText(signature.Comment);
            } catch (const Error &error) {
                // The other signature may have a statement that can be read.
                reason = error;
            }
        }
    }
    throw reason;
}

}

std::vector<Minisign::PublicKey> Keys()
{
    std::vector<Minisign::PublicKey> keys;
    const QString text = QStringLiteral(PRACTORIUM_PACK_KEYS) + u' ' + Value(ServiceKey, KeysName, Registry::Text).toString();
    for (const QString &line : text.simplified().split(u' ', Qt::SkipEmptyParts)) {
        const auto key = Minisign::PublicKey::FromText(line);
        if (std::find(keys.begin(), keys.end(), key) == keys.end())
            keys.push_back(key);
    }
    return keys;
}

std::optional<PackStatement> Check(const PackReader &pack, const std::optional<QString> &exam)
{
    const auto keys = Keys();
    if (keys.empty())
        return {};
    const PackStatement statement = Verified(pack, keys);
    if (exam && statement.Exam != *exam)
        throw Refused(u"the pack is signed for the exam %1"_s.arg(statement.Exam));
    const qint32 installed = InstalledVersion(statement.Exam);
    if (statement.Version < installed)
        throw Refused(u"the pack is version %1 of the exam %2, and version %3 has been installed"_s.arg(statement.Version)
                          .arg(statement.Exam)
                          .arg(installed));
    return statement;
}

std::optional<PackStatement> Check(std::intptr_t file, const QString &exam)
{
    if (Keys().empty())
        return {};
    PackSource source = {};
    if (!SourceOf(file, source))
        throw Refused(u"the pack cannot be read"_s);
    PackReader pack(source);
    if (const char *fault = pack.Check())
        throw Refused(QString::fromLatin1(fault));
    return Check(pack, exam);
}

void Remember(const PackStatement &statement)
{
    const auto store = [&] {
        // A newer one may have been installed meanwhile.
        if (InstalledVersion(statement.Exam) < statement.Version)
            Registry::WriteValue(VersionsKey, statement.Exam, statement.Version, Registry::Number, Registry::CurrentUser);
    };
    TrapErrors(store, [&](const Error &error) {
        Common::Log(u"The version of the pack %1 cannot be stored: %2"_s.arg(statement.Exam, Common::OneLine(error)));
    });
}

PackStatement Verified(const PackReader &pack, const Minisign::PublicKey &key)
{
    return Verified(pack, std::vector{ key });
}

}
