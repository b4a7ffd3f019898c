// SPDX-License-Identifier: Apache-2.0
#include "pack/FolderNames.h"

#include "packformat/Utf8.h"

#include <QFile>

#include <dirent.h>

bool HoldsUnreadableName(const QString &folder)
{
    DIR *listing = opendir(QFile::encodeName(folder).constData());
    if (!listing)
        return false;
    bool holds = false;
    while (const dirent *entry = readdir(listing))
        holds = holds || !Utf8::IsText(entry->d_name);
    closedir(listing);
    return holds;
}
