// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "pack/stub/Digest.h"
#include "packformat/PackFormat.h"

#include <cstdlib>
#include <memory>

// How the file of a pack is read.
struct PackSource {
    // Reads count bytes from offset on; false unless all of them can be read.
    bool (*Read)(std::intptr_t file, std::uint64_t offset, void *out, std::size_t count);
    std::intptr_t File; // descriptor or handle
    std::uint64_t Size; // of the file, in bytes
};
// The source that is a file open for reading (descriptor or handle), which is not owned.
// False when its size cannot be found out.
bool SourceOf(std::intptr_t file, PackSource &source);
// How that source reads.
bool ReadFileAt(std::intptr_t file, std::uint64_t offset, void *out, std::size_t count);

// One file of a pack.
struct PackEntry {
    std::string_view Name; // UTF-8; valid as long as the reader
    std::uint64_t Size = 0; // bytes
    std::uint64_t Start = 0; // of its contents, from the start of the pack
};

// Reads a pack from front to back. Every number in the file is compared with the
// size of the file before it is used; only the index is kept in memory.
class PackReader {
public:
    explicit PackReader(const PackSource &source)
        : m_source(source)
    {
    }

    // Checks the whole file: the sum, then every name and size. The reason for which
    // the pack is refused, or nullptr. The functions below need a pack that has passed.
    const char *Check();

    // The name of the package folder.
    std::string_view Folder() const { return m_folder; }

    // The texts of the signatures; empty for a pack without any. The reader does not
    // check them.
    std::string_view Signatures() const { return { m_signatures, m_signatureBytes }; }
    // The digest of the pack, PackFormat::DigestBytes: what is signed.
    const unsigned char *PackDigest() const { return m_digest; }

    // Gives the next file of the index; false after the last one.
    bool Next(PackEntry &entry);
    // The next file is the first one again. Read must not have been called yet.
    void Rewind();
    // Reads bytes of the pack from any place; false when they cannot be read.
    bool ReadAt(std::uint64_t start, void *out, std::size_t count) const
    {
        return m_source.Read(m_source.File, start, out, count);
    }
    // Reads the next bytes of the contents; false when they cannot be read.
    bool Read(void *out, std::size_t count);
    // After the last content: whether Read has returned the same bytes that Check
    // has summed up.
    bool IsSame() const;

private:
    template <class Number> Number Field(std::size_t at) const;
    bool AddToSum(Digest &sum, std::uint64_t offset, std::uint64_t count) const;
    // The digest of the pack, when that is the sum of everything in front of the signatures.
    bool Finish(Digest sum, unsigned char (&digest)[PackFormat::DigestBytes]) const;
    bool IsDigestInTrailer() const;
    const char *CheckIndex(std::uint64_t contentBytes);
    const char *CheckTwins(std::size_t count);
    // The next bytes of the index; nullptr when fewer are left.
    const unsigned char *Take(std::size_t count);
    bool TakeName(std::string_view &name);

    PackSource m_source;
    unsigned char m_trailer[PackFormat::TrailerBytes] = {};
    char m_signatures[PackFormat::MostSignatureBytes] = {};
    std::size_t m_signatureBytes = 0;
    unsigned char m_digest[PackFormat::DigestBytes] = {};
    std::unique_ptr<unsigned char, decltype(&std::free)> m_index{ nullptr, std::free };
    std::size_t m_indexBytes = 0;
    std::size_t m_indexPosition = 0;
    std::uint64_t m_contentPosition = 0;
    std::uint64_t m_entryStart = 0;
    std::string_view m_folder;
    // Of everything that stands before m_contentPosition.
    Digest m_sum;
};
