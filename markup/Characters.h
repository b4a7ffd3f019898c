// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <functional>

// Characters of plain texts that say nothing, or that others can stand for. A
// text of ASCII alone comes back as it is. All are in linear time, and done twice
// they give the same.
namespace Characters {

// Without characters of no width: spaces and joiners of zero width, byte order
// marks, soft hyphens. Joiners stay inside a word of a script that needs them and
// in a sequence of emoji; marks and embeddings of direction stay in a text that
// has letters written from right to left.
QString Clean(const QString &text);

// Whether others can stand for the character without any loss of meaning:
// typographic blanks, hyphens, dashes, quotation marks, ligatures, letters and
// digits of full width, and the like.
bool IsSoft(char32_t character);

// The text in characters that are held, as far as others can stand for what is
// not: soft ones as above, fractions as "1/2", and a run of superscripts or
// subscripts of which one is not held as "^2", "_(i+1)"; ordinal signs as "^a". What nothing can stand
// for stays.
QString Fit(const QString &text, const std::function<bool(char32_t)> &holds);

// The text with signs, arrows and relations in ASCII: "->", "<=", "!=", "*", "sqrt",
// "^2", and soft characters as above. Letters and other characters stay.
QString Ascii(const QString &text);

}
