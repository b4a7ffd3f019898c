// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model/Exam.h"

#include <QString>

#include <vector>

// What the review list shows and takes, without the window.
namespace ReviewList {

struct Entry {
    qint16 Number = 0;
    QString Text; // "4 - A,C", or the number alone without an answer
    QString Icon; // "Checked", "Incomplete" or "Complete"
};

// One entry for each item, in order.
std::vector<Entry> Entries(const Exam &exam);
bool HasMarked(const Exam &exam);

// What a number field holds after the user typed a text: a number from 1 to
// Count, or nothing but blanks.
QString Limited(const QString &text, qint32 Count);
// The number in the field. Raises Overflow above 32,767.
qint16 NumberIn(const QString &text);

}
