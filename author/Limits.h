// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtGlobal>

#include <limits>

// What an exam can hold and a sitting can stand.
namespace Limits {

// The counters of items and options are 16-bit numbers.
constexpr qint32 MostItems = std::numeric_limits<qint16>::max();
constexpr qint16 MostScore = std::numeric_limits<qint16>::max();
// The clock works out its seconds as a 16-bit number.
constexpr qint16 MostMinutes = std::numeric_limits<qint16>::max() / 60;
// One letter for each.
constexpr qint32 MostOptions = 26;
constexpr qint32 FewestOptions = 2;
// In pixels; many screens show no more beside the rest of a window.
constexpr int WidestExhibit = 1'200;

}
