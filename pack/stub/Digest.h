// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "packformat/PackFormat.h"

// A SHA-256 that is computed piece by piece, by OpenSSL on Linux and by the
// system's library on Windows, both with the processor's own instructions if it
// has any. A copy continues on its own from the same bytes.
class Digest {
public:
    // Of no bytes yet.
    Digest();
    ~Digest();
    Digest(const Digest &other);
    Digest &operator=(const Digest &other) = delete;

    void Add(const void *bytes, std::size_t count);
    // The sum of all bytes so far; nothing can be added afterwards. False when any
    // step has failed.
    bool Finish(unsigned char (&sum)[PackFormat::DigestBytes]);

private:
    void *m_state; // nullptr after a failure
};
