// SPDX-License-Identifier: Apache-2.0
#include "picture/Conversion.h"

#include "common/Error.h"
#include "picture/Apart.h"
#include "picture/Picture.h"
#include "picture/PlainDrawing.h"

#include <QBuffer>
#include <QImageReader>
#include <QPainter>
#include <QXmlStreamReader>

#include <zlib.h>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace Conversion {

namespace {

constexpr int MostMegabytes = (Picture::MostPixels * 8 + 0xFFFFF) / 0x100000;

Error Refused(const QString &text)
{
    return Error(InvalidCall, text, u"Conversion::Decode()"_s);
}

bool IsPacked(const QByteArray &file)
{
    return file.startsWith("\x1F\x8B\x08");
}

// At most so many bytes of what gzip packed (RFC 1952), and those before the damage
// of a damaged file.
QByteArray Unpacked(const QByteArray &file, qint64 most)
{
    z_stream stream{};
    constexpr int gzip = 16 + MAX_WBITS;
    if (inflateInit2(&stream, gzip) != Z_OK)
        throw Error::RunTime(OutOfMemory, u"Conversion::Decode()"_s);
    stream.next_in = reinterpret_cast<const Bytef *>(file.constData());
    stream.avail_in = static_cast<uInt>(file.size());
    QByteArray unpacked;
    std::array<char, 64 * 1024> block;
    int result = Z_OK;
    while (result == Z_OK && unpacked.size() < most) {
        stream.next_out = reinterpret_cast<Bytef *>(block.data());
        stream.avail_out = static_cast<uInt>(block.size());
        result = inflate(&stream, Z_NO_FLUSH);
        unpacked.append(block.data(), static_cast<qsizetype>(block.size() - stream.avail_out));
    }
    inflateEnd(&stream);
    unpacked.truncate(most);
    return unpacked;
}

void RequireSize(QSize size)
{
    if (size.isEmpty() || size.width() > Picture::MostSide || size.height() > Picture::MostSide
        || qint64(size.width()) * size.height() > Picture::MostPixels)
        throw Refused(u"The picture is empty or too large"_s);
}

// The first directory of a TIFF (TIFF 6.0, section 2): the fields from which a
// decoder computes what it takes.
class TiffDirectory {
public:
    explicit TiffDirectory(const QByteArray &file)
        : m_file(file)
        , m_isLittle(file.startsWith('I'))
    {
        const qint64 start = Number(4, 4);
        const qint64 count = Number(start, 2);
        for (qint64 entry = start + 2; entry < start + 2 + count * EntryBytes; entry += EntryBytes) {
            constexpr int shortType = 3;
            constexpr int longType = 4;
            const qint64 type = Number(entry + 2, 2);
            if (type != shortType && type != longType)
                continue;
            const int size = type == shortType ? 2 : 4;
            const bool isInside = Number(entry + 4, 4) * size <= 4;
            const qint64 value = Number(isInside ? entry + 8 : Number(entry + 8, 4), size);
            switch (Number(entry, 2)) {
            case 256: Width = value; break;
            case 257: Height = value; break;
            case 258: Depth = value; break;
            case 259: Compression = value; break;
            case 277: Samples = value; break;
            case 322: TileWidth = value; break;
            case 323: TileHeight = value; break;
            default: break;
            }
        }
    }

    qint64 Width = 0;
    qint64 Height = 0;
    qint64 Depth = 1;
    qint64 Compression = 1;
    qint64 Samples = 1;
    qint64 TileWidth = 0;
    qint64 TileHeight = 0;

private:
    static constexpr qint64 EntryBytes = 12;

    qint64 Number(qint64 at, int bytes) const
    {
        if (at + bytes > m_file.size())
            throw Refused(u"The picture is damaged: the file ends before it is whole"_s);
        qint64 number = 0;
        for (int i = 0; i < bytes; ++i)
            number = number * 256 + static_cast<quint8>(m_file.at(at + (m_isLittle ? bytes - 1 - i : i)));
        return number;
    }

    const QByteArray &m_file;
    bool m_isLittle;
};

void CheckTiff(const QByteArray &file)
{
    const TiffDirectory tiff(file);
    const auto isLong = [](qint64 side) { return side > Picture::MostSide; };
    if (tiff.Width <= 0 || tiff.Height <= 0 || isLong(tiff.Width) || isLong(tiff.Height) || isLong(tiff.TileWidth)
        || isLong(tiff.TileHeight)
        || std::max(tiff.Width * tiff.Height, tiff.TileWidth * tiff.TileHeight) > Picture::MostPixels)
        throw Refused(u"The picture is empty or too large"_s);
    constexpr qint64 mostSamples = 8;
    constexpr qint64 mostBits = 64;
    if (tiff.Samples > mostSamples || tiff.Samples * tiff.Depth > mostBits)
        throw Refused(u"The picture has too many colours"_s);
    // The parts of such a picture may be JPEGs of many scans.
    constexpr qint64 oldJpeg = 6;
    constexpr qint64 jpeg = 7;
    const bool isJpeg = tiff.Compression == oldJpeg || tiff.Compression == jpeg;
    const bool isProgressive = isJpeg && file.contains("\xFF\xC2");
    if (isProgressive && file.count("\xFF\xDA") * tiff.Width * tiff.Height > Picture::MostScannedPixels)
        throw Refused(u"The picture has too many scans"_s);
}

QImage OnWhite(const QImage &image)
{
    QImage opaque(image.size(), QImage::Format_RGB32);
    opaque.fill(Qt::white);
    QPainter painter(&opaque);
    painter.drawImage(opaque.rect(), image);
    return opaque;
}

struct Source {
    QByteArray Bytes;
    QByteArray Format; // the decoder's name
    const char *Package; // that brings the decoder
};

using ShownSize = QSize (*)(QSize);

QImage Decoded(Source &source, ShownSize shownSize)
{
    QBuffer buffer(&source.Bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, source.Format);
    reader.setAutoDetectImageFormat(false);
    reader.setAutoTransform(true);
    QImageReader::setAllocationLimit(MostMegabytes);
    const QSize size = reader.size();
    if (!size.isValid())
        throw Refused(u"The picture is damaged"_s);
    if (shownSize) {
        const QSize shown = shownSize(size);
        RequireSize(shown);
        reader.setScaledSize(shown);
    } else {
        RequireSize(size);
    }
    const QImage image = reader.read();
    if (image.isNull())
        throw Refused(u"The picture is damaged"_s);
    RequireSize(image.size());
    return OnWhite(image);
}

// shownSize: of a picture of that size, as which it is drawn; nullptr for its own.
QImage Read(Source source, ShownSize shownSize)
{
    if (!QImageReader::supportedImageFormats().contains(source.Format))
        throw Refused(u"There is no reader of %1 pictures here; on Debian, the package %2 brings it"_s.arg(
            QString::fromLatin1(source.Format.toUpper()), QString::fromLatin1(source.Package)));
    return Apart::Run([&] { return Decoded(source, shownSize); });
}

QSize ShownDrawing(QSize own)
{
    if (own.isEmpty())
        return {};
    const double scale = std::min(2.0, double(WidestDrawing) / own.width());
    const double height = std::min<double>(own.height() * scale, Picture::MostSide + 1);
    return { qRound(own.width() * scale), std::max(1, qRound(height)) };
}

// Without what may stand in front of a document.
QByteArray Document(const QByteArray &file)
{
    qsizetype start = file.startsWith("\xEF\xBB\xBF") ? 3 : 0;
    while (start < file.size() && QByteArrayView(" \t\r\n").contains(file.at(start)))
        ++start;
    return file.sliced(start);
}

// Whether the first element of a document is that of a drawing. The end of the
// document need not be there.
bool IsDrawing(const QByteArray &start)
{
    const bool isWide = start.startsWith("\xFF\xFE") || start.startsWith("\xFE\xFF");
    if (!isWide && !start.startsWith('<'))
        return false;
    QXmlStreamReader xml(start);
    while (!xml.atEnd()) {
        if (xml.readNext() == QXmlStreamReader::StartElement)
            return xml.name() == "svg"_L1;
    }
    return false;
}

}

QString KindOf(const QByteArray &file)
{
    if (file.startsWith("RIFF") && file.size() > 12 && QByteArrayView(file).sliced(8).startsWith("WEBP"))
        return u"WebP"_s;
    if (file.startsWith(QByteArrayView("II*\0", 4)) || file.startsWith(QByteArrayView("MM\0*", 4)))
        return u"TIFF"_s;
    constexpr qint64 headBytes = 256 * 1024;
    const QByteArray head = IsPacked(file) ? Unpacked(file, headBytes) : file.first(std::min<qint64>(file.size(), headBytes));
    return IsDrawing(Document(head)) ? u"SVG"_s : QString();
}

QImage Decode(const QByteArray &file, QStringList &losses)
{
    const QString kind = KindOf(file);
    if (file.size() > Picture::MostFileBytes)
        throw Refused(u"The picture file is too large"_s);
    if (kind == "SVG"_L1) {
        const QByteArray drawing = IsPacked(file) ? Unpacked(file, MostDrawingBytes + 1) : file;
        if (drawing.size() > MostDrawingBytes)
            throw Refused(u"The drawing is too large"_s);
        return Read({ PlainDrawing::Of(Document(drawing), losses), "svg"_ba, "libqt6svg6" }, ShownDrawing);
    }
    if (kind.isEmpty())
        throw Refused(u"The file is not a WebP, SVG or TIFF picture"_s);
    if (kind == "TIFF"_L1)
        CheckTiff(file);
    return Read({ file, kind.toLower().toLatin1(), "qt6-image-formats-plugins" }, nullptr);
}

}
