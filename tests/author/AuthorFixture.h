// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/System.h"
#include "tests/support/Test.h"

#include <QBuffer>
#include <QImage>

// A text and what becomes of it.
struct Row {
    const char *Name;
    QString Source, Expected;
};
inline void ExpectRows(const std::function<QString(const QString &)> &actual, const std::vector<Row> &rows)
{
    for (const Row &row : rows)
        EXPECT_EQ(actual(row.Source), row.Expected) << row.Name;
}

// Everything in a folder, by name.
inline QStringList Names(const QString &folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

inline QByteArray Bmp(int width = 4, int height = 4)
{
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(Qt::green);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "BMP");
    return bytes;
}
