// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Gift.h"
#include "tests/support/Rows.h"
#include "tests/support/System.h"
#include "tests/support/Test.h"

#include <QBuffer>
#include <QImage>

// The items of a bank in GIFT.
inline std::vector<Bank::Item> ItemsOf(const QString &gift)
{
    struct Items : Bank::Receiver {
        std::vector<Bank::Item> All;
        void Add(Bank::Item &&item) override { All.push_back(std::move(item)); }
        void SetName(const QString &) override { }
        void Warn(int, const QString &) override { }
    } items;
    Gift::Read({ {}, gift.toUtf8(), {} }, {}, items);
    return std::move(items.All);
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
    QBuffer buffer;
    image.save(&buffer, "BMP");
    return buffer.data();
}
