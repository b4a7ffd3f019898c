// SPDX-License-Identifier: Apache-2.0
#pragma once

// What load_floor takes from OpenSSL, by the system's own service: there is no
// such library for this compiler.

#include <cstdint>

#include <windows.h>

#include <bcrypt.h>

inline void MD5(const uint8_t *bytes, size_t count, uint8_t *digest)
{
    BCRYPT_ALG_HANDLE algorithm = nullptr;
    BCRYPT_HASH_HANDLE hash = nullptr;
    BCryptOpenAlgorithmProvider(&algorithm, BCRYPT_MD5_ALGORITHM, nullptr, 0);
    BCryptCreateHash(algorithm, &hash, nullptr, 0, nullptr, 0, 0);
    BCryptHashData(hash, const_cast<uint8_t *>(bytes), static_cast<ULONG>(count), 0);
    BCryptFinishHash(hash, digest, 16, 0);
    BCryptDestroyHash(hash);
    BCryptCloseAlgorithmProvider(algorithm, 0);
}

// The library would take some bytes of a file for the ends of lines.
#undef O_RDONLY
#define O_RDONLY (_O_RDONLY | _O_BINARY)
