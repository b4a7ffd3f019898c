// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <optional>
#include <vector>

// Cuts a GIFT text into items, before anything of an item is understood.
namespace GiftLines {

// An escaped character is kept out of the parser's sight as a character that
// no text holds; Restore brings what was escaped back.
QString Hide(const QString &text);
QString Restore(const QString &text);

struct Piece {
    int Line = 0; // of its first line, 1-based
    QString Text; // hidden escapes, no comment lines
    bool IsUnlimited = false;
    std::optional<QString> Exhibit;
    // Two exhibits were named for it.
    bool IsAmbiguous = false;
};

// Blank lines part the items, except inside an answer block that is closed
// later on. Comment and category lines are left out; what a comment asks for
// holds for the item that it stands in or that comes next.
std::vector<Piece> Cut(const QString &hiddenText);

}
