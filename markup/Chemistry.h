// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace Chemistry {

// A formula or an equation as the \ce command of TeX takes it, such as
// "2H2 + O2 -> 2H2O" or "SO4^2-", in one line. Empty when it holds more than
// elements, numbers, charges, brackets and arrows.
QString Read(QStringView formula);

}
