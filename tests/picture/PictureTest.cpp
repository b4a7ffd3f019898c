// SPDX-License-Identifier: Apache-2.0
#include "picture/Apart.h"
#include "picture/Essentials.h"
#include "picture/Picture.h"
#include "tests/support/System.h"
#include "tests/support/Test.h"

#include <QBuffer>
#include <QImageWriter>
#include <QtEndian>

namespace {

QString Written(const QByteArray &bytes)
{
    const QString path = Sandbox::Path(u"picture.bmp"_s);
    Sandbox::WriteFile(path, bytes);
    return path;
}

QByteArray Encoded(const QImage &image, const char *format, bool progressive = false)
{
    QBuffer buffer;
    QImageWriter writer(&buffer, format);
    writer.setProgressiveScanWrite(progressive);
    if (!writer.write(image))
        qFatal("no writer for %s", format);
    return buffer.data();
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

QByteArray BmpOfHeight(qint32 height, const QImage &image = Sample())
{
    return Encoded(image, "BMP").replace(22, 4, reinterpret_cast<const char *>(&height), 4);
}

// A GIF of one pixel for each frame, the first red and the others blue, that
// claims a screen and frames of some other size.
QByteArray Gif(int frames, quint16 screen = 1, quint16 frame = 1)
{
    const auto twice = [](quint16 side) { return (QByteArray(1, char(side & 0xFF)) + char(side >> 8)).repeated(2); };
    QByteArray gif = "GIF89a" + twice(screen) + QByteArray::fromHex("800000 ff0000 0000ff");
    for (int i = 0; i < frames; ++i)
        gif += QByteArray::fromHex("21f904000a000000 2c00000000") + twice(frame)
            + QByteArray::fromHex(i == 0 ? "00 02 024401 00" : "00 02 024c01 00");
    return gif + ';';
}

// A red GIF of 99 columns and 50 rows, each code of which from the third on
// stands for one pixel more than the one before.
QByteArray GrowingGif(int leastBits)
{
    QByteArray codes;
    quint32 bits = 0;
    int width = leastBits + 1, next = (1 << leastBits) + 3;
    auto put = [&, count = 0](int code) mutable {
        for (bits |= quint32(code) << count, count += width; count >= 8; count -= 8, bits >>= 8)
            codes += static_cast<char>(bits);
    };
    put(1 << leastBits), put(0), put(0);
    for (width = 3; next < (1 << leastBits) + 101; width += ++next == 1 << width)
        put(next);
    put(1 << leastBits);
    const QByteArray start = Gif(0).replace(6, 4, QByteArray::fromHex("63003200")).chopped(1);
    return start + QByteArray::fromHex("2c00000000 63003200 00") + char(leastBits) + char(codes.size()) + codes;
}

// An icon of one picture, which is a PNG or a bitmap without its file header.
QByteArray IconOf(const QByteArray &picture)
{
    QByteArray head = QByteArray::fromHex("000001000100 1010000001002000 00000000 16000000");
    qToLittleEndian(static_cast<quint32>(picture.size()), head.data() + 14);
    return head + picture;
}

// A PNG of 13 bytes of header and rows of so many bytes, in two parts.
QByteArray PngOf(const char *header, int bytes)
{
    const QByteArray data = qCompress(QByteArray(bytes, '\0')).mid(4);
    const auto chunk
        = [](const char *kind, const QByteArray &of) { return QByteArray(3, '\0') + char(of.size()) + kind + of + "crc!"; };
    return Encoded(Sample(), "PNG").left(8) + chunk("IHDR", QByteArray::fromHex(header)) + chunk("IDAT", data.left(9))
        + chunk("IDAT", data.mid(9)) + chunk("IEND", "");
}

// A JPEG in about ten scans and so many more, which change nothing.
QByteArray Progressive(const QImage &image, int more = 0)
{
    const QByteArray bytes = Encoded(image, "JPG", true);
    const QByteArray last = bytes.mid(bytes.lastIndexOf("\xFF\xDA")).chopped(2);
    return bytes.chopped(2) + last.repeated(more) + bytes.right(2);
}

// What is said of a picture that is refused, or "none".
QString RefusalOf(const QByteArray &bytes)
{
    // Decoders say on the error stream what is wrong with a picture; that is no fault of the program.
    const auto before = qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    const auto restore = qScopeGuard([=] { qInstallMessageHandler(before); });
    try {
        return Picture::Load(Written(bytes)).isNull() ? u"null"_s : u"none"_s;
    } catch (const Error &error) {
        return error.Number() == InvalidCall && error.Source() == "Picture::Load()"_L1 ? error.Description()
                                                                                       : u"another error"_s;
    }
}

}

TEST(PictureTest, WhatAnExhibitCanBe)
{
    const struct {
        const char *Name;
        QByteArray Bytes;
        QSize Size;
        QColor Top;
    } rows[] = {
        // The same rows in the file, and stored from the top down.
        { "bmp", Encoded(Sample(), "BMP"), { 2, 2 }, Qt::red },
        { "top-down bmp", BmpOfHeight(-2), { 2, 2 }, Qt::blue },
        { "png", Encoded(Sample(3, 2), "PNG"), { 3, 2 }, Qt::red },
        { "ico", Encoded(Sample(16, 16), "ICO"), { 16, 16 }, Qt::red },
        { "jpeg", Encoded(Sample(16, 16).scaled(16, 160), "JPG"), { 16, 160 }, Qt::red },
        { "gif", Gif(1), { 1, 1 }, Qt::red },
        { "moving gif", Gif(3), { 1, 1 }, Qt::red },
        { "gif of long codes", GrowingGif(2) + QByteArray("\0;", 2), { 99, 50 }, Qt::red },
    };
    for (const auto &row : rows) {
        const QImage image = Picture::Load(Written(row.Bytes));
        EXPECT_TRUE(image.size() == row.Size) << row.Name;
        EXPECT_NEAR(image.pixelColor(0, 0).red(), row.Top.red(), 4) << row.Name;
    }
}

TEST(PictureTest, WhatItCannotBe)
{
    const QString foreign = u"The file is not a BMP, GIF, JPEG, ICO or PNG picture"_s, damaged = u"The picture is damaged"_s,
                  size = u"The picture is empty or too large"_s;
    const std::tuple<const char *, QByteArray, QString> rows[] = {
        { "empty", "", foreign },
        { "text that begins like a bmp", "BM was here, and this is plain text", damaged },
        { "svg", "<?xml version=\"1.0\"?><svg xmlns=\"http://www.w3.org/2000/svg\" width=\"9\" height=\"9\"/>", foreign },
        { "huge gif", Gif(1, 30'000, 30'000), size },
        { "huge frame", Gif(1, 1, 30'000), size },
        { "no frame", Gif(0), damaged },
        { "gif code before its time", Gif(1, 30, 30).replace("\2\x44\1", "\2\xC4\1"), damaged },
        { "gif without a first colour", Gif(1, 30, 30).replace("\2\x44\1", "\2\x34\1"), damaged },
        { "huge png", Encoded(QImage(4'001, 4'000, QImage::Format_Mono), "PNG"), size },
        { "bmp without height", BmpOfHeight(0), size },
        { "endless top-down bmp", BmpOfHeight(-100'000'000), size },
        { "cut png", Encoded(Sample(), "PNG").left(60), damaged },
        { "cut icon", IconOf(Encoded(Sample(), "PNG")).left(40), damaged },
        { "long png", Encoded(Sample(16'385, 2), "PNG"), size },
        { "high jpeg", Encoded(Sample(2, 16'385), "JPG"), size },
        { "cursor", QByteArray("\0\0\2\0\1\0", 6), foreign },
        { "huge png in an icon", IconOf(Encoded(QImage(4'001, 4'000, QImage::Format_Mono), "PNG")), size },
        { "huge bitmap in an icon", IconOf(Encoded(QImage(4'001, 8'000, QImage::Format_Mono), "BMP").mid(14)), size },
        { "25 scans", Progressive(Sample(4'000, 4'000), 15), u"The picture has too many scans"_s },
    };
    for (const auto &[name, bytes, start] : rows)
        EXPECT_TRUE(RefusalOf(bytes).startsWith(start)) << name << ": " << RefusalOf(bytes).toStdString();
    const QString path = Written(Encoded(Sample(), "BMP"));
    EXPECT_EQ(ResultOf([&] { Picture::Load(path.chopped(4)); }), u"%1 File::OpenFile()"_s.arg(System::NotFound))
        << "only that very name";
    EXPECT_EQ(Picture::Load(Written(Encoded(QImage(4'000, 4'000, QImage::Format_Mono), "PNG"))).width(), 4'000);
    EXPECT_EQ(RefusalOf(Progressive(Sample(4'000, 4'000), 14)), u"none"_s) << "24 scans";
}

// What costs time and memory and shows nothing: texts, and codes behind the last pixel.
TEST(PictureTest, WhatNoDecoderIsGiven)
{
    // With transparent colours in place of the size on paper, and with what says how colours are stored.
    const QByteArray clear = QByteArray("\0\0\0\1tRNS\0crc!", 13), solid = Encoded(Sample(), "PNG").remove(33, 21),
                     png = QByteArray(solid).insert(33, clear);
    const QByteArray jpeg = Encoded(Sample(), "JPG").insert(2, QByteArray("\xFF\xEE\0\4ab", 6)), ended = Gif(1, 30, 30);
    const QByteArray texts = (QByteArray("\0\0\0\3zTXt", 8) + "K\0\0crc!"_ba).repeated(9);
    const QByteArray manyTexts = png.left(33) + texts + png.mid(33), late = solid.chopped(12) + clear + solid.right(12);
    const QByteArray comment = "\xFF\xFF\xFE\0\6text"_ba, camera = "\xFF\xE1\0\4\xFF\xD9"_ba;
    const QByteArray growing = GrowingGif(2), two = GrowingGif(1) + QByteArray("\0;", 2);
    const struct {
        const char *Name;
        QByteArray Bytes, Clean;
    } rows[] = {
        { "png", manyTexts, png },
        { "transparent twice", QByteArray(png).insert(46, clear), png },
        { "transparent too late", late, solid },
        { "icon", IconOf(manyTexts), png },
        { "jpeg", jpeg.left(2) + comment + camera + jpeg.mid(2), jpeg },
        { "scan after fill bytes", jpeg.chopped(2) + comment + "\xDA" + jpeg.right(2),
          jpeg.chopped(2) + "\xDA" + jpeg.right(2) },
        { "frames", Gif(9), Gif(1).replace("\2\x44\1", "\1\x44") },
        { "codes", growing + QByteArray(256, '\xFF').repeated(99) + QByteArray("\0;", 2), growing + QByteArray("\0;", 2) },
        { "two colours", two, two },
        { "codes behind the end", QByteArray(ended).replace("\2\x44\1", "\4\x44\1\xAA\xAA"), ended },
    };
    for (const auto &row : rows)
        EXPECT_EQ(Picture::EssentialsOf(row.Bytes).Bytes, row.Clean) << row.Name;
    // Data behind the last row of a PNG are refused.
    const std::pair<const char *, int> pngs[] = {
        { "00000001 00000001 0800000000", 2 },       { "00000009 00000002 0100000000", 6 },
        { "00000005 00000002 0203000000", 6 },       { "00000003 00000003 0806000000", 39 },
        { "00000001 00000001 0804000001", 3 },       { "00000005 00000005 1002000001", 161 },
        { "00000fa0 0000000a 0802000000", 120'010 },
    };
    for (const auto &[header, size] : pngs) {
        for (const auto &[more, result] : { std::pair(0, u"none"_s), std::pair(1, u"5 "_s), std::pair(70'000, u"5 "_s) })
            for (const QByteArray &bytes : { PngOf(header, size + more), IconOf(PngOf(header, size + more)) })
                EXPECT_EQ(ResultOf([&] { Picture::EssentialsOf(bytes); }), result) << header << " and " << more;
    }
}

TEST(PictureTest, APictureThatIsCutOffIsRefused)
{
    // Noise, so that every row of it takes bytes.
    QImage noise(40, 30, QImage::Format_RGB32);
    for (int i = 0; i < noise.width() * noise.height(); ++i)
        noise.setPixel(i % noise.width(), i / noise.width(), 0xFF000000U | (quint32(i) * 2654435761U) >> 8);
    // From the shortest that shows its format.
    const std::tuple<const char *, QByteArray, qsizetype> rows[] = {
        { "bmp", Encoded(noise, "BMP"), 2 },
        { "top-down bmp", BmpOfHeight(-30, noise), 2 },
        { "bmp of 1 bit", Encoded(noise.convertToFormat(QImage::Format_Mono), "BMP"), 2 },
        { "jpeg", Encoded(noise, "JPG"), 3 },
        { "progressive jpeg", Progressive(noise), 3 },
        { "gif", Gif(1), 6 },
        { "moving gif", Gif(3), 6 },
        { "png", Encoded(noise, "PNG"), 8 },
    };
    for (const auto &[name, bytes, from] : rows) {
        for (const QByteArray &behind : { QByteArray(), QByteArray("what somebody put behind it") })
            EXPECT_FALSE(Picture::Load(Written(bytes + behind)).isNull()) << name;
        for (qsizetype length = from, size = bytes.size(); length<size; length += length> 60 && length + 57 < size ? 57 : 1)
            EXPECT_TRUE(RefusalOf(bytes.left(length)).startsWith("The picture is damaged"_L1)) << name << ", " << length;
    }
}

TEST(PictureTest, DecodersApartFromTheProgram)
{
    const auto faultOf = [](const std::function<QImage()> &work) {
        try {
            Apart::Run(work);
        } catch (const Error &error) {
            return error.Description();
        }
        return u"none"_s;
    };
    const QImage large = Sample(2000, 1000);
    EXPECT_TRUE(Apart::Run([&] { return large; }) == large);
    EXPECT_EQ(faultOf([]() -> QImage { throw Error(InvalidCall, u"Größe"_s); }), u"Größe"_s);
    if (System::RunsByName)
        GTEST_SKIP() << "that system copies no process";
    EXPECT_EQ(faultOf([]() -> QImage { std::abort(); }), u"The picture is damaged"_s);
    EXPECT_EQ(faultOf([] { return QImage(); }), u"The picture is damaged"_s);
}
