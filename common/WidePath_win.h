// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

// A path as the system's wide functions take it: absolute with the prefix that
// lifts their limit of 260 characters where the path is longer, else as it is.
QString WidePath(const QString &path);

inline const wchar_t *Wide(const QString &text)
{
    return reinterpret_cast<const wchar_t *>(text.utf16());
}
