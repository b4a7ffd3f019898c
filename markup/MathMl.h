// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QStringList>

namespace MathMl {

// A formula in MathML, from its "<math>" to its "</math>", in one line; what is
// in TeX too gives the same text. Of one that is too complex, such as a matrix,
// there remain its characters, with a warning.
QString Read(QStringView source, QStringList &warnings);

}
