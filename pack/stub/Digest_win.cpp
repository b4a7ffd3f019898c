// SPDX-License-Identifier: Apache-2.0
#include "pack/stub/Digest.h"

#include <algorithm>

#include <windows.h>
#include <bcrypt.h>

namespace {

// A pack lies among other downloads. The library is loaded from the system's folder
// and never from the pack's own.
template <class Function> Function Loaded(const char *name)
{
    static const HMODULE library = LoadLibraryExW(L"bcrypt.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    // By way of a pointer, because the types of the two functions differ.
    const auto address = library ? reinterpret_cast<void *>(GetProcAddress(library, name)) : nullptr;
    return reinterpret_cast<Function>(address);
}

struct BCryptLibrary {
    decltype(&BCryptOpenAlgorithmProvider) Open = Loaded<decltype(&BCryptOpenAlgorithmProvider)>("BCryptOpenAlgorithmProvider");
    decltype(&BCryptCreateHash) Create = Loaded<decltype(&BCryptCreateHash)>("BCryptCreateHash");
    decltype(&BCryptDuplicateHash) Duplicate = Loaded<decltype(&BCryptDuplicateHash)>("BCryptDuplicateHash");
    decltype(&BCryptHashData) Hash = Loaded<decltype(&BCryptHashData)>("BCryptHashData");
    decltype(&BCryptFinishHash) Finish = Loaded<decltype(&BCryptFinishHash)>("BCryptFinishHash");
    decltype(&BCryptDestroyHash) Destroy = Loaded<decltype(&BCryptDestroyHash)>("BCryptDestroyHash");
    BCRYPT_ALG_HANDLE Algorithm = nullptr; // kept until the program ends

    BCryptLibrary()
    {
        const bool isThere = Open && Create && Duplicate && Hash && Finish && Destroy;
        if (!isThere || Open(&Algorithm, BCRYPT_SHA256_ALGORITHM, nullptr, 0) < 0)
            Algorithm = nullptr;
    }
};

const BCryptLibrary &Library()
{
    static const BCryptLibrary library;
    return library;
}

}

Digest::Digest()
    : m_state(nullptr)
{
    const BCryptLibrary &library = Library();
    if (!library.Algorithm || library.Create(library.Algorithm, &m_state, nullptr, 0, nullptr, 0, 0) < 0)
        m_state = nullptr;
}

Digest::~Digest()
{
    if (m_state)
        Library().Destroy(m_state);
}

Digest::Digest(const Digest &other)
    : m_state(nullptr)
{
    if (!other.m_state || Library().Duplicate(other.m_state, &m_state, nullptr, 0, 0) < 0)
        m_state = nullptr;
}

void Digest::Add(const void *bytes, std::size_t count)
{
    const auto *next = static_cast<const unsigned char *>(bytes);
    while (m_state && count > 0) {
        const auto piece = static_cast<ULONG>(std::min<std::size_t>(count, 1 << 30));
        if (Library().Hash(m_state, const_cast<unsigned char *>(next), piece, 0) < 0) {
            Library().Destroy(m_state);
            m_state = nullptr;
        }
        next += piece;
        count -= piece;
    }
}

bool Digest::Finish(unsigned char (&sum)[PackFormat::DigestBytes])
{
    return m_state && Library().Finish(m_state, sum, sizeof sum, 0) >= 0;
}
