// SPDX-License-Identifier: Apache-2.0
#include "pack/FolderNames.h"

#include "handles/Handle_unix.h"
#include "packformat/Utf8.h"

#include <QFile>

bool HoldsUnreadableName(const QString &folder)
{
    const UniqueListing listing(opendir(QFile::encodeName(folder).constData()));
    while (const dirent *entry = listing ? readdir(listing.get()) : nullptr) {
        if (!Utf8::IsText(entry->d_name))
            return true;
    }
    return false;
}
