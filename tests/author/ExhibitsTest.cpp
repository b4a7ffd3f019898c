// SPDX-License-Identifier: Apache-2.0
#include "author/Exhibits.h"
#include "picture/Picture.h"
#include "tests/author/AuthorFixture.h"

#include <QImageReader>
#include <QRegularExpression>

namespace {

QByteArray Encoded(const QImage &image, const char *format, int quality = 100)
{
    QBuffer buffer;
    EXPECT_TRUE(image.save(&buffer, format, quality)) << format;
    return buffer.data();
}

// Red above what can be seen through.
QImage Sample(int width = 4, int height = 4)
{
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    for (int dot = 0; dot < width * height / 2; ++dot)
        image.setPixelColor(dot % width, dot / width, Qt::red);
    return image;
}

QByteArray Svg(const QByteArray &inside, const QByteArray &root = "width='40' height='20'")
{
    return "<svg xmlns='http://www.w3.org/2000/svg' xmlns:xlink='http://www.w3.org/1999/xlink' " + root + '>' + inside
        + "</svg>";
}

// What is shown of a drawing: no build for Windows can count on its reader.
QString OfDrawing(const QString &shown)
{
    const bool hasReader = !System::RunsByName || QImageReader::supportedImageFormats().contains("svg");
    return hasReader ? shown : u"There is no reader of SVG pictures here; on Debian, the package libqt6svg6 brings it"_s;
}

// The size of the exhibit and its colours at the top and the bottom, or what is wrong with it.
QString Shown(const QByteArray &file)
{
    static Exhibits exhibits;
    try {
        QStringList losses;
        const QString name = exhibits.Add(file, u"x"_s, &losses);
        const QImage image = Picture::Load(exhibits.Folder() + u'/' + name);
        const auto colour = [&](int y) { return image.pixelColor(image.width() / 2, y).name(); };
        return u"%1x%2 %3 %4 "_s.arg(image.width()).arg(image.height()).arg(colour(0), colour(image.height() - 1))
            + name.section(u'.', -1) + losses.join(u',');
    } catch (const Error &error) {
        return error.Description();
    }
}

}

TEST(ExhibitsTest, NamesInThePackage)
{
    const QByteArray png = Encoded(Sample(), "PNG");
    const struct {
        QByteArray File;
        QString Wanted, Name;
    } rows[] = {
        { png, u"one.png"_s, u"one.png"_s },
        { png, u"two.png"_s, u"one.png"_s },
        { Bmp(), u"img/Two.BMP"_s, u"Two.BMP"_s },
        { Bmp(1), u"..\\two.bmp"_s, u"two-2.bmp"_s },
        { Bmp(2), u"TWO.bmp"_s, u"TWO-3.bmp"_s },
        { Bmp(3), u"two-4"_s, u"two-4.bmp"_s },
        { Bmp(5), u"two"_s, u"two-5.bmp"_s },
        { Bmp(6), u"Größe π.png"_s, u"Groe.bmp"_s },
        { Bmp(7), u"картина.bmp"_s, u"picture.bmp"_s },
        { Bmp(8), u".."_s, u"picture-2.bmp"_s },
        { Bmp(9), u"con.bmp"_s, u"picture-con.bmp"_s },
        { Bmp(10), u"pack.exam"_s, u"pack.exam.bmp"_s },
        { Encoded(Sample(8, 8), "JPG"), u"a.jpeg"_s, u"a.jpeg"_s },
        { Encoded(Sample(8, 9), "WEBP"), u"a.webp"_s, u"a.png"_s },
        { Bmp(11), QString(300, u'n'), QString(60, u'n') + u".bmp"_s },
    };
    Exhibits exhibits;
    for (const auto &row : rows) {
        EXPECT_EQ(exhibits.Add(row.File, row.Wanted), row.Name) << row.Wanted.toStdString();
        const bool isKept = !row.File.startsWith("RIFF");
        EXPECT_EQ(Sandbox::ReadFile(exhibits.Folder() + u'/' + row.Name) == row.File, isKept) << row.Wanted.toStdString();
    }
    EXPECT_EQ(Names(exhibits.Folder()).size(), std::size(rows) - 1);
}

TEST(ExhibitsTest, OtherKindsBecomePng)
{
    const QByteArray half = "<rect width='40' height='10' fill='#f00'/>";
    const QByteArray png = "data:image/png;base64," + Encoded(Sample(), "PNG").toBase64();
    const QString half80 = u"80x40 #ff0000 #ffffff png"_s;
    const std::pair<QByteArray, QString> rows[] = {
        { Encoded(Sample(), "WEBP"), u"4x4 #ff0000 #ffffff png"_s },
        { Encoded(Sample(), "TIFF"), u"4x4 #ff0000 #ffffff png"_s },
        { Svg(half), half80 },
        { "\xEF\xBB\xBF\n<?xml version='1.0'?><!DOCTYPE svg [<!ENTITY c '#f00'>]>"
              + Svg("<rect width='40' height='10' fill='&c;'/>"),
          half80 },
        { Svg(half, "viewBox='0 0 40 20' width='3000' height='20'"), u"1200x8 #ff0000 #ffffff png"_s },
        { Svg("<defs><g id='a'>" + half + "</g></defs><use href='#a'/>"), half80 },
        { Svg("<image width='40' height='20' href='" + png + "'/>"), half80 },
        { Svg("<script>x</script><a href='#p'>" + half + "</a><marker><path/></marker><marker/><o:p xmlns:o='urn:o'>" + half
              + "</o:p>"),
          half80 + u"<marker>"_s },
        { Svg("<radialGradient id='r'><stop stop-color='#f00'/></radialGradient><rect width='40' height='10' fill='url(#r)'/>"),
          half80 },
        { Svg("<g transform='scale(3)' fill='#f00'><text x='99' y='9'>\xE2\x96\x88<tspan x='0' y='4'>"
              + QByteArray("\xE2\x96\x88").repeated(9) + "</tspan></text></g>"),
          half80 },
        { Svg("<switch><foreignObject/><g>" + half + "</g></switch><svg y='10' width='40' height='9'>" + half + "</svg>"),
          u"80x40 #ff0000 #ff0000 png"_s },
    };
    for (const auto &[file, shown] : rows)
        EXPECT_EQ(Shown(file), file.contains("<svg") ? OfDrawing(shown) : shown) << file.left(400).toStdString();
}

TEST(ExhibitsTest, RefusedInOneLine)
{
    QByteArray bomb = "<g id='g0'><path d='M0 0h1'/></g>";
    for (int i = 1; i < 40; ++i)
        bomb += QByteArray("<g id='g%1'>").replace("%1", QByteArray::number(i))
            + QByteArray("<use xlink:href='#g%1'/>").replace("%1", QByteArray::number(i - 1)).repeated(3) + "</g>";
    QByteArray tiff = Encoded(Sample(), "TIFF");
    QByteArray webp = Encoded(Sample(), "WEBP", 50);
    const QString outside = u"The drawing refers to other files"_s, large = u"The picture is empty or too large"_s;
    const std::pair<QByteArray, QString> rows[] = {
        { "GIF of another kind", u"The file is not a BMP, GIF, JPEG, ICO, PNG, WebP, SVG or TIFF picture"_s },
        { "<html><body/></html>", u"The file is not a BMP, GIF, JPEG, ICO, PNG, WebP, SVG or TIFF picture"_s },
        { Svg("<image href='file:///etc/hostname'/>"), outside },
        { Svg("<image href='data:image/svg+xml;base64,PHN2Zy8+'/>"), outside },
        { Svg("<use href='other.svg#a'/>"), outside },
        { Svg("<rect style='fill:url( \"http://x/#a\")'/>"), outside },
        { Svg("<style>@IMPORT 'a.css';</style>"), outside },
        { Svg("<rect fill='url(#a)'/>", "width='1e9' height='2'"), u"The drawing has no size, or is too large"_s },
        { Svg("", "width='1' height='999999'"), OfDrawing(large) },
        { Svg(bomb), u"The drawing has too many parts"_s },
        { Svg(QByteArray("<g/>").repeated(20'000)), u"The drawing has too many parts"_s },
        { Svg("<g id='a'><use href='#b'/></g><g id='b'><use href='#a'/></g>"),
          u"The drawing has parts inside each other without an end"_s },
        { Svg(QByteArray("<g>").repeated(200)), u"The drawing has parts inside each other without an end"_s },
        { Svg("<image href='data:image/png;base64," + Encoded(Sample(), "PNG").chopped(20).toBase64() + "'/>"),
          u"The picture is damaged: the file ends before it is whole"_s },
        { tiff.first(9), u"The picture is damaged: the file ends before it is whole"_s },
        { webp.replace(24, 2, "\xFF\x3F"), u"The picture is damaged"_s },
        { webp.replace(26, 1, "\xFF"), large },
    };
    for (const auto &[file, fault] : rows)
        EXPECT_TRUE(Shown(file).startsWith(fault)) << Shown(file).toStdString() << " for " << file.left(200).toStdString();
    for (const auto &damaged : { Encoded(Sample(), "TIFF"), Encoded(Sample(), "WEBP"), Svg("<g>") }) {
        for (qsizetype length = 0; length < damaged.size(); ++length)
            Shown(damaged.first(length));
    }
}

TEST(ExhibitsTest, OneBelowTheOther)
{
    Exhibits exhibits;
    const std::vector<QByteArray> files = { Bmp(4, 4), Encoded(Sample(8, 2), "WEBP"), Bmp(2, 3) };
    const QString name = exhibits.Join(files, u"all.bmp"_s);
    EXPECT_EQ(name, u"all.png"_s);
    EXPECT_EQ(exhibits.Join(files, u"again.bmp"_s), name);
    EXPECT_NE(exhibits.Join({ files[1], files[0], files[2] }, u"all"_s), name);
    EXPECT_EQ(exhibits.Join({ files[0] }, u"one"_s), exhibits.Add(files[0], u"two"_s));

    const QImage image = Picture::Load(exhibits.Folder() + u"/all.png"_s);
    EXPECT_EQ(image.width(), 8);
    QString column;
    for (int y = 0; y < image.height(); ++y) {
        const QColor colour = image.pixelColor(1, y);
        column += colour == Qt::white ? u'.' : colour == Qt::red ? u'r' : u'g';
    }
    EXPECT_TRUE(QRegularExpression(u"^g{4}\\.{4,}r\\.{5,}g{3}$"_s).match(column).hasMatch()) << column.toStdString();
    EXPECT_THROW(exhibits.Join({ Bmp(2, 9000), Bmp(3, 9000) }, u"high"_s), Error);
    EXPECT_THROW(exhibits.Join({ Bmp(16000, 1), Bmp(1, 1500) }, u"wide"_s), Error);
    EXPECT_THROW(exhibits.Join({}, u"none"_s), Error);
}
