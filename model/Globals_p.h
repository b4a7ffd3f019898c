// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QStringList>

namespace Globals {

// Where exams lie that are installed for everybody, besides ExamsFolder; the first one
// counts most. Some may not be there. Elsewhere than on Windows "Practorium/Exams" below
// the XDG base directories for data.
QStringList SharedExamsFolders();

// What PutBackExams does; the caller has seen to it that nobody moves exams.
void PutBackKept();

}
