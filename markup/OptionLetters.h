// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QStringList>

namespace OptionLetters {

// Takes from the options of an item the letters or numbers that their author has
// given them: "a) x", "B. x", "(c) x", "1) x", "iv. x". Only when all options have
// one, in the same style, from the first on without a gap, each with a blank and
// some text behind it ("1.5" and "A.D." are none). Returns whether it did.
bool Remove(QStringList &options);

}
