#include "picture/Essentials.h"
#include "picture/Picture.h"
#include "tests/support/System.h"
#include "tests/support/Test.h"

#include <QBuffer>
#include <QImageWriter>
#include <QtEndian>

namespace {

// Where a BMP has its height.
constexpr int BmpHeight = 22;

QString Written(const QByteArray &bytes)
{
    const QString path = Sandbox::Path(u"picture.bmp"_s);
    Sandbox::WriteFile(path, bytes);
    return path;
}

QByteArray Encoded(const QImage &image, const char *format, int quality = -1)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    if (!image.save(&buffer, format, quality))
        qFatal("no writer for %s", format);
    return bytes;
}

// Red above blue.
QImage Sample(int width = 2, int height = 2)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::blue);
    for (int x = 0; x < width; ++x)
        image.setPixelColor(x, 0, Qt::red);
    return image;
}

// A GIF of one pixel for each frame, the first red and the others blue, that
// claims a screen and frames of some other size.
QByteArray Gif(int frames, quint16 screen = 1, quint16 frame = 1)
{
    const auto twice = [](quint16 number) {
        QByteArray bytes(4, '\0');
        qToLittleEndian(number, bytes.data());
        qToLittleEndian(number, bytes.data() + 2);
        return bytes;
    };
    QByteArray gif = "GIF89a" + twice(screen) + QByteArray::fromHex("800000 ff0000 0000ff");
    for (int i = 0; i < frames; ++i)
        gif += QByteArray::fromHex("21f904000a000000 2c00000000") + twice(frame)
            + QByteArray::fromHex(i == 0 ? "00 02 024401 00" : "00 02 024c01 00");
    return gif + ';';
}

// An icon of one picture, which is a PNG or a bitmap without its file header.
QByteArray IconOf(const QByteArray &picture)
{
    QByteArray head = QByteArray::fromHex("000001000100 1010000001002000 00000000 16000000");
    qToLittleEndian(static_cast<quint32>(picture.size()), head.data() + 14);
    return head + picture;
}

// A JPEG in about ten scans and so many more, which change nothing.
QByteArray Progressive(const QImage &image, int more = 0)
{
    QBuffer buffer;
    QImageWriter writer(&buffer, "JPG");
    writer.setProgressiveScanWrite(true);
    writer.write(image);
    const QByteArray bytes = buffer.data();
    const QByteArray last = bytes.mid(bytes.lastIndexOf("\xFF\xDA")).chopped(2);
    return bytes.chopped(2) + last.repeated(more) + bytes.right(2);
}

// Decoders say on the error stream what is wrong with a picture; that is no
// fault of the program.
class LetDecodersComplain {
public:
    LetDecodersComplain() : m_handler(qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {})) { }
    ~LetDecodersComplain() { qInstallMessageHandler(m_handler); }

private:
    QtMessageHandler m_handler;
};

}

TEST(PictureTest, WhatAnExhibitCanBe)
{
    QByteArray topDown = Encoded(Sample(), "BMP");
    qToLittleEndian<qint32>(-2, topDown.data() + BmpHeight);
    const struct { const char *Name; QByteArray Bytes; QSize Size; QColor Top; } rows[] = {
        { "bmp", Encoded(Sample(), "BMP"), { 2, 2 }, Qt::red },
        // The same rows in the file, told from the top down.
        { "top-down bmp", topDown, { 2, 2 }, Qt::blue }, { "png", Encoded(Sample(3, 2), "PNG"), { 3, 2 }, Qt::red },
        { "ico", Encoded(Sample(16, 16), "ICO"), { 16, 16 }, Qt::red },
        { "jpeg", Encoded(Sample(16, 16).scaled(16, 160), "JPG"), { 16, 160 }, Qt::red },
        { "gif", Gif(1), { 1, 1 }, Qt::red }, { "moving gif", Gif(3), { 1, 1 }, Qt::red },
    };
    for (const auto &row : rows) {
        const QImage image = Picture::Load(Written(row.Bytes));
        EXPECT_TRUE(image.size() == row.Size) << row.Name;
        EXPECT_NEAR(image.pixelColor(0, 0).red(), row.Top.red(), 4) << row.Name;
    }
}

TEST(PictureTest, WhatItCannotBe)
{
    const LetDecodersComplain quiet;
    const QString foreign = u"The file is not a BMP, GIF, JPEG, ICO or PNG picture"_s;
    const QString size = u"The picture is empty or too large"_s;
    const QString damaged = u"The picture is damaged"_s;
    const auto bmp = [](int offset, qint32 number) {
        QByteArray bytes = Encoded(Sample(), "BMP");
        qToLittleEndian(number, bytes.data() + offset);
        return bytes;
    };
    const struct { const char *Name; QByteArray Bytes; QString Start; } rows[] = {
        { "empty", "", foreign }, { "text that begins like a bmp", "BM was here, and this is plain text", damaged },
        { "svg", "<?xml version=\"1.0\"?><svg xmlns=\"http://www.w3.org/2000/svg\" width=\"9\" height=\"9\"/>", foreign },
        { "huge gif", Gif(1, 30'000, 30'000), size },
        { "huge frame", Gif(1, 0, 30'000), u""_s }, { "no frame", Gif(0), damaged },
        { "huge png", Encoded(QImage(4'001, 4'000, QImage::Format_Mono), "PNG"), size },
        { "bmp without height", bmp(BmpHeight, 0), u""_s },
        { "endless top-down bmp", bmp(BmpHeight, -100'000'000), size },
        { "cut png", Encoded(Sample(), "PNG").left(60), damaged }, { "long png", Encoded(Sample(16'385, 2), "PNG"), size },
        { "high jpeg", Encoded(Sample(2, 16'385), "JPG"), size }, { "cursor", QByteArray("\0\0\2\0\1\0", 6), foreign },
        { "huge png in an icon", IconOf(Encoded(QImage(4'001, 4'000, QImage::Format_Mono), "PNG")), size },
        { "huge bitmap in an icon", IconOf(Encoded(QImage(4'001, 8'000, QImage::Format_Mono), "BMP").mid(14)), size },
        { "25 scans", Progressive(Sample(4'000, 4'000), 15), u"The picture has too many scans"_s },
    };
    for (const auto &row : rows) {
        try {
            const QImage image = Picture::Load(Written(row.Bytes));
            ADD_FAILURE() << row.Name << " " << image.width() << " x " << image.height();
        } catch (const Error &error) {
            EXPECT_EQ(error.Number(), 5) << row.Name;
            EXPECT_EQ(error.Source(), u"Picture::Load()"_s) << row.Name;
            EXPECT_TRUE(error.Description().startsWith(row.Start)) << row.Name << ": " << error.what();
        }
    }
    EXPECT_EQ(Picture::Load(Written(Encoded(QImage(4'000, 4'000, QImage::Format_Mono), "PNG"))).width(), 4'000);
    EXPECT_EQ(Picture::Load(Written(Progressive(Sample(4'000, 4'000), 14))).width(), 4'000) << "24 scans";
}

// What costs time and memory and shows nothing: texts, and codes behind the last pixel.
TEST(PictureTest, WhatNoDecoderIsGiven)
{
    const QByteArray png = Encoded(Sample(), "PNG"), jpeg = Encoded(Sample(), "JPG");
    const QByteArray texts = (QByteArray("\0\0\0\3zTXt", 8) + "K\0\0crc!"_ba).repeated(9);
    const QByteArray manyTexts = png.left(33) + texts + png.mid(33);
    const QByteArray comment = "\xFF\xFF\xFE\0\6text"_ba, camera = "\xFF\xE1\0\4\xFF\xD9"_ba;
    const QByteArray gif = Gif(1), longCodes = QByteArray::fromHex("ff 44") + QByteArray(254, 'x');
    const struct { const char *Name; QByteArray Bytes, Clean; } rows[] = {
        { "png", manyTexts, png }, { "icon", IconOf(manyTexts), png }, { "jpeg", jpeg.left(2) + comment + camera + jpeg.mid(2), jpeg },
        { "scan after fill bytes", jpeg.chopped(2) + comment + "\xDA" + jpeg.right(2), jpeg.chopped(2) + "\xDA" + jpeg.right(2) },
        { "frames", Gif(9), gif }, { "codes", gif.chopped(5) + longCodes.repeated(99) + QByteArray("\0;", 2), gif.chopped(5) + "\1\x44\0;"_ba },
    };
    for (const auto &row : rows)
        EXPECT_EQ(Picture::EssentialsOf(row.Bytes).Bytes, Picture::EssentialsOf(row.Clean).Bytes) << row.Name;
    EXPECT_LT(Picture::EssentialsOf(rows[5].Bytes).Bytes.size(), gif.size() + 1);
}

TEST(PictureTest, APictureThatIsCutOffIsRefused)
{
    const LetDecodersComplain quiet;
    // Noise, so that every row of it takes bytes.
    QImage noise(40, 30, QImage::Format_RGB32);
    for (int i = 0; i < noise.width() * noise.height(); ++i)
        noise.setPixel(i % noise.width(), i / noise.width(), 0xFF000000U | (quint32(i) * 2654435761U) >> 8);
    const QByteArray bmp = Encoded(noise, "BMP");
    QByteArray topDown = bmp;
    qToLittleEndian<qint32>(-noise.height(), topDown.data() + BmpHeight);
    // From the shortest that shows its format.
    const struct { const char *Name; QByteArray Bytes; qsizetype From; } rows[] = {
        { "bmp", bmp, 2 }, { "top-down bmp", topDown, 2 },
        { "bmp of 1 bit", Encoded(noise.convertToFormat(QImage::Format_Mono), "BMP"), 2 },
        { "jpeg", Encoded(noise, "JPG"), 3 }, { "progressive jpeg", Progressive(noise), 3 },
        { "gif", Gif(1), 6 }, { "moving gif", Gif(3), 6 }, { "png", Encoded(noise, "PNG"), 8 },
    };
    for (const auto &row : rows) {
        for (const QByteArray &behind : { QByteArray(), QByteArray("what somebody put behind it") })
            EXPECT_FALSE(Picture::Load(Written(row.Bytes + behind)).isNull()) << row.Name;
        const qsizetype size = row.Bytes.size();
        for (qsizetype length = row.From; length < size; length += length > 60 && length + 57 < size ? 57 : 1) {
            try {
                Picture::Load(Written(row.Bytes.left(length)));
                ADD_FAILURE() << row.Name << ", " << length << " of " << size;
            } catch (const Error &error) {
                EXPECT_TRUE(error.Description().startsWith("The picture is damaged"_L1)) << row.Name << ", " << length << ": " << error.what();
            }
        }
    }
}

TEST(PictureTest, OnlyRegularFilesOfThatVeryName)
{
    const QString path = Written(Encoded(Sample(), "BMP"));
    QDir().mkpath(Sandbox::Path(u"folder"_s));
    const QString pipe = System::MakePipe(Sandbox::Path(u"pipe.bmp"_s)) ? u"pipe.bmp"_s : System::Device;
    struct Row { QString Name; int Code; };
    for (const Row &row : { Row{ path.chopped(4), System::NotFound }, Row{ u"missing.bmp"_s, System::NotFound },
                            Row{ u"folder"_s, System::IsFolder }, Row{ pipe, System::IsDevice },
                            Row{ System::Device, System::IsDevice }, Row{ u""_s, System::FolderNotFound } })
        EXPECT_EQ(ResultOf([&] { Picture::Load(row.Name); }), u"%1 File::OpenFile()"_s.arg(row.Code)) << row.Name.toStdString();
}
