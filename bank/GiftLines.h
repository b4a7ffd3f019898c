// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <functional>
#include <optional>

// Splits a GIFT text into items, without parsing them.
namespace GiftLines {

// Replaces every escape ("\~", "\n" and so on) in the text by one noncharacter, so
// that the parser does not take it for syntax; Restore puts the escaped character in
// its place. A noncharacter in the text itself becomes U+FFFD.
void Hide(QString &text);
QString Restore(QStringView text);

struct Piece {
    int Line = 0; // its first line, 1-based
    // With hidden escapes, without comment lines; gone when the next piece is cut.
    QStringView Text;
    bool IsUnlimited = false;
    std::optional<QString> Exhibit;
    // More than one exhibit is named for it; Exhibit is the first.
    bool IsAmbiguous = false;
    // What a category line says; such a piece has nothing else but its line.
    std::optional<QStringView> Category;
};

// Gives the items and category lines in order. Blank lines separate items, except
// inside an answer block that is closed later. Comment lines are left out; a
// directive in a comment ("[nolimit]", "[exhibit:name]") applies to the item around
// it or else to the next one. The last piece has an empty Text when a comment names
// an exhibit and no item follows.
void Cut(QStringView hiddenText, const std::function<void(const Piece &)> &take);

}
