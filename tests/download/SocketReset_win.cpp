// SPDX-License-Identifier: Apache-2.0
#include "tests/download/SocketReset.h"

#include <winsock2.h>

void ResetOnClose(qintptr descriptor)
{
    const linger none = { 1, 0 };
    setsockopt(static_cast<SOCKET>(descriptor), SOL_SOCKET, SO_LINGER, reinterpret_cast<const char *>(&none), sizeof none);
}

QString AsReset(const QString &end)
{
    if (end.startsWith(u"200"))
        return end.endsWith(u" cut") ? end : end + u" cut";
    return end == u"52" || end == u"8" ? QStringLiteral("56") : end;
}
