// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "author/Draft.h"
#include "author/Exhibits.h"
#include "model/Exam.h"

#include <memory>
#include <vector>

// Turns drafts into an exam, and an exam and its pictures into a package folder.
namespace Package {

struct Header {
    QString Code;
    QString Name;
    qint16 MaxScore = 0;
    qint16 PassScore = 0;
    qint16 Minutes = 0;
};

// Whether a name can only be that of a file in the folder itself: not empty, no
// separators, neither "." nor "..", no double quotes, NULs or blanks at its ends.
bool IsPlainName(const QString &name);

// The name that the exam file in a package folder must have.
QString ExamFileName(const QString &folder);

// The exam of these items, numbered in their order, with texts in the narrowest
// code page that holds them all, or in the given one (see TextPage); no page for
// texts of ASCII. At most Limits::MostItems items.
std::shared_ptr<Exam> Compose(const std::vector<Draft::Item> &items, const Header &header, int page = 0);

// Creates the package folder out (with its missing parents) whole or not at all,
// with the exhibits that the exam's items name. An existing out is an error, unless
// replace is set and it holds nothing but a package: then that is removed once
// the new one is in its place.
// Returns a warning when the old package could not be removed and remains under
// another name; otherwise an empty text. Raises the system's error, InvalidCall, or what Cancellation::Check raises.
QString Write(Exam &exam, const Exhibits &exhibits, const QString &out, bool replace);

// Raises the error that Write would raise for out before it writes anything.
void CheckTarget(const QString &out, bool replace);

}
