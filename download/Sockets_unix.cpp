// SPDX-License-Identifier: Apache-2.0
#include "download/Sockets.h"

#include <fcntl.h>

void Sockets::KeepFromChildren(curl_socket_t socket)
{
    fcntl(socket, F_SETFD, FD_CLOEXEC);
}
