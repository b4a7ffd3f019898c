// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "markup/Html.h"
#include "markup/Readable.h"

namespace Markup {

// What white space in a text means: what it means in HTML; or line breaks and
// runs of blanks are kept, except line breaks beside the tag of a paragraph, a
// list, a table and the like.
enum class WhiteSpace { Collapsed, Kept };

// The pieces as lines of plain text. Formulas in TeX are still as they were
// written, and "$" and "\" inside code are Shielded.
Readable ReadHtml(const std::vector<Html::Piece> &pieces, WhiteSpace whiteSpace);

// What is said of text that is underlined, struck out or overlined.
QString LinedWarning(Html::Role role);

// The signs of TeX where they are none, as characters that no text has; and the
// text with them back in their places.
constexpr QChar ShieldedDollar = QChar(0xFDD0);
constexpr QChar ShieldedBackslash = QChar(0xFDD1);
QString Shielded(QString text);
QString Unshielded(QString text);

// The text without the characters that have a meaning of their own here: U+FFFD
// in the place of U+FFFC and of what Shielded uses.
QString Sanitized(QString text);

}
