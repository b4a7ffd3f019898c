// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

// Whether something in the folder has a name that no QString can hold. Qt leaves
// it out of every listing, where it is. A folder that cannot be listed holds none.
bool HoldsUnreadableName(const QString &folder);
