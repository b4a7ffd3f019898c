// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Registry.h"

#include <QString>

// Reads one registry value as text; false, and an empty text, when the key
// cannot be opened for reading and writing or the value is not there or longer
// than 1,024 bytes, where a character of a text counts as one byte and the NUL
// behind it as another. The bytes of a number are written from the last to the
// first in hexadecimal without leading zeros, and what that reads as is given
// in decimal. A value of another type gives true and an empty text. Raises
// nothing.
bool GetKeyValue(Registry::Hive hive, const QString &SubKey, const QString &ValueName, QString &Value);

// Starts the system's own system-information tool, as the registry names it, and
// does not wait for it; false when there is none or it cannot be started.
bool StartSystemInformationTool();
