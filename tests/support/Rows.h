// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/Test.h"

#include <functional>
#include <vector>

// A text and what becomes of it.
struct Row {
    const char *Name;
    QString Source, Expected;
};
inline void ExpectRows(const std::function<QString(const QString &)> &actual, const std::vector<Row> &rows)
{
    for (const Row &row : rows)
        EXPECT_EQ(actual(row.Source), row.Expected) << row.Name;
}
