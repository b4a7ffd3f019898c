// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "author/Gift.h"
#include "model/Exam.h"

#include <QStringList>

#include <memory>

// Turns the items of a question bank into an exam, and an exam and its
// pictures into a package folder.
namespace Package {

struct Header {
    QString Code;
    QString Name;
    qint16 MaxScore = 0;
    qint16 PassScore = 0;
    qint16 Minutes = 0;
};

struct LeftOut {
    int Line = 0;
    QString Reason;
};

struct Content {
    std::shared_ptr<::Exam> Exam;
    QStringList Pictures; // file names, each once
    std::vector<Package::LeftOut> LeftOut;
};

// Whether a text survives in an exam file's plain texts (code, name, exhibit),
// which take one byte for each character.
bool HoldsPlain(QStringView text);

// The first control character of the text, such as "U+000B"; empty when there
// is none but tabs, line feeds and carriage returns before a line feed.
QString ControlCharacter(QStringView text);

// A name that stays in its folder: no separators, neither "." nor "..", not
// empty, and no blanks or quotes that opening a file would take away.
bool IsPlainName(const QString &name);

// The name of the exam file in a package folder, after the folder's own name.
QString ExamFileName(const QString &folder);

// Takes every item that an exam can hold, in order; of the others the reason.
// Each exhibit is loaded from pictureFolder once.
Content Assemble(const std::vector<Gift::Item> &items, const Header &header, const QString &pictureFolder);

// Makes the package folder out (with its missing parents) whole or not at all,
// copying the pictures from pictureFolder. An existing out is an error, unless
// replace is set and nothing but a package is in it: then it goes when the new
// one stands.
// Yields a warning, or nothing: the old package may be left over under another
// name. Raises the system's error, InvalidCall, or what Interrupt::Check raises.
QString Write(const Content &content, const QString &pictureFolder, const QString &out, bool replace);

// Raises what Write would say of out before anything is written.
void CheckTarget(const QString &out, bool replace);

}
