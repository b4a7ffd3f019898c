// SPDX-License-Identifier: Apache-2.0
#include "tests/download/SocketReset.h"

#include <sys/socket.h>

void ResetOnClose(qintptr descriptor)
{
    const linger none = { 1, 0 };
    setsockopt(static_cast<int>(descriptor), SOL_SOCKET, SO_LINGER, &none, sizeof none);
}

QString AsReset(const QString &end)
{
    return end;
}
