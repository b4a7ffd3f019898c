// SPDX-License-Identifier: Apache-2.0
#include "tests/download/SocketReset.h"

#include <winsock2.h>

void ResetOnClose(qintptr descriptor)
{
    const linger none = { 1, 0 };
    setsockopt(static_cast<SOCKET>(descriptor), SOL_SOCKET, SO_LINGER, reinterpret_cast<const char *>(&none), sizeof none);
}

QString ToldAsReset(QString boxes)
{
    return boxes.replace(QStringLiteral("0x34"), QStringLiteral("0x38"))
        .replace(QStringLiteral("0x8)"), QStringLiteral("0x38)"));
}
