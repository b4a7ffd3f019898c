// SPDX-License-Identifier: Apache-2.0
#include "tests/signature/SignedPack.h"

#include "common/Registry.h"
#include "common/ServiceKey.h"

TrustedKeys::TrustedKeys(const QString &text)
{
    Registry::WriteValue(ServiceKey, PackTrust::KeysName, text, Registry::Text, Registry::CurrentUser);
}

TrustedKeys::~TrustedKeys()
{
    Registry::DeleteValue(ServiceKey, PackTrust::KeysName, Registry::CurrentUser);
}
