// SPDX-License-Identifier: Apache-2.0
#include "common/Registry.h"

#include "common/Common.h"

#include <QtEndian>

namespace Registry {

void CheckRegistryResult(qint32 result)
{
    Common::CheckApiResult(result == 0);
}

QVariant ReadValue(Hive hive, const QString &SubKey, const QString &ValueName, qint32 *Type)
{
    CheckRegistryResult(OpenKey(hive, SubKey, false));
    StoredValue stored;
    // A value that is not there is no error, it has no type.
    if (QueryStored(hive, SubKey, ValueName, stored) != 0)
        stored = {};
    if (Type)
        *Type = stored.Type;
    return ValueOf(stored);
}

QVariant ValueOf(const StoredValue &stored)
{
    switch (stored.Type) {
    case Text: {
        QString text
            = QString::fromUtf16(reinterpret_cast<const char16_t *>(stored.Bytes.constData()), stored.Bytes.size() / 2);
        return Common::TrimNull(text);
    }
    case Number: return stored.Bytes.size() < 4 ? QVariant(0) : QVariant(qFromLittleEndian<qint32>(stored.Bytes.constData()));
    case Binary: return stored.Bytes;
    default: return {};
    }
}

void WriteValue(const QString &SubKey, const QString &ValueName, const QVariant &Value, ValueType Type, Hive hive)
{
    CheckRegistryResult(OpenKey(hive, SubKey, true));
    StoredValue stored{ Type, {} };
    if (Type == Text) {
        const QString text = Value.toString();
        stored.Bytes = QByteArray(reinterpret_cast<const char *>(text.utf16()), (text.size() + 1) * 2);
    } else if (Type == Number) {
        stored.Bytes.resize(4);
        qToLittleEndian(Value.value<qint32>(), stored.Bytes.data());
    } else {
        stored.Bytes = Value.toByteArray();
    }
    CheckRegistryResult(SetStored(hive, SubKey, ValueName, stored));
}

void DeleteValue(const QString &SubKey, const QString &ValueName, Hive hive)
{
    CheckRegistryResult(OpenKey(hive, SubKey, false));
    CheckRegistryResult(DeleteStored(hive, SubKey, ValueName));
}

}
