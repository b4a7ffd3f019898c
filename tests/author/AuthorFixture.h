// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "author/Assembler.h"
#include "author/Package.h"
#include "bank/Gift.h"
#include "tests/support/Rows.h"
#include "tests/support/System.h"
#include "tests/support/Test.h"

#include <QBuffer>
#include <QImage>

// A bank in GIFT as drafts. Its pictures lie in a folder.
struct Assembled {
    Exhibits Pictures;
    Assembler Made;

    explicit Assembled(const QString &gift, const QString &folder = {}, const Assembler::Settings &settings = {})
        : Made(settings, Pictures)
    {
        const auto files = std::make_shared<Bank::FolderFiles>(folder);
        Gift::Read({ {}, gift.toUtf8(), folder.isEmpty() ? nullptr : files }, {}, Made);
    }
};

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
