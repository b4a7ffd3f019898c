// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/System.h"
#include "tests/support/Test.h"

#include <QBuffer>
#include <QImage>

// Everything in a folder, by name.
inline QStringList Names(const QString &folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

// A square picture.
inline QByteArray Bmp(int side = 4)
{
    QImage image(side, side, QImage::Format_RGB32);
    image.fill(Qt::green);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "BMP");
    return bytes;
}
