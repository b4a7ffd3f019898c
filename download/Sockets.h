// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <curl/curl.h>

namespace Sockets {

// Has no program that this one starts, like a pack, get the socket as well, which
// would keep the connection open. A failure is not reported; the socket works all
// the same.
void KeepFromChildren(curl_socket_t socket);

}
