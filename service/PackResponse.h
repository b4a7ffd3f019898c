// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "service/PackConditions.h"
#include "service/PackFolder.h"

#include <QByteArray>

struct MHD_Response;

// A response that sends a part of the pack, or says why not, and then closes its
// file; a null pointer if it cannot be created. The digest is the one of PackSums,
// or empty. A rate other than 0 limits the bytes that are sent in a second, for
// trials; each sending then blocks its thread of the server.
MHD_Response *MakePackResponse(OpenPack pack, const PackConditions::Part &part, const QByteArray &digest,
                               quint32 bytesPerSecond);

// The ETag of a pack with that digest; empty without one.
QByteArray TagOf(const QByteArray &digest);
