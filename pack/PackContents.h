// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Error.h"

#include <QByteArrayView>
#include <QFileDevice>
#include <QString>

#include <functional>
#include <map>

// What a pack holds behind its program.
namespace PackContents {

struct Source {
    QString Path;
    qint64 Size = 0; // bytes
};

// By the bytes of the name, which is the order of the index.
using Sources = std::map<QByteArray, Source>;

struct Package {
    QByteArray Name; // of its folder, in UTF-8
    Sources Files;
};

// The package in a folder: the exam file of its name, which must load, and apart from it
// only regular files whose names PackFormat::IsPlainName accepts. Raises InvalidCall, or
// what loading the exam raises.
Package OfFolder(const QString &folder);
// The package of an exam file by itself: its folder has the file's name without
// the extension, and holds it and those of its exhibits that stand beside it. Raises the
// same.
Package OfFile(const QString &path);

// Returns the texts of the signatures for a pack with that digest, at most
// PackFormat::MostSignatureBytes; packformat/PackFormat.h says what that is.
using Signer = std::function<QByteArray(const QByteArray &digest)>;

// Writes the program, which may be empty, and the package behind it to an open file,
// signed if there is a signer. The file is unbuffered, so that every write reports its own
// failure. step is called before each block; an exception of it or of the signer ends the
// work. Raises InvalidCall.
void Write(QFileDevice &file, QByteArrayView program, const Package &package, const std::function<void()> &step,
           const Signer &signer = {});

// Whether the file is a program or ends like a pack; everything else may be an exam file.
// Raises InvalidCall if it cannot be read; a folder is no pack.
bool IsPack(const QString &path);

// InvalidCall with that text, and with what has just failed on the file.
Error Refused(const QString &text);
Error Refused(const QFileDevice &file);

}
