// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QImage>
#include <QString>

// The pictures of exhibits, read from files that a stranger made.
namespace Picture {

// No exhibit is larger; checked before a pixel is decoded.
constexpr qint64 MostPixels = 16'000'000;
constexpr qint64 MostSide = 16'384;

// More than any picture of the largest size needs, and less than hurts.
constexpr qint64 MostFileBytes = 128 * 1024 * 1024;

// A decoder walks over the whole picture in every scan of a JPEG, and spends
// some time on a scan of the smallest one: scans times pixels are limited, each
// scan with so many pixels on top. The largest picture can have 24 scans, where
// encoders write about ten.
constexpr qint64 MostScannedPixels = 400'000'000;
constexpr qint64 PixelsOfAScan = 100'000;

// A BMP, GIF, JPEG, ICO or PNG picture, recognised by its content and not by its
// name; of a moving one the first frame. One that was cut off is an
// error. Only regular files are opened.
// Raises InvalidCall with what is wrong, or the system's error.
QImage Load(const QString &Path);
// The same of a picture in memory.
QImage Decode(const QByteArray &File);

// "bmp", "gif", "jpeg", "ico" or "png" by the first bytes of a file; empty for any
// other content.
QByteArray FormatOf(const QByteArray &File);

}
