// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QStringList>

// Looks for everything that would go wrong in a sitting.
namespace Check {

// One line for each fault of an exam file or a package folder, beginning with
// the path of the file or folder; empty when there is none. An exam file by
// itself may lie in any folder; its exhibits are looked for there. Warnings
// gets lines of the same form about what is right but may be a trouble.
QStringList Faults(const QString &path, QStringList *Warnings = nullptr);

}
