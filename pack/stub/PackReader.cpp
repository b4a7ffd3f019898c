// SPDX-License-Identifier: Apache-2.0
#include "pack/stub/PackReader.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace {

constexpr char Unreadable[] = "the pack cannot be read";
constexpr char Damaged[] = "the pack is damaged";
constexpr char Misnamed[] = "the pack holds a name that is not allowed";
constexpr char Misordered[] = "the pack holds a name twice or out of order";
constexpr char Twins[] = "the pack holds two names that differ in nothing but letter case";
constexpr char Missized[] = "the sizes in the pack are wrong";
constexpr char TooMany[] = "the pack holds too many files";
constexpr char NoExam[] = "the pack holds no exam";

template <class Number> Number FromBytes(const unsigned char *bytes)
{
    Number number = 0;
    for (std::size_t i = sizeof(Number); i-- > 0;)
        number = static_cast<Number>(number << 8 | bytes[i]);
    return number;
}

}

template <class Number> Number PackReader::Field(std::size_t at) const
{
    return FromBytes<Number>(m_trailer + at);
}

const char *PackReader::Check()
{
    if (m_source.Size < PackFormat::TrailerBytes)
        return Damaged;
    const std::uint64_t trailer = m_source.Size - PackFormat::TrailerBytes;
    if (!m_source.Read(m_source.File, trailer, m_trailer, sizeof m_trailer))
        return Unreadable;
    const auto start = Field<std::uint64_t>(PackFormat::IndexStartAt);
    const auto indexBytes = Field<std::uint32_t>(PackFormat::IndexBytesAt);
    const auto contentBytes = Field<std::uint64_t>(PackFormat::ContentBytesAt);
    const auto version = Field<std::uint32_t>(PackFormat::VersionAt);
    if (std::memcmp(m_trailer, PackFormat::Magic, sizeof PackFormat::Magic) != 0
        || (version != PackFormat::Version && version != PackFormat::SignedVersion))
        return Damaged;
    if (start > trailer || indexBytes > trailer - start || contentBytes > trailer - start - indexBytes)
        return Damaged;
    const std::uint64_t signatureBytes = trailer - start - indexBytes - contentBytes;
    if ((signatureBytes > 0) != (version == PackFormat::SignedVersion) || signatureBytes > sizeof m_signatures)
        return Damaged;
    if (indexBytes > PackFormat::MostIndexBytes)
        return TooMany;

    m_index.reset(static_cast<unsigned char *>(std::malloc(std::max<std::size_t>(indexBytes, 1))));
    m_indexBytes = indexBytes;
    if (!m_index || !AddToSum(m_sum, 0, start) || !m_source.Read(m_source.File, start, m_index.get(), indexBytes))
        return Unreadable;
    m_sum.Add(m_index.get(), indexBytes);
    m_contentPosition = start + indexBytes;
    Digest sum = m_sum;
    m_signatureBytes = static_cast<std::size_t>(signatureBytes);
    if (!AddToSum(sum, m_contentPosition, contentBytes)
        || !m_source.Read(m_source.File, trailer - signatureBytes, m_signatures, m_signatureBytes))
        return Unreadable;
    return Finish(sum, m_digest) && IsDigestInTrailer() ? CheckIndex(contentBytes) : Damaged;
}

const char *PackReader::CheckIndex(std::uint64_t contentBytes)
{
    Rewind();
    if (!PackFormat::IsPlainName(m_folder))
        return Misnamed;
    bool hasExam = false;
    std::size_t count = 0;
    PackEntry before;
    PackEntry entry;
    while (Next(entry)) {
        if (++count > PackFormat::MostFiles)
            return TooMany;
        if (!PackFormat::IsPlainName(entry.Name))
            return Misnamed;
        if (entry.Name <= before.Name)
            return Misordered;
        if (entry.Size > contentBytes)
            return Missized;
        contentBytes -= entry.Size;
        hasExam = hasExam || PackFormat::IsExamFile(entry.Name, m_folder);
        before = entry;
    }
    if (m_indexPosition != m_indexBytes || contentBytes != 0)
        return Missized;
    if (!hasExam)
        return NoExam;
    return CheckTwins(count);
}

// Some systems keep only one of two such files.
const char *PackReader::CheckTwins(std::size_t count)
{
    const std::unique_ptr<std::string_view, decltype(&std::free)> names(static_cast<std::string_view *>(
                                                                            std::malloc(count * sizeof(std::string_view))),
                                                                        std::free);
    if (!names)
        return Unreadable;
    std::string_view *const begin = names.get();
    std::string_view *end = begin;
    Rewind();
    for (PackEntry entry; Next(entry);)
        new (end++) std::string_view(entry.Name);
    Rewind();
    std::sort(begin, end, Utf8::IsBefore());
    const auto isTwin = [](std::string_view left, std::string_view right) { return !Utf8::IsBefore()(left, right); };
    return std::adjacent_find(begin, end, isTwin) == end ? nullptr : Twins;
}

void PackReader::Rewind()
{
    m_indexPosition = 0;
    m_entryStart = m_contentPosition;
    m_folder = {};
    TakeName(m_folder);
}

const unsigned char *PackReader::Take(std::size_t count)
{
    if (count > m_indexBytes - m_indexPosition)
        return nullptr;
    const unsigned char *bytes = m_index.get() + m_indexPosition;
    m_indexPosition += count;
    return bytes;
}

bool PackReader::TakeName(std::string_view &name)
{
    const unsigned char *count = Take(PackFormat::NameCountBytes);
    const std::size_t length = count ? FromBytes<std::uint16_t>(count) : 0;
    const unsigned char *bytes = count ? Take(length) : nullptr;
    if (!bytes)
        return false;
    name = { reinterpret_cast<const char *>(bytes), length };
    return true;
}

bool PackReader::Next(PackEntry &entry)
{
    const std::size_t start = m_indexPosition;
    if (TakeName(entry.Name)) {
        if (const unsigned char *size = Take(PackFormat::SizeBytes)) {
            entry.Size = FromBytes<std::uint64_t>(size);
            entry.Start = m_entryStart;
            m_entryStart += entry.Size;
            return true;
        }
    }
    // An incomplete entry is left unread.
    m_indexPosition = start;
    return false;
}

bool PackReader::Read(void *out, std::size_t count)
{
    if (!m_source.Read(m_source.File, m_contentPosition, out, count))
        return false;
    m_sum.Add(out, count);
    m_contentPosition += count;
    return true;
}

bool PackReader::IsSame() const
{
    unsigned char digest[PackFormat::DigestBytes];
    return Finish(m_sum, digest) && std::memcmp(digest, m_digest, sizeof digest) == 0;
}

bool PackReader::AddToSum(Digest &sum, std::uint64_t offset, std::uint64_t count) const
{
    unsigned char block[1 << 16];
    while (count > 0) {
        const auto length = static_cast<std::size_t>(std::min<std::uint64_t>(count, sizeof block));
        if (!m_source.Read(m_source.File, offset, block, length))
            return false;
        sum.Add(block, length);
        offset += length;
        count -= length;
    }
    return true;
}

bool PackReader::Finish(Digest sum, unsigned char (&digest)[PackFormat::DigestBytes]) const
{
    sum.Add(m_trailer, PackFormat::DigestAt);
    return sum.Finish(digest);
}

bool PackReader::IsDigestInTrailer() const
{
    const unsigned char *const inTrailer = m_trailer + PackFormat::DigestAt;
    if (m_signatureBytes == 0)
        return std::memcmp(m_digest, inTrailer, sizeof m_digest) == 0;
    unsigned char digest[PackFormat::DigestBytes];
    Digest sum;
    sum.Add(m_digest, sizeof m_digest);
    sum.Add(m_signatures, m_signatureBytes);
    return sum.Finish(digest) && std::memcmp(digest, inTrailer, sizeof digest) == 0;
}
