// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "packformat/PackFormat.h"

// A SHA-256 as it is worked out, by libsodium or by the system.
class Digest {
public:
    // Of no bytes yet.
    Digest();
    ~Digest();
    Digest(const Digest &other);
    Digest &operator=(Digest other);

    void Add(const void *bytes, std::size_t count);
    // The sum of all bytes so far, behind which none can be added; false when
    // anything of it could not be worked out.
    bool Finish(unsigned char (&sum)[PackFormat::DigestBytes]);

private:
    void *m_state; // nullptr when something went wrong
};
