// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "markup/Formula.h"

// The commands of TeX that stand for one character or name.
namespace Tex {

// What a command such as "alpha", written without its backslash, stands for;
// of the shape Empty when it is none of these.
Formula::Part SymbolOf(QStringView command);

// The letter of a blackboard alphabet; the letter itself when there is none.
QString DoubleStruck(QStringView letters);

}
