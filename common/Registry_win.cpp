// SPDX-License-Identifier: Apache-2.0
#include "common/Registry.h"

#include "common/WidePath_win.h"

#include <windows.h>

namespace Registry {

namespace {

HKEY RootOf(Hive hive)
{
    // The handles of the hives are sign-extended 32-bit numbers.
    return reinterpret_cast<HKEY>(static_cast<LONG_PTR>(static_cast<LONG>(hive)));
}

class Key {
public:
    Key() = default;
    Key(Hive hive, const QString &SubKey, REGSAM access)
    {
        Result = RegOpenKeyExW(RootOf(hive), Wide(SubKey), 0, access, &Handle);
    }
    ~Key()
    {
        if (Handle)
            RegCloseKey(Handle);
    }
    Key(const Key &) = delete;
    Key &operator=(const Key &) = delete;

    HKEY Handle = nullptr;
    LSTATUS Result = ERROR_SUCCESS;
};

}

qint32 OpenKey(Hive hive, const QString &SubKey, bool create, KeyAccess access)
{
    if (!create)
        return Key(hive, SubKey, access).Result;
    Key key;
    key.Result = RegCreateKeyExW(RootOf(hive), Wide(SubKey), 0, nullptr, REG_OPTION_NON_VOLATILE, access, nullptr, &key.Handle,
                                 nullptr);
    return key.Result;
}

qint32 QueryStored(Hive hive, const QString &SubKey, const QString &ValueName, StoredValue &value)
{
    const Key key(hive, SubKey, KEY_QUERY_VALUE);
    LSTATUS result = key.Result;
    DWORD type = 0;
    DWORD size = 0;
    if (result == ERROR_SUCCESS)
        result = RegQueryValueExW(key.Handle, Wide(ValueName), nullptr, &type, nullptr, &size);
    // Another program may give the value a longer content in between.
    while (result == ERROR_SUCCESS) {
        value.Bytes.resize(size);
        result = RegQueryValueExW(key.Handle, Wide(ValueName), nullptr, &type, reinterpret_cast<BYTE *>(value.Bytes.data()),
                                  &size);
        if (result == ERROR_MORE_DATA) {
            result = ERROR_SUCCESS;
            continue;
        }
        value.Bytes.truncate(size);
        value.Type = static_cast<qint32>(type);
        break;
    }
    return result;
}

qint32 SetStored(Hive hive, const QString &SubKey, const QString &ValueName, const StoredValue &value)
{
    const Key key(hive, SubKey, KEY_SET_VALUE);
    if (key.Result != ERROR_SUCCESS)
        return key.Result;
    return RegSetValueExW(key.Handle, Wide(ValueName), 0, static_cast<DWORD>(value.Type),
                          reinterpret_cast<const BYTE *>(value.Bytes.constData()), static_cast<DWORD>(value.Bytes.size()));
}

qint32 DeleteStored(Hive hive, const QString &SubKey, const QString &ValueName)
{
    const Key key(hive, SubKey, KEY_SET_VALUE);
    return key.Result != ERROR_SUCCESS ? key.Result : RegDeleteValueW(key.Handle, Wide(ValueName));
}

}
