// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Bank.h"

#include <vector>

namespace Bank {

// One format that question banks are written in.
struct Format {
    QString Name; // as the user names it, such as "gift"
    QString Title; // as a sentence names it, such as "GIFT"
    bool ReadsPackages; // folders and zip archives, not single files alone
    // Whether the content is that of this format. Looks at the beginning, or at
    // the names in a package; never at the name of the source.
    bool (*Suits)(const Source &source);
    // Gives the receiver all items in order, those with a Refusal included.
    // Raises InvalidCall with what is wrong with the source as a whole.
    void (*Read)(const Source &source, const Options &options, Receiver &receiver);
};

// All formats, in the order in which they are tried.
const std::vector<Format> &Formats();

// The format of that name; null when there is none.
const Format *FormatOf(const QString &name);
// The format of the content; null when none suits.
const Format *FormatOf(const Source &source);

// What a content that suits no format seems to be, with what can be done about it,
// such as "a spreadsheet (export it as CSV)".
QString KindOf(const Source &source);

}
