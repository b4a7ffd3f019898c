// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtGlobal>

#include <limits>

// Limits of the exam file and of the sitting.
namespace Limits {

// The counters of items and options are 16-bit numbers.
constexpr qint32 MostItems = std::numeric_limits<qint16>::max();
constexpr qint16 MostScore = std::numeric_limits<qint16>::max();
// The clock counts seconds in a 16-bit number.
constexpr qint16 MostMinutes = std::numeric_limits<qint16>::max() / 60;
// Each has a letter.
constexpr qint32 MostOptions = 26;
constexpr qint32 FewestOptions = 2;
// In pixels; wider ones need scrolling on many screens.
constexpr int WidestExhibit = 1'200;

}
