// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QStringList>
#include <QStringView>

namespace Bank {

// The parts of a category's path as Moodle writes it: "/" between them, "//" for a
// slash in a name. White space around a part is dropped, and so is what says where
// the path begins ("$course$", "$system$", "$module$", "$cat1$", "top"). Empty for
// the outermost category. No more than the first 100 parts. Item::Category is the
// parts joined by "/".
QStringList CategoryParts(QStringView path);

// What a bank is called by its first category: the last part; empty for a category
// that Moodle itself has named ("Default for ...").
QString NameOfCategory(const QStringList &parts);

}
