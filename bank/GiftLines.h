// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <optional>
#include <vector>

// Splits a GIFT text into items, without parsing them.
namespace GiftLines {

// Replaces every escape ("\~", "\n" and so on) by one noncharacter, so that the
// parser does not take it for syntax; Restore puts the escaped character in its
// place. A noncharacter in the text itself becomes U+FFFD.
QString Hide(const QString &text);
QString Restore(const QString &text);

struct Piece {
    int Line = 0; // its first line, 1-based
    QString Text; // with hidden escapes, without comment lines
    bool IsUnlimited = false;
    std::optional<QString> Exhibit;
    // More than one exhibit is named for it; Exhibit is the first.
    bool IsAmbiguous = false;
};

// The items in order. Blank lines separate them, except inside an answer block
// that is closed later. Comment and category lines are left out; a directive in a
// comment ("[nolimit]", "[exhibit:name]") applies to the item around it or else to
// the next one. The last piece has an empty Text when a comment names an exhibit
// and no item follows.
std::vector<Piece> Cut(const QString &hiddenText);

}
