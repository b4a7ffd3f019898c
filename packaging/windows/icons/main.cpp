// SPDX-License-Identifier: Apache-2.0
// practorium-icons FOLDER: writes the icons of the Windows program, drawn from
// the same vectors as its windows, as practorium.ico and exam.ico.
#include "resources/Artwork.h"

#include <QBuffer>
#include <QDir>
#include <QGuiApplication>
#include <QIcon>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QSaveFile>
#include <QtEndian>

#include <array>
#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr std::array Sizes = { 16, 24, 32, 48, 64, 256 };
// From this size on an image is a PNG; the smaller ones are bitmaps, which
// every reader of icons knows.
constexpr int PngSize = 256;

using Drawing = void (*)(QPainter &painter, const QRect &square);

void DrawProgram(QPainter &painter, const QRect &square)
{
    Artwork::ApplicationIcon().paint(&painter, square);
}

// A sheet of paper with a folded corner and the program's emblem on it.
void DrawExam(QPainter &painter, const QRect &square)
{
    const qreal unit = square.width() / 32.0;
    const qreal fold = 9 * unit;
    const QRectF sheet(5 * unit, 1 * unit, 22 * unit, 30 * unit);
    QPainterPath outline(sheet.topLeft());
    outline.lineTo(sheet.right() - fold, sheet.top());
    outline.lineTo(sheet.right(), sheet.top() + fold);
    outline.lineTo(sheet.bottomRight());
    outline.lineTo(sheet.bottomLeft());
    outline.closeSubpath();
    QPainterPath corner(QPointF(sheet.right() - fold, sheet.top()));
    corner.lineTo(sheet.right() - fold, sheet.top() + fold);
    corner.lineTo(sheet.right(), sheet.top() + fold);
    corner.closeSubpath();

    painter.setPen(QPen(QColor(110, 122, 136), std::max(unit * 0.6, 1.0), Qt::SolidLine, Qt::SquareCap, Qt::RoundJoin));
    painter.setBrush(Qt::white);
    painter.drawPath(outline);
    painter.setBrush(QColor(214, 221, 229));
    painter.drawPath(corner);
    const int side = qRound(16 * unit);
    const QRect emblem(qRound(sheet.center().x() - side / 2.0), qRound(13 * unit), side, side);
    Artwork::ApplicationIcon().paint(&painter, emblem);
}

template <class Number> void Append(QByteArray &bytes, Number number)
{
    const Number little = qToLittleEndian(number);
    bytes.append(reinterpret_cast<const char *>(&little), sizeof little);
}

QByteArray Png(const QImage &image)
{
    QBuffer buffer;
    if (!image.save(&buffer, "PNG"))
        qFatal("no PNG can be written");
    return buffer.data();
}

// The header says twice the height, for the pixels and a mask of one bit each;
// rows stand bottom up and fill whole 32 bits. With an alpha channel the mask
// counts for nothing.
QByteArray Bitmap(const QImage &image)
{
    constexpr quint32 HeaderBytes = 40;
    QByteArray bytes;
    Append(bytes, HeaderBytes);
    Append(bytes, qint32(image.width()));
    Append(bytes, qint32(image.height() * 2));
    Append(bytes, quint16(1));
    Append(bytes, quint16(32));
    bytes.append(HeaderBytes - bytes.size(), '\0');
    for (int y = image.height() - 1; y >= 0; --y) {
        for (int x = 0; x < image.width(); ++x)
            Append(bytes, quint32(image.pixel(x, y)));
    }
    bytes.append((image.width() + 31) / 32 * 4 * image.height(), '\0');
    return bytes;
}

QByteArray Icon(Drawing draw)
{
    constexpr int HeaderBytes = 6;
    constexpr int EntryBytes = 16;
    QByteArray entries;
    QByteArray contents;
    for (const int size : Sizes) {
        QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        draw(painter, image.rect());
        painter.end();
        image.convertTo(QImage::Format_ARGB32);

        const QByteArray content = size < PngSize ? Bitmap(image) : Png(image);
        for (int i = 0; i < 2; ++i)
            Append(entries, quint8(size)); // 256 is written as 0
        Append(entries, quint16(0));
        Append(entries, quint16(1));
        Append(entries, quint16(32));
        Append(entries, quint32(content.size()));
        Append(entries, quint32(HeaderBytes + EntryBytes * int(Sizes.size()) + contents.size()));
        contents += content;
    }
    QByteArray header;
    Append(header, quint16(0));
    Append(header, quint16(1));
    Append(header, quint16(Sizes.size()));
    return header + entries + contents;
}

bool Write(const QString &path, Drawing draw)
{
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(Icon(draw)) >= 0 && file.commit())
        return true;
    std::fprintf(stderr, "%s: %s\n", qPrintable(path), qPrintable(file.errorString()));
    return false;
}

}

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 2) {
        std::fputs("practorium-icons FOLDER\n", stderr);
        return 2;
    }
    const QDir folder(arguments.at(1));
    const bool isWritten
        = Write(folder.filePath(u"practorium.ico"_s), DrawProgram) && Write(folder.filePath(u"exam.ico"_s), DrawExam);
    return isWritten ? 0 : 1;
}
