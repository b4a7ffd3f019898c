// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Bank.h"
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
    QStringList Pictures; // file names of the exhibits, each once
    std::vector<Package::LeftOut> LeftOut;
};

// Whether the plain texts of an exam file (code, name, exhibit), which store one
// byte a character, can hold this one unchanged.
bool HoldsPlain(QStringView text);

// The first control character of the text, such as "U+000B"; empty when there is
// none. Tabs, line feeds and carriage returns before a line feed do not count.
QString ControlCharacter(QStringView text);

// Whether a name can only be that of a file in the folder itself: not empty, no
// separators, neither "." nor "..", no double quotes, NULs or blanks at its ends.
bool IsPlainName(const QString &name);

// The name that the exam file in a package folder must have.
QString ExamFileName(const QString &folder);

// The exam of all items that an exam can hold, in order and numbered, and the
// reasons for the others. Each exhibit is loaded from pictureFolder once.
Content Assemble(const std::vector<Bank::Item> &items, const Header &header, const QString &pictureFolder);

// Creates the package folder out (with its missing parents) whole or not at all,
// copying the pictures from pictureFolder. An existing out is an error, unless
// replace is set and it holds nothing but a package: then that is removed once
// the new one is in its place.
// Returns a warning when the old package could not be removed and remains under
// another name; otherwise an empty text. Raises the system's error, InvalidCall, or what Cancellation::Check raises.
QString Write(const Content &content, const QString &pictureFolder, const QString &out, bool replace);

// Raises the error that Write would raise for out before it writes anything.
void CheckTarget(const QString &out, bool replace);

}
