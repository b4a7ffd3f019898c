// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

// Settings that outlive the program: values under keys under hives, each a
// text, a block of bytes or a 32-bit number. On Windows the system's registry,
// elsewhere one file for each hive in the user's configuration folder, which
// the user alone can read and which is replaced in one step. There a file that
// belongs to somebody else, that others may write, or that is damaged is neither
// read nor replaced: every call fails. An empty one counts as one that is not there.
namespace Registry {

enum Hive : quint32 { CurrentUser = 0x80000001, LocalMachine = 0x80000002 };
enum ValueType : qint32 { NoType = 0, Text = 1, Binary = 3, Number = 4 };

// A text, a QByteArray or a qint32; an invalid QVariant for a value that is not
// there or of another type. Type, when given, receives the value's type. Raises
// the system's error for a key that is not there.
QVariant ReadValue(Hive hive, const QString &SubKey, const QString &ValueName, qint32 *Type = nullptr);
// Creates the key if need be. Raises the system's error.
void WriteValue(const QString &SubKey, const QString &ValueName, const QVariant &Value, ValueType Type, Hive hive);
// Raises the system's error for a key or a value that is not there.
void DeleteValue(const QString &SubKey, const QString &ValueName, Hive hive);

// Raises the thread's last system error for any result but 0. The result
// itself is not the number of that error.
void CheckRegistryResult(qint32 result);

// The system's half: each returns the system's result, 0 for success.

// What a key is opened for; a system without such rights wants reading and
// writing for either.
enum KeyAccess : quint32 { FullAccess = 0xF003F, ReadAndWrite = 0x2003F };

// The bytes of a value as the system keeps them: of a text the characters in
// UTF-16 with a NUL behind, of a number four bytes, low one first.
struct StoredValue {
    qint32 Type = NoType;
    QByteArray Bytes;
};
qint32 OpenKey(Hive hive, const QString &SubKey, bool create, KeyAccess access = FullAccess);
qint32 QueryStored(Hive hive, const QString &SubKey, const QString &ValueName, StoredValue &value);
qint32 SetStored(Hive hive, const QString &SubKey, const QString &ValueName, const StoredValue &value);
qint32 DeleteStored(Hive hive, const QString &SubKey, const QString &ValueName);

// As ReadValue returns it.
QVariant ValueOf(const StoredValue &stored);

}
