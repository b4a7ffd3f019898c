// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringConverter>

#include <optional>

namespace Bank {

// The form of Unicode that the name of an encoding means, in any letter case; UTF-8
// for no name and for ASCII. Nothing for other names.
std::optional<QStringConverter::Encoding> UnicodeOf(const QString &encoding);

// The number of the code page (see Ansi::CodePage) that the name of an encoding
// means, in any letter case: "windows-1251", "cp1251", "1251", "ISO-8859-2", "KOI8-R",
// "Big5" and the like. Nothing for a name that is not known, and for those of
// Unicode. As browsers do, it takes ISO-8859-1 for page 1252, which has more
// characters.
std::optional<int> PageOf(const QString &encoding);

// Whether it is the name of an encoding that can be read; so is no name.
bool IsEncoding(const QString &name);

// The bytes as UTF-8 without a byte order mark. The encoding is that of the byte
// order mark, else the named one; no name means UTF-8. Bytes that are UTF-8 already
// are returned as they are, wrong ones included. Nothing for an unknown name.
std::optional<QByteArray> ToUtf8(const QByteArray &bytes, const QString &encoding);

// Where the bytes stop being UTF-8; their number when they are UTF-8 throughout.
qsizetype ValidUtf8(const QByteArray &bytes);

}
