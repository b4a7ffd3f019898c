// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QStringList>

#include <functional>

// Checks exam files and package folders before they are used in a sitting.
namespace Check {

// One line for each fault of an exam file or a package folder, beginning with
// the path of the file or folder; empty when there is none. An exam file may be
// in any folder; its exhibits are read from that folder. warnings, if not null,
// gets lines of the same form about what works but may look bad.
QStringList Faults(const QString &path, QStringList *warnings = nullptr);

// The same in two steps, so that one package can be checked while the exhibits of the
// next ones are loaded. Reads the exams and has their exhibits loaded ahead. What it
// returns waits for those, goes through the items and is called once.
std::function<QStringList(QStringList *warnings)> Begin(const QString &path);

}
