// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model/Exam.h"

#include <QString>

#include <vector>

// What the review list shows and takes, without the window.
namespace ReviewList {

struct Entry {
    qint16 Number = 0; // of the item, from 1
    QString Text; // "4 - A,C", or the number alone without an answer
    // The key of an icon: "Checked" for a marked item, whatever its answer is;
    // else "Incomplete" when fewer options are selected than the key has, or
    // "Complete".
    QString Icon;
};

// One entry for each item, in order. The answers are the saved ones: what stands
// on the page of the exam window must have been saved before. Raises what
// Globals::AnswerLetters raises for an Answer that is no list of option numbers.
std::vector<Entry> Entries(const Exam &exam);
bool HasMarked(const Exam &exam);

// What a number field holds after the user typed a text: the same text when its
// leading digits give a number from 1 to Count, or when it is empty or blank; the
// Count instead of a larger number; "1" instead of 0 and of a text without
// leading digits. Count is at least 1.
QString Limited(const QString &text, qint32 Count);
// The number that the field's leading digits give, 0 without any. Raises
// Overflow above 32,767.
qint16 NumberIn(const QString &text);

}
