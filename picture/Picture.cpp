#include "picture/Picture.h"

#include "common/Error.h"
#include "model/File.h"
#include "picture/Wholeness.h"

#include <QBuffer>
#include <QImageReader>

#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace Picture {

namespace {

// A decoder's own limit, for formats that lie about their size: a picture of
// the largest size with the deepest pixels, of 8 bytes each.
constexpr int MostMegabytes = (MostPixels * 8 + 0xFFFFF) / 0x100000;

// More than any picture of the largest size needs, and less than hurts.
constexpr qint32 MostFileBytes = 128 * 1024 * 1024;

}

QImage Load(const QString &Path)
{
    File file;
    file.OpenFile(Path, File::BinaryMode, File::ReadAccess, File::OpenExisting);
    if (file.Size() > quint32(MostFileBytes))
        throw Error(InvalidCall, u"The picture file is too large"_s, u"Picture::Load()"_s);
    QByteArray bytes;
    if (file.Size() > 0)
        file.ReadData(bytes, static_cast<qint32>(file.Size()));
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);

    const auto fail = [](const QString &text) { return Error(InvalidCall, text, u"Picture::Load()"_s); };
    QImageReader reader(&buffer);
    // Content decides: a reader left to itself would also render vector
    // formats and whatever else is installed.
    const QByteArray format = reader.format();
    static const QList<QByteArray> formats = { "bmp", "gif", "jpeg", "jpg", "ico", "png" };
    if (!formats.contains(format))
        throw fail(u"The file is not a BMP, GIF, JPEG, ICO or PNG picture"_s);
    const QSize size = reader.size();
    if (size == QSize())
        throw fail(u"The picture is damaged"_s);
    // A bitmap stored from its top down reports a negative height.
    const qint64 pixels = qAbs(qint64(size.width())) * qAbs(qint64(size.height()));
    if (!size.isNull() && (size.width() <= 0 || pixels == 0 || pixels > MostPixels))
        throw fail(u"The picture is empty or too large"_s);
    if (!IsWhole(bytes, format))
        throw fail(u"The picture is damaged: the file ends before it is whole"_s);
    QImageReader::setAllocationLimit(MostMegabytes);
    const QImage image = reader.read();
    if (image.isNull())
        throw fail(u"The picture is damaged: "_s + reader.errorString());
    if (qint64(image.width()) * image.height() > MostPixels)
        throw fail(u"The picture is empty or too large"_s);
    return image;
}

}
