// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

// Packs for tests, made by the packer or by hand.

// A package folder of the sandbox, its exam under that code and a picture of
// so many bytes; the folder.
QString MakePackage(const QString &name, const QString &code, qsizetype pictureBytes = 3'000);
// The pack of such a package, as practorium-author makes it; the program.
QString MakePack(const QString &name, const QString &code, qsizetype pictureBytes = 3'000);

// A pack with nothing but a few bytes for its stub.
struct PackSheet {
    QByteArray Folder = "NET-101";
    struct File {
        QByteArray Name;
        quint64 Size;
    };
    std::vector<File> Files = { { "NET-101.exam", 5 }, { "a.bmp", 3 } };
    QByteArray Contents = "exam!bmp";
    QByteArray BehindIndex = {};
    quint32 Version = 1;
    // Added to the true ones.
    quint64 MoreStart = 0;
    quint32 MoreIndexBytes = 0;
    quint64 MoreContentBytes = 0;
};
QByteArray ToBytes(const PackSheet &sheet);
// The same bytes with the sum that belongs to them.
QByteArray Summed(QByteArray pack);
