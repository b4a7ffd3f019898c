#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// What packer, stub and tests share of a pack, the program that installs one
// exam. docs/pack-file.md shows the layout byte by byte:
//
//   stub      the program that the system runs
//   index     the package folder's name, then name and size of each file
//   contents  the files, one behind the other in the order of the index
//   trailer   TrailerBytes at the very end, the sum last
//
// All numbers are little-endian. A name is a 16-bit count and so many bytes of
// UTF-8; a size has 64 bits. Nothing here needs more than the language.
namespace PackFormat {

constexpr char Magic[] = { 'P', 'R', 'A', 'C', 'P', 'A', 'C', 'K' };
constexpr std::uint32_t Version = 1;

// Where the fields of the trailer stand in it.
constexpr std::size_t VersionAt = 8;       // 32 bits
constexpr std::size_t IndexBytesAt = 12;   // 32 bits
constexpr std::size_t IndexStartAt = 16;   // 64 bits, from the start of the file
constexpr std::size_t ContentBytesAt = 24; // 64 bits
constexpr std::size_t DigestAt = 32;       // SHA-256 of every byte before it
constexpr std::size_t DigestBytes = 32;
constexpr std::size_t TrailerBytes = DigestAt + DigestBytes;

constexpr std::size_t LongestName = 200; // bytes
constexpr std::size_t MostFiles = 10'000;
constexpr std::size_t NameCountBytes = 2;
constexpr std::size_t SizeBytes = 8;
constexpr std::size_t MostIndexBytes =
    NameCountBytes + LongestName + MostFiles * (NameCountBytes + LongestName + SizeBytes);

// Whether a name, of a file or of the folder, stays where it is put and means
// the same on every system: no separators or wildcards, no control characters,
// no leading dot, no blank or dot at its end, no blank in front.
constexpr bool IsPlainName(std::string_view name)
{
    if (name.empty() || name.size() > LongestName)
        return false;
    if (name.front() == '.' || name.front() == ' ' || name.back() == '.' || name.back() == ' ')
        return false;
    unsigned char before = 0;
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        // Behind C2 stand the control characters above 7F.
        const bool isControl = byte < 0x20 || byte == 0x7F || (before == 0xC2 && byte < 0xA0);
        if (isControl || std::string_view("/\\:*?\"<>|").find(c) != std::string_view::npos)
            return false;
        before = byte;
    }
    return true;
}

// Whether that is the name of the exam file in such a folder: the folder's name
// with its extension, if it has one, replaced by "exam".
constexpr bool IsExamFile(std::string_view name, std::string_view folder)
{
    const std::size_t dot = folder.rfind('.');
    const std::string_view stem(folder.data(), dot == std::string_view::npos ? folder.size() : dot);
    const std::string_view extension = ".exam";
    return name.size() == stem.size() + extension.size() && name.starts_with(stem) && name.ends_with(extension);
}

}
