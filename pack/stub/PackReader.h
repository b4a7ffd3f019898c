// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "pack/stub/Digest.h"
#include "packformat/PackFormat.h"

#include <cstdlib>
#include <memory>

// The file of a pack as the system reads it.
struct PackSource {
    // Reads so many bytes from that offset on: all of them, or false.
    bool (*Read)(std::intptr_t file, std::uint64_t offset, void *out, std::size_t count);
    std::intptr_t File; // the system's number for it
    std::uint64_t Size;
};

struct PackEntry {
    std::string_view Name;
    std::uint64_t Size = 0;
};

// Reads a pack from front to back. No number of the file is believed before it
// was compared with what is there; nothing but the index is kept in memory.
class PackReader {
public:
    explicit PackReader(const PackSource &source)
        : m_source(source)
    {
    }

    // Looks at the whole file: the sum, then every name and size. What is
    // wrong, or nullptr. Everything below needs a pack with nothing wrong.
    const char *Check();

    // The name of the package folder.
    std::string_view Folder() const { return m_folder; }

    // The next file of the index; false behind the last one.
    bool Next(PackEntry &entry);
    // The next bytes of the contents; false when they cannot be read.
    bool Read(void *out, std::size_t count);
    // Behind the last content: whether all that Read handed out is what Check
    // has summed up.
    bool IsSame() const;

private:
    template <class Number> Number Field(std::size_t at) const;
    bool AddToSum(Digest &sum, std::uint64_t offset, std::uint64_t count) const;
    bool IsSum(Digest sum) const;
    const char *CheckIndex(std::uint64_t contentBytes);
    const char *CheckTwins(std::size_t count);
    void Rewind();
    // The next bytes of the index; nullptr when it has not so many left.
    const unsigned char *Take(std::size_t count);
    bool TakeName(std::string_view &name);

    PackSource m_source;
    unsigned char m_trailer[PackFormat::TrailerBytes] = {};
    std::unique_ptr<unsigned char, decltype(&std::free)> m_index{ nullptr, std::free };
    std::size_t m_indexBytes = 0;
    std::size_t m_indexPosition = 0;
    std::uint64_t m_contentPosition = 0;
    std::string_view m_folder;
    // Of everything that stands before m_contentPosition.
    Digest m_sum;
};
