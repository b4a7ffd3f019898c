// SPDX-License-Identifier: Apache-2.0
#include "pack/stub/Digest.h"

#include <sodium/crypto_hash_sha256.h>

#include <cstdlib>

namespace {

crypto_hash_sha256_state *StateOf(void *state)
{
    return static_cast<crypto_hash_sha256_state *>(state);
}

}

Digest::Digest()
    : m_state(std::malloc(sizeof(crypto_hash_sha256_state)))
{
    if (m_state)
        crypto_hash_sha256_init(StateOf(m_state));
}

Digest::~Digest()
{
    std::free(m_state);
}

Digest::Digest(const Digest &other)
    : m_state(other.m_state ? std::malloc(sizeof(crypto_hash_sha256_state)) : nullptr)
{
    if (m_state)
        *StateOf(m_state) = *StateOf(other.m_state);
}

void Digest::Add(const void *bytes, std::size_t count)
{
    if (m_state)
        crypto_hash_sha256_update(StateOf(m_state), static_cast<const unsigned char *>(bytes), count);
}

bool Digest::Finish(unsigned char (&sum)[PackFormat::DigestBytes])
{
    return m_state && crypto_hash_sha256_final(StateOf(m_state), sum) == 0;
}
