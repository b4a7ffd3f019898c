// SPDX-License-Identifier: Apache-2.0
#include "picture/Essentials.h"

#include "common/Error.h"
#include "picture/Picture.h"

#include <QtEndian>

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <span>

using namespace Qt::Literals::StringLiterals;

namespace Picture {

namespace {

Error Refused(const QString &text)
{
    return Error(InvalidCall, text);
}

Error Damaged()
{
    return Refused(u"The picture is damaged"_s);
}

Error CutOff()
{
    return Refused(u"The picture is damaged: the file ends before it is whole"_s);
}

// A bitmap stored from its top down has a negative height.
void RequireSize(qint64 width, qint64 height)
{
    const qint64 rows = qAbs(height);
    if (width <= 0 || rows == 0 || width > MostSide || rows > MostSide || width * rows > MostPixels)
        throw Refused(u"The picture is empty or too large"_s);
}

// Walks over the bytes of a file and moves what is kept together at their
// start. Behind the end there are zeros.
class Sieve {
public:
    Sieve(QByteArray &bytes, qint64 position)
        : m_bytes(bytes)
        , m_position(position)
    {
    }

    qint64 Position() const { return m_position; }
    qint64 Left() const { return m_bytes.size() - m_position; }
    bool IsPastEnd() const { return m_position > m_bytes.size(); }
    // The bytes from here on, at most so many as are left.
    QByteArrayView View(qint64 count) const { return QByteArrayView(m_bytes).sliced(m_position, count); }
    void Skip(qint64 count) { m_position += count; }
    quint8 Byte()
    {
        const qint64 at = m_position++;
        return at < m_bytes.size() ? static_cast<quint8>(m_bytes.at(at)) : 0;
    }
    qint64 BigHalf()
    {
        const int high = Byte();
        return high * 256 + Byte();
    }
    qint64 BigNumber()
    {
        const qint64 high = BigHalf();
        return high * 65536 + BigHalf();
    }
    qint64 LittleHalf()
    {
        const int low = Byte();
        return Byte() * 256 + low;
    }

    // Keeps the bytes from that position to the current one, and those alone
    // that are kept so one after the other.
    void KeepFrom(qint64 start)
    {
        const qint64 count = std::min<qint64>(m_position, m_bytes.size()) - start;
        if (count <= 0)
            return;
        std::memmove(m_bytes.data() + m_kept, m_bytes.constData() + start, static_cast<size_t>(count));
        m_kept += count;
    }
    void Finish(const char *end = "")
    {
        m_bytes.truncate(m_kept);
        m_bytes.append(end);
    }

private:
    QByteArray &m_bytes;
    qint64 m_position;
    qint64 m_kept = 0;
};

constexpr char PngSignature[] = "\x89PNG\r\n\x1A\n";
constexpr qint64 PngSignatureBytes = 8;

// What the header of a PNG says of the rows, each of which has a byte for its
// filter in front.
struct PngHeader {
    qint64 Width = 0;
    qint64 Height = 0;
    int Depth = 0;
    int ColourType = 0;
    bool IsInterlaced = false;

    qint64 RowBytes() const
    {
        constexpr int palette = 3;
        const int colours = (ColourType & 2) != 0 && ColourType != palette ? 3 : 1;
        const int samples = colours + ((ColourType & 4) != 0 ? 1 : 0);
        // An interlaced picture is stored as seven smaller ones.
        struct Pass {
            int Left, Top, Right, Down;
        };
        static constexpr Pass whole[] = { { 0, 0, 1, 1 } };
        static constexpr Pass adam7[] = { { 0, 0, 8, 8 }, { 4, 0, 8, 8 }, { 0, 4, 4, 8 }, { 2, 0, 4, 4 },
                                          { 0, 2, 2, 4 }, { 1, 0, 2, 2 }, { 0, 1, 1, 2 } };
        const auto passes = IsInterlaced ? std::span<const Pass>(adam7) : std::span<const Pass>(whole);
        qint64 bytes = 0;
        for (const Pass &pass : passes) {
            const qint64 columns = (Width - pass.Left + pass.Right - 1) / pass.Right;
            const qint64 rows = (Height - pass.Top + pass.Down - 1) / pass.Down;
            if (columns > 0)
                bytes += rows * (1 + (columns * samples * Depth + 7) / 8);
        }
        return bytes;
    }
};

// Unpacks the data of a PNG as they come, and keeps nothing but the number of
// bytes. A decoder unpacks what follows the last row too, and one byte in the
// file may be a thousand there.
class RowCounter {
public:
    RowCounter()
    {
        if (inflateInit(&m_stream) != Z_OK)
            throw std::bad_alloc();
        // The decoder compares the checksum.
        inflateValidate(&m_stream, 0);
    }
    ~RowCounter() { inflateEnd(&m_stream); }
    Q_DISABLE_COPY_MOVE(RowCounter)

    // From the most bytes of all rows.
    void SetMost(qint64 bytes) { m_left = bytes; }

    // Raises InvalidCall when there is more than the rows. Data that end too
    // early or are damaged are left to the decoder.
    void Take(QByteArrayView data)
    {
        m_stream.next_in = reinterpret_cast<const Bytef *>(data.data());
        m_stream.avail_in = static_cast<uInt>(data.size());
        while (!m_isOver) {
            m_stream.next_out = m_unpacked.data();
            m_stream.avail_out = static_cast<uInt>(m_unpacked.size());
            const int result = inflate(&m_stream, Z_NO_FLUSH);
            m_left -= static_cast<qint64>(m_unpacked.size()) - m_stream.avail_out;
            if (m_left < 0)
                throw Damaged();
            if (result == Z_BUF_ERROR) // goes on with the next data
                return;
            m_isOver = result != Z_OK;
        }
    }

private:
    z_stream m_stream{};
    qint64 m_left = 0;
    bool m_isOver = false;
    std::array<Bytef, 16 * 1024> m_unpacked;
};

void SiftPng(QByteArray &bytes)
{
    Sieve file(bytes, PngSignatureBytes);
    file.KeepFrom(0);
    RowCounter rows;
    bool isFirst = true;
    bool canBeTransparent = true; // once, and before the data
    for (;;) {
        const qint64 start = file.Position();
        const qint64 length = file.BigNumber();
        const qint64 kind = file.BigNumber();
        if (length + 4 > file.Left())
            throw CutOff();
        if (isFirst) {
            if (kind != 0x49484452) // IHDR
                throw Damaged();
            PngHeader header;
            header.Width = file.BigNumber();
            header.Height = file.BigNumber();
            RequireSize(header.Width, header.Height);
            header.Depth = file.Byte();
            header.ColourType = file.Byte();
            file.Skip(2);
            header.IsInterlaced = file.Byte() != 0;
            rows.SetMost(header.RowBytes());
            isFirst = false;
        }
        const bool isData = kind == 0x49444154; // IDAT
        const bool isTransparency = kind == 0x74524E53; // tRNS
        if (isData)
            rows.Take(file.View(length));
        file.Skip(start + 8 + length + 4 - file.Position());
        // A picture cannot be read without what begins with a capital letter.
        const bool isCritical = (kind & 0x20000000) == 0;
        if (isCritical || (isTransparency && canBeTransparent))
            file.KeepFrom(start);
        canBeTransparent = canBeTransparent && !isData && !isTransparency;
        if (kind == 0x49454E44) // IEND
            break;
    }
    file.Finish();
}

void SiftJpeg(QByteArray &bytes)
{
    Sieve file(bytes, 2);
    qint64 start = 0;
    qint64 scans = 0;
    qint64 pixels = 0;
    while (!file.IsPastEnd()) {
        // The data of a scan hold no marker but those for restarting.
        if (file.Byte() != 0xFF)
            continue;
        const qint64 first = file.Position() - 1;
        quint8 marker = file.Byte();
        while (marker == 0xFF)
            marker = file.Byte();
        if (marker == 0xD9) {
            if (pixels == 0)
                throw Damaged();
            file.KeepFrom(start);
            file.Finish();
            return;
        }
        const bool isAlone = marker <= 0x01 || (marker >= 0xD0 && marker <= 0xD8);
        if (isAlone)
            continue;
        const qint64 length = file.Position();
        const qint64 end = length + std::max<qint64>(file.BigHalf(), 2);
        const bool isFrame = marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
        if (isFrame) {
            file.Skip(1);
            const qint64 height = file.BigHalf();
            const qint64 width = file.BigHalf();
            if (file.Position() > end)
                throw Damaged();
            if (!file.IsPastEnd())
                RequireSize(width, height);
            pixels = std::max(pixels, width * height);
        }
        if (marker == 0xDA && ++scans * (pixels + PixelsOfAScan) > MostScannedPixels)
            throw Refused(u"The picture has too many scans"_s);
        // Data of applications, but for the two that describe colours, and texts.
        const bool isForeign = (marker >= 0xE1 && marker <= 0xEF && marker != 0xEE) || marker == 0xFE;
        if (isForeign) {
            // With every byte that leads to it, or the last of those would make
            // a marker of what follows.
            file.Skip(first - file.Position());
            file.KeepFrom(start);
            start = end;
        }
        file.Skip(end - file.Position());
    }
    throw CutOff();
}

// Counts the pixels of a GIF's codes as they come, byte by byte.
class CodeCounter {
public:
    CodeCounter(int leastBits, qint64 pixels)
        : m_leastBits(leastBits)
        , m_left(pixels)
    {
        Clear();
    }

    // False when what follows belongs to no pixel of the picture any more.
    // Raises InvalidCall for a code that has no meaning.
    bool Take(quint8 byte)
    {
        m_bits |= quint32(byte) << m_bitCount;
        m_bitCount += 8;
        while (m_bitCount >= m_width && m_left > 0) {
            const quint32 code = m_bits & ((1U << m_width) - 1);
            m_bits >>= m_width;
            m_bitCount -= m_width;
            Use(static_cast<int>(code));
        }
        return m_left > 0;
    }

private:
    static constexpr int MostBits = 12;

    void Clear()
    {
        m_width = m_leastBits + 1;
        m_next = (1 << m_leastBits) + 2;
        m_last = 0;
    }

    void Use(int code)
    {
        const int clear = 1 << m_leastBits;
        if (code == clear) {
            Clear();
            return;
        }
        if (code == clear + 1) {
            m_left = 0;
            return;
        }
        // The first code behind a clearing is a colour, and a later one is at
        // most the one that it makes itself. What a decoder takes others for is
        // not known here.
        if (code > (m_last == 0 ? clear - 1 : m_next))
            throw Damaged();
        const int known = code < clear ? 1 : code < m_next ? m_lengths[code] : m_last + 1;
        if (m_last != 0 && m_next < 1 << MostBits) {
            m_lengths[m_next++] = static_cast<quint16>(m_last + 1);
            // With two colours the codes behind a clearing are as many as the
            // first width holds, and yet the second one has it.
            if (m_next >= 1 << m_width && m_width < MostBits)
                ++m_width;
        }
        m_last = known;
        m_left -= known;
    }

    int m_leastBits;
    qint64 m_left;
    int m_width = 0;
    int m_next = 0;
    int m_last = 0; // pixels of the code before; 0 for none
    quint32 m_bits = 0;
    int m_bitCount = 0;
    std::array<quint16, 1 << MostBits> m_lengths{};
};

class GifSieve {
public:
    explicit GifSieve(QByteArray &bytes)
        : m_bytes(bytes)
        , m_file(bytes, 6)
    {
    }

    void Run()
    {
        m_screenWidth = m_file.LittleHalf();
        m_screenHeight = m_file.LittleHalf();
        const quint8 flags = m_file.Byte();
        m_file.Skip(2);
        SkipColours(flags);
        m_file.KeepFrom(0);
        while (!m_file.IsPastEnd()) {
            switch (m_file.Byte()) {
            case 0: break;
            case 0x21: Extension(); break;
            case 0x2C: Frame(); break;
            default: // the end, or what no reader reads on behind
                if (m_file.IsPastEnd())
                    break;
                if (!m_hasFrame)
                    throw Damaged();
                m_file.Finish(";");
                return;
            }
        }
        throw CutOff();
    }

private:
    void SkipColours(quint8 flags)
    {
        if ((flags & 0x80) != 0)
            m_file.Skip(3 * (2 << (flags & 7)));
    }

    void SkipBlocks()
    {
        while (const quint8 length = m_file.Byte())
            m_file.Skip(length);
    }

    // What says how the frame behind it is drawn is kept, and the last of these
    // counts.
    void Extension()
    {
        const qint64 start = m_file.Position() - 1;
        const bool isControl = m_file.Byte() == 0xF9;
        SkipBlocks();
        constexpr qint64 controlBytes = 8;
        if (isControl && !m_hasFrame && m_file.Position() - start == controlBytes)
            m_control = start;
    }

    void Frame()
    {
        const qint64 start = m_file.Position() - 1;
        const qint64 left = m_file.LittleHalf();
        const qint64 top = m_file.LittleHalf();
        const qint64 width = m_file.LittleHalf();
        const qint64 height = m_file.LittleHalf();
        SkipColours(m_file.Byte());
        const int leastBits = m_file.Byte();
        if (m_hasFrame || m_file.IsPastEnd()) {
            SkipBlocks();
            return;
        }
        m_hasFrame = true;
        if (leastBits < 1 || leastBits > 8)
            throw Damaged();
        RequireSize(std::max(m_screenWidth, left + width), std::max(m_screenHeight, top + height));
        if (m_control >= 0)
            Keep(m_control, m_control + 8);
        Keep(start, m_file.Position());
        Codes(CodeCounter(leastBits, width * height));
    }

    void Keep(qint64 from, qint64 to)
    {
        const qint64 position = m_file.Position();
        m_file.Skip(to - position);
        m_file.KeepFrom(from);
        m_file.Skip(position - to);
    }

    void Codes(CodeCounter counter)
    {
        bool goesOn = true;
        while (!m_file.IsPastEnd()) {
            const qint64 start = m_file.Position();
            const quint8 length = m_file.Byte();
            quint8 used = 0;
            while (goesOn && used < length && !m_file.IsPastEnd()) {
                goesOn = counter.Take(m_file.Byte());
                ++used;
            }
            if (used > 0 && used < length)
                m_bytes[start] = static_cast<char>(used);
            if (used > 0 || length == 0)
                m_file.KeepFrom(start);
            m_file.Skip(length - used);
            if (length == 0)
                return;
        }
    }

    QByteArray &m_bytes;
    Sieve m_file;
    qint64 m_screenWidth = 0;
    qint64 m_screenHeight = 0;
    qint64 m_control = -1;
    bool m_hasFrame = false;
};

template <class Number> qint64 NumberAt(const QByteArray &bytes, qint64 at)
{
    return at + qint64(sizeof(Number)) <= bytes.size() ? qFromLittleEndian<Number>(bytes.constData() + at) : 0;
}

void CheckBmp(const QByteArray &bytes)
{
    constexpr qint64 fileHeader = 14;
    constexpr qint64 old = 12;
    if (bytes.size() < fileHeader + 4)
        throw CutOff();
    const qint64 header = NumberAt<qint32>(bytes, fileHeader);
    if (header != old && header != 40 && header != 64 && header != 108 && header != 124)
        throw Damaged();
    if (bytes.size() < fileHeader + header)
        throw CutOff();
    const bool isOld = header == old;
    const qint64 width = isOld ? NumberAt<quint16>(bytes, 18) : NumberAt<qint32>(bytes, 18);
    const qint64 rows = isOld ? NumberAt<quint16>(bytes, 20) : NumberAt<qint32>(bytes, 22);
    RequireSize(width, rows);
    const qint64 depth = NumberAt<quint16>(bytes, isOld ? 24 : 28);
    const qint64 compression = isOld ? 0 : NumberAt<qint32>(bytes, 30);
    // Colour masks are no compression, except under the header of 64 bytes.
    const bool isPlain = compression == 0 || (header != 64 && (compression == 3 || compression == 6));
    if (depth < 1 || depth > 32 || !isPlain)
        return;
    const qint64 stride = (width * depth + 31) / 32 * 4;
    // An offset into the headers is not believed.
    const qint64 start = std::max(NumberAt<quint32>(bytes, 10), fileHeader + header);
    if ((bytes.size() - start) / stride < qAbs(rows))
        throw CutOff();
}

// The first picture of an icon is the one that is shown. True when it is a PNG,
// which is then all that is left.
bool SiftIcon(QByteArray &bytes)
{
    const qint64 length = NumberAt<quint32>(bytes, 14);
    const qint64 start = NumberAt<quint32>(bytes, 18);
    if (start + length > bytes.size())
        throw CutOff();
    if (QByteArrayView(bytes).sliced(start, length).startsWith(QByteArrayView(PngSignature, PngSignatureBytes))) {
        bytes = bytes.mid(start, length);
        return true;
    }
    // The rows of the mask are counted too.
    RequireSize(NumberAt<qint32>(bytes, start + 4), NumberAt<qint32>(bytes, start + 8) / 2);
    return false;
}

}

QByteArray FormatOf(const QByteArray &File)
{
    const auto startsWith = [&](const char *start, qsizetype length) { return File.startsWith(QByteArrayView(start, length)); };
    if (startsWith("BM", 2))
        return "bmp"_ba;
    if (startsWith("GIF87a", 6) || startsWith("GIF89a", 6))
        return "gif"_ba;
    if (startsWith("\xFF\xD8", 2))
        return "jpeg"_ba;
    if (startsWith("\0\0\1\0", 4))
        return "ico"_ba;
    return startsWith(PngSignature, PngSignatureBytes) ? "png"_ba : QByteArray();
}

Essentials EssentialsOf(QByteArray bytes)
{
    QByteArray format = FormatOf(bytes);
    if (format.isEmpty())
        throw Refused(u"The file is not a BMP, GIF, JPEG, ICO or PNG picture"_s);
    if (format == "bmp")
        CheckBmp(bytes);
    else if (format == "gif")
        GifSieve(bytes).Run();
    else if (format == "jpeg")
        SiftJpeg(bytes);
    else if (format == "ico" && SiftIcon(bytes))
        format = "png"_ba;
    if (format == "png")
        SiftPng(bytes);
    return { format, std::move(bytes) };
}

}
