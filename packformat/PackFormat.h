// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "packformat/Utf8.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

// The layout of a pack, the program that installs one exam, as packer, stub and
// tests share it. docs/pack-file.md shows it byte by byte:
//
//   stub        the program that the system runs
//   index       the package folder's name, then name and size of each file
//   contents    the files, one behind the other in the order of the index
//   signatures  texts, in a signed pack alone
//   trailer     TrailerBytes at the very end, the sum last
//
// All numbers are little-endian and unsigned. A name is a 16-bit count and so many
// bytes of UTF-8; a size has 64 bits. Nothing here raises or takes memory, since
// the stub is built without exceptions.
namespace PackFormat {

// At the start of the trailer, without a NUL.
constexpr char Magic[] = { 'P', 'R', 'A', 'C', 'P', 'A', 'C', 'K' };
// Of this layout, without and with signatures; a reader refuses any other.
constexpr std::uint32_t Version = 1;
constexpr std::uint32_t SignedVersion = 2;

// Where the fields of the trailer stand in it.
constexpr std::size_t VersionAt = 8; // 32 bits
constexpr std::size_t IndexBytesAt = 12; // 32 bits, the length of the index
constexpr std::size_t IndexStartAt = 16; // 64 bits, from the start of the file
constexpr std::size_t ContentBytesAt = 24; // 64 bits, the sum of all sizes
// SHA-256 (FIPS 180-4). The digest of a pack is that of stub, index, contents and the numbers
// of the trailer. In a signed pack the digest of that digest and the signatures stands here.
constexpr std::size_t DigestAt = 32;
constexpr std::size_t DigestBytes = 32;
constexpr std::size_t TrailerBytes = DigestAt + DigestBytes;

// Limits that packer and stub both keep, so that no pack makes the stub allocate
// more than MostIndexBytes for its index.
constexpr std::size_t LongestName = 200; // bytes
constexpr std::size_t MostFiles = 10'000;
constexpr std::size_t MostSignatureBytes = 4096;
constexpr std::size_t NameCountBytes = 2;
constexpr std::size_t SizeBytes = 8;
constexpr std::size_t MostIndexBytes = NameCountBytes + LongestName + MostFiles * (NameCountBytes + LongestName + SizeBytes);

// Whether the text is the word in capitals, in any letter case of ASCII. The
// second argument holds no small letters.
constexpr bool IsSameLetters(std::string_view text, std::string_view capitals)
{
    if (text.size() != capitals.size())
        return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if ((c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c) != capitals[i])
            return false;
    }
    return true;
}

// Whether Windows takes the name for a device, in whatever folder it stands:
// what stands behind a dot, and blanks before it, make no difference there. Packs
// for other systems do without such names as well.
constexpr bool IsDeviceName(std::string_view name)
{
    std::string_view stem(name.data(), std::min(name.find('.'), name.size()));
    while (stem.ends_with(' '))
        stem.remove_suffix(1);
    for (const std::string_view device : { "CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$" }) {
        if (IsSameLetters(stem, device))
            return true;
    }
    const std::string_view kind(stem.data(), std::min<std::size_t>(stem.size(), 3));
    if (!IsSameLetters(kind, "COM") && !IsSameLetters(kind, "LPT"))
        return false;
    // The small raised digits count as digits.
    const std::string_view port(stem.data() + 3, stem.size() - 3);
    return (port.size() == 1 && port[0] >= '0' && port[0] <= '9') || port == "\xC2\xB9" || port == "\xC2\xB2"
        || port == "\xC2\xB3";
}

// Whether a name, of a file or of the folder, stays where it is put and means
// the same on every system: UTF-8 of 1 to LongestName bytes, no separators or
// wildcards, no control characters, no leading dot, no blank or dot at its end, no
// blank in front, no device.
constexpr bool IsPlainName(std::string_view name)
{
    if (name.empty() || name.size() > LongestName)
        return false;
    if (name.front() == '.' || name.front() == ' ' || name.back() == '.' || name.back() == ' ')
        return false;
    if (IsDeviceName(name))
        return false;
    while (!name.empty()) {
        const char32_t c = Utf8::Take(name);
        const bool isControl = c < 0x20 || (c >= 0x7F && c < 0xA0);
        if (isControl || c == Utf8::NoCharacter || std::u32string_view(U"/\\:*?\"<>|").find(c) != std::u32string_view::npos)
            return false;
    }
    return true;
}

// Whether that is the name of the exam file in such a folder: the folder's name
// with its extension, if it has one, replaced by "exam". Letter case counts.
constexpr bool IsExamFile(std::string_view name, std::string_view folder)
{
    const std::size_t dot = folder.rfind('.');
    const std::string_view stem(folder.data(), dot == std::string_view::npos ? folder.size() : dot);
    const std::string_view extension = ".exam";
    return name.size() == stem.size() + extension.size() && name.starts_with(stem) && name.ends_with(extension);
}

}
