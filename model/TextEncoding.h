// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// The reserved block of an exam file whose texts are in a code page of their own
// (docs/exam-file.md): that page, and code and name in every letter.
namespace TextEncoding {

struct Block {
    int CodePage = 0; // one that Ansi::IsSupported
    QString Code;
    QString Name;
};

// Nothing for any other block: another signature, a page that is not supported,
// lengths that are not exact, bytes that are not UTF-8, a code or a name beyond
// ExamFormat::MostTitleCharacters. Of a later version what version 1 has is read.
std::optional<Block> Read(const QByteArray &bytes);
// In version 1. A lone surrogate becomes "?".
QByteArray Write(const Block &block);

// What stands behind the block for programs that do not know it, at most
// ExamFormat::MostTitleCharacters bytes: the text in that page, "?" for what it
// lacks, and for UTF-8 in ASCII, a letter with marks by the letter alone.
QByteArray Plain(const QString &text, int codePage);

}
