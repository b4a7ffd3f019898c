// SPDX-License-Identifier: Apache-2.0
#include "picture/Picture.h"

#include "common/Error.h"
#include "model/File.h"
#include "picture/Essentials.h"

#include <QBuffer>
#include <QImageReader>

using namespace Qt::Literals::StringLiterals;

namespace Picture {

namespace {

// A decoder's own limit, for files whose header gives a wrong size: a picture of
// the largest size with the deepest pixels, of 8 bytes each.
constexpr int MostMegabytes = (MostPixels * 8 + 0xFFFFF) / 0x100000;

const QString TooLarge = u"The picture file is too large"_s;

QByteArray BytesOf(const QString &path)
{
    File file;
    file.OpenFile(path, File::BinaryMode, File::ReadAccess, File::OpenExisting);
    if (file.ByteSize() > MostFileBytes)
        throw Error(InvalidCall, TooLarge, u"Picture::Load()"_s);
    QByteArray bytes;
    if (file.ByteSize() > 0)
        file.ReadData(bytes, static_cast<qint32>(file.ByteSize()));
    return bytes;
}

QImage Decoded(QByteArray bytes)
{
    Essentials picture = EssentialsOf(std::move(bytes));
    QBuffer buffer(&picture.Bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, picture.Format);
    // Every decoder there is would be asked otherwise.
    reader.setAutoDetectImageFormat(false);
    // For every reader of the program, and so once, before another thread has one.
    [[maybe_unused]] static const bool isLimited = (QImageReader::setAllocationLimit(MostMegabytes), true);
    const QImage image = reader.read();
    if (image.isNull())
        throw Error(InvalidCall, u"The picture is damaged: "_s + reader.errorString());
    if (qint64(image.width()) * image.height() > MostPixels)
        throw Error(InvalidCall, u"The picture is empty or too large"_s);
    return image;
}

}

QImage Load(const QString &Path)
{
    QByteArray bytes = BytesOf(Path);
    return WithSource(u"Picture::Load()", [&] { return Decoded(std::move(bytes)); });
}

QImage Decode(const QByteArray &File)
{
    return WithSource(u"Picture::Decode()", [&] {
        if (File.size() > MostFileBytes)
            throw Error(InvalidCall, TooLarge);
        return Decoded(File);
    });
}

}
