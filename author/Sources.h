// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Formats.h"

#include <QStringList>

#include <functional>

// The question banks that the arguments of a command name.
namespace Sources {

// What is called for each bank: found is null where the content suits no format.
using Visit = std::function<void(const Bank::Source &source, const Bank::Format *found)>;
// What is called for a file of a folder or an archive that cannot be read, instead.
using Refuse = std::function<void(const QString &name, const QString &reason)>;

// What the user says of all banks.
struct Hints {
    const Bank::Format *Format = nullptr; // null: by content
    QString Encoding = {}; // see Bank::Source
};

// Visits the bank of a path in order: a file; the standard input for "-"; a folder
// that is an unpacked package, or an archive that is one, as one bank; any other folder
// with its subfolders, or archive, as one bank for each file or package in it, by name.
// Raises InvalidCall when the path cannot be read.
void ForEach(const QString &path, const Hints &hints, const Visit &visit, const Refuse &refuse);

// A bank's name without folder and extension; "exam" for the standard input.
QString BaseName(const QString &path);

}
