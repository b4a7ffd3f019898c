// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "author/Draft.h"

#include <optional>
#include <vector>

// Which of a bank's items make an exam, and in which order.
namespace Selection {

struct Share {
    QString Category;
    qint32 Count = 0; // 1 or more
};

struct Settings {
    // Only items of these categories; empty: all.
    QStringList Categories = {};
    // So many items, drawn by chance; nothing: all.
    std::optional<qint32> Pick = {};
    // So many items of each category, drawn by chance, and none of others; empty:
    // all. Not together with Pick.
    std::vector<Share> Shares = {};
    bool ShufflesItems = false;
    bool ShufflesOptions = false;

    // Whether two exams of the same bank can differ.
    bool IsByChance() const { return Pick || !Shares.empty() || ShufflesItems || ShufflesOptions; }
};

// Whether the settings want items of that category; empty for none.
bool IsWanted(const QString &category, const Settings &settings);

// Whether an item's category is the one of that name, or one below it. The name
// is a path from the top, or one part of it; letter case does not count.
bool IsIn(const QString &category, const QString &name);

// The items of exam number variant (from 0), in its order, copied. The same seed,
// variant, settings and items give the same exam on every system. Drawn items stay
// in the bank's order unless items are shuffled. Options keep their place that are
// fixed, or speak of the others ("None of the above"). All options of an item do
// where an option, the stem or a feedback may name one by its letter or number, and
// where one that speaks of the others is not behind all of them.
// Raises InvalidCall when there are fewer items than asked for, or none in a category.
std::vector<Draft::Item> Choose(const std::vector<Draft::Item> &items, const Settings &settings, quint64 seed, int variant);

}
