// SPDX-License-Identifier: Apache-2.0
#include "pack/stub/Digest.h"

#include <algorithm>
#include <utility>

#include <windows.h>
#include <bcrypt.h>

namespace {

// A pack lies among other downloads. The system's library is taken from the
// system's folder, whatever lies beside the pack under that name.
template <class Function> Function Loaded(const char *name)
{
    static const HMODULE library = LoadLibraryExW(L"bcrypt.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    // By way of a pointer, because the types of the two functions differ.
    const auto address = library ? reinterpret_cast<void *>(GetProcAddress(library, name)) : nullptr;
    return reinterpret_cast<Function>(address);
}

struct System {
    decltype(&BCryptOpenAlgorithmProvider) Open = Loaded<decltype(&BCryptOpenAlgorithmProvider)>("BCryptOpenAlgorithmProvider");
    decltype(&BCryptCreateHash) Create = Loaded<decltype(&BCryptCreateHash)>("BCryptCreateHash");
    decltype(&BCryptDuplicateHash) Duplicate = Loaded<decltype(&BCryptDuplicateHash)>("BCryptDuplicateHash");
    decltype(&BCryptHashData) Hash = Loaded<decltype(&BCryptHashData)>("BCryptHashData");
    decltype(&BCryptFinishHash) Finish = Loaded<decltype(&BCryptFinishHash)>("BCryptFinishHash");
    decltype(&BCryptDestroyHash) Destroy = Loaded<decltype(&BCryptDestroyHash)>("BCryptDestroyHash");
    BCRYPT_ALG_HANDLE Algorithm = nullptr; // kept until the program ends

    System()
    {
        const bool isThere = Open && Create && Duplicate && Hash && Finish && Destroy;
        if (!isThere || Open(&Algorithm, BCRYPT_SHA256_ALGORITHM, nullptr, 0) < 0)
            Algorithm = nullptr;
    }
};

const System &TheSystem()
{
    static const System system;
    return system;
}

}

Digest::Digest()
    : m_state(nullptr)
{
    const System &system = TheSystem();
    if (!system.Algorithm || system.Create(system.Algorithm, &m_state, nullptr, 0, nullptr, 0, 0) < 0)
        m_state = nullptr;
}

Digest::~Digest()
{
    if (m_state)
        TheSystem().Destroy(m_state);
}

Digest::Digest(const Digest &other)
    : m_state(nullptr)
{
    if (!other.m_state || TheSystem().Duplicate(other.m_state, &m_state, nullptr, 0, 0) < 0)
        m_state = nullptr;
}

Digest &Digest::operator=(Digest other)
{
    std::swap(m_state, other.m_state);
    return *this;
}

void Digest::Add(const void *bytes, std::size_t count)
{
    const auto *next = static_cast<const unsigned char *>(bytes);
    while (m_state && count > 0) {
        const auto piece = static_cast<ULONG>(std::min<std::size_t>(count, 1 << 30));
        if (TheSystem().Hash(m_state, const_cast<unsigned char *>(next), piece, 0) < 0) {
            TheSystem().Destroy(m_state);
            m_state = nullptr;
        }
        next += piece;
        count -= piece;
    }
}

bool Digest::Finish(unsigned char (&sum)[PackFormat::DigestBytes])
{
    return m_state && TheSystem().Finish(m_state, sum, sizeof sum, 0) >= 0;
}
