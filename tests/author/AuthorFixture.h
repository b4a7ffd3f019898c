#pragma once

#include "tests/support/ExamBuilder.h"
#include "tests/support/ExpectError.h"
#include "tests/support/Sandbox.h"

#include <QBuffer>
#include <QDir>
#include <QImage>

#include <gtest/gtest.h>

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
