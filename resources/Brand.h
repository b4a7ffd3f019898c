// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QColor>

// The colours of the program, in its pictures and windows.
namespace Brand {

constexpr QColor Blue(58, 153, 239);
constexpr QColor Orange(228, 78, 39);
constexpr QColor Green(153, 239, 58);
constexpr QColor Ink(33, 41, 52); // of texts

}
