#include "picture/Wholeness.h"

#include <QtEndian>

#include <algorithm>

namespace Picture {

namespace {

// Reads on; behind the end there are zeros.
class Walker {
public:
    Walker(const QByteArray &bytes, qint64 position)
        : m_bytes(bytes)
        , m_position(position)
    {
    }

    bool IsPastEnd() const { return m_position > m_bytes.size(); }
    void Skip(qint64 count) { m_position += count; }
    quint8 Byte()
    {
        const qint64 at = m_position++;
        return at < m_bytes.size() ? static_cast<quint8>(m_bytes.at(at)) : 0;
    }

private:
    const QByteArray &m_bytes;
    qint64 m_position;
};

bool IsWholeJpeg(Walker file)
{
    while (!file.IsPastEnd()) {
        // The data of a scan hold no marker but those for restarting.
        if (file.Byte() != 0xFF)
            continue;
        quint8 marker = file.Byte();
        while (marker == 0xFF)
            marker = file.Byte();
        if (marker == 0xD9)
            return true;
        const bool isAlone = marker <= 0x01 || (marker >= 0xD0 && marker <= 0xD8);
        if (!isAlone) {
            const int high = file.Byte();
            file.Skip(std::max(high * 256 + file.Byte(), 2) - 2);
        }
    }
    return false;
}

bool IsWholeGif(Walker file)
{
    const auto skipColours = [&](quint8 flags) { file.Skip((flags & 0x80) != 0 ? 3 * (2 << (flags & 7)) : 0); };
    const auto skipBlocks = [&] {
        while (const quint8 length = file.Byte())
            file.Skip(length);
    };
    file.Skip(4);
    const quint8 screen = file.Byte();
    file.Skip(2);
    skipColours(screen);
    while (!file.IsPastEnd()) {
        switch (file.Byte()) {
        case 0x3B: return true;
        case 0x21:
            file.Skip(1);
            skipBlocks();
            break;
        case 0x2C:
            file.Skip(8);
            skipColours(file.Byte());
            file.Skip(1);
            skipBlocks();
            break;
        case 0: break;
        default: return true;
        }
    }
    return false;
}

bool IsWholeBmp(const QByteArray &bytes)
{
    const auto half
        = [&](qsizetype at) { return at + 2 <= bytes.size() ? qFromLittleEndian<quint16>(bytes.data() + at) : quint16(0); };
    const auto number = [&](qsizetype at) { return at + 4 <= bytes.size() ? qFromLittleEndian<qint32>(bytes.data() + at) : 0; };
    constexpr qint64 fileHeader = 14;
    constexpr int old = 12;
    const int header = number(fileHeader);
    if (header != old && header != 40 && header != 64 && header != 108 && header != 124)
        return true;
    const qint64 width = header == old ? half(18) : number(18);
    const qint64 rows = header == old ? half(20) : qAbs(qint64(number(22)));
    const int depth = header == old ? half(24) : half(28);
    const int compression = header == old ? 0 : number(30);
    // Colour masks are no compression, except under the header of 64 bytes.
    const bool isPlain = compression == 0 || (header != 64 && (compression == 3 || compression == 6));
    if (bytes.size() < fileHeader + header)
        return false;
    if (width <= 0 || depth < 1 || depth > 32 || !isPlain)
        return true;
    const qint64 stride = (width * depth + 31) / 32 * 4;
    // An offset into the headers is not believed.
    const qint64 start = std::max(qint64(static_cast<quint32>(number(10))), fileHeader + header);
    return (bytes.size() - start) / stride >= rows;
}

}

bool IsWhole(const QByteArray &bytes, const QByteArray &format)
{
    if (format == "bmp")
        return IsWholeBmp(bytes);
    if (format == "gif")
        return IsWholeGif(Walker(bytes, 6));
    if (format == "jpeg" || format == "jpg")
        return IsWholeJpeg(Walker(bytes, 2));
    return true;
}

}
