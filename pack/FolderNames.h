// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

// Whether a file in the folder has a name that a QString cannot hold; Qt omits
// such a file from every listing. False for a folder that cannot be listed.
bool HoldsUnreadableName(const QString &folder);
