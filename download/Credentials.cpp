// SPDX-License-Identifier: Apache-2.0
#include "download/Credentials.h"

#include "common/Common.h"
#include "common/Error.h"
#include "common/Registry.h"
#include "common/ServiceKey.h"
#include "model/CryptoAPI.h"

#include <QSysInfo>

using namespace Qt::Literals::StringLiterals;

namespace Credentials {

const QString EndpointName = u"Endpoint"_s;

namespace {

const QString UserIDName = u"User ID"_s;
const QString PasswordName = u"Password"_s;

// Another machine's copy of the file does not open with it.
QString PassPhrase()
{
    const QByteArray machine = QSysInfo::machineUniqueId();
    return u"Practorium credentials on "_s
        + (machine.isEmpty() ? QSysInfo::machineHostName() : QString::fromLatin1(machine.toHex()));
}

QVariant Value(const QString &name)
{
    try {
        return Registry::ReadValue(Registry::CurrentUser, ServiceKey, name);
    } catch (const Error &) {
        // Nothing has been stored yet, or it cannot be read.
        return {};
    }
}

}

Pair Load()
{
    Pair pair;
    pair.UserID = Value(UserIDName).toString();
    if (!pair.UserID.isEmpty())
        pair.Password
            = CryptoAPI::DecryptText(Value(PasswordName).toByteArray(), PassPhrase(), CryptoAPI::CipherRC4, CryptoAPI::HashMD5);
    return pair;
}

void Store(const Pair &pair)
{
    Registry::WriteValue(ServiceKey, UserIDName, pair.UserID, Registry::Text, Registry::CurrentUser);
    Registry::WriteValue(ServiceKey, PasswordName,
                         CryptoAPI::EncryptText(pair.Password, PassPhrase(), CryptoAPI::CipherRC4, CryptoAPI::HashMD5),
                         Registry::Binary, Registry::CurrentUser);
}

void Forget()
{
    for (const QString &name : { UserIDName, PasswordName }) {
        try {
            Registry::DeleteValue(ServiceKey, name, Registry::CurrentUser);
        } catch (const Error &) {
            // It was not there, or cannot be forgotten; the window closes all the same.
        }
    }
}

QString Endpoint()
{
    const QString endpoint = Common::TrimBlanks(Value(EndpointName).toString());
    return endpoint.isEmpty() ? QStringLiteral(PRACTORIUM_ENDPOINT) : endpoint;
}

}
