// SPDX-License-Identifier: Apache-2.0
#include "pack/FolderNames.h"

// A QString holds every name of this system. An unpaired surrogate in one becomes
// a question mark in UTF-8, which the name of a file in a pack cannot contain.
bool HoldsUnreadableName(const QString &)
{
    return false;
}
