// SPDX-License-Identifier: Apache-2.0
#include "download/Sockets.h"

#include <windows.h>

void Sockets::KeepFromChildren(curl_socket_t socket)
{
    SetHandleInformation(reinterpret_cast<HANDLE>(socket), HANDLE_FLAG_INHERIT, 0);
}
