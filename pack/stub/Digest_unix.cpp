// SPDX-License-Identifier: Apache-2.0
#include "pack/stub/Digest.h"

// The functions of OpenSSL that take no other part of it into the stub. Those that
// replace them would take all of it.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/sha.h>

#include <cstdlib>

namespace {

SHA256_CTX *StateOf(void *state)
{
    return static_cast<SHA256_CTX *>(state);
}

}

Digest::Digest()
    : m_state(std::malloc(sizeof(SHA256_CTX)))
{
    if (m_state)
        SHA256_Init(StateOf(m_state));
}

Digest::~Digest()
{
    std::free(m_state);
}

Digest::Digest(const Digest &other)
    : m_state(other.m_state ? std::malloc(sizeof(SHA256_CTX)) : nullptr)
{
    if (m_state)
        *StateOf(m_state) = *StateOf(other.m_state);
}

void Digest::Add(const void *bytes, std::size_t count)
{
    if (m_state)
        SHA256_Update(StateOf(m_state), bytes, count);
}

bool Digest::Finish(unsigned char (&sum)[PackFormat::DigestBytes])
{
    return m_state && SHA256_Final(sum, StateOf(m_state)) == 1;
}
