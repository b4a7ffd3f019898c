// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

// Raised and lowered characters in a text without markup.
namespace Scripts {

enum class Side { Raised, Lowered };

// The superscript or subscript character of Unicode for a character; 0 when there
// is none.
char16_t Form(Side side, char16_t plain);

// The character that a superscript or subscript character stands for, and its
// side; 0 for any other character.
struct Plain {
    char16_t Character = 0;
    Scripts::Side Side = Scripts::Side::Raised;
};
Plain PlainOf(char16_t character);

// The text raised or lowered: in the characters of Unicode when it has all of
// them, else as "^2", "^(n+1)", "_i". "next" is what follows, in which case "^n"
// before a letter and "^2" before a digit get brackets. Blanks at the ends and
// around operators go. Empty when the text is blank. What is raised by itself,
// such as a degree sign or a prime, stays as it is.
QString Put(Side side, QStringView text, QChar next = {});

// Only the form with "^" or "_".
QString PutWithSign(Side side, QStringView text, QChar next = {});

// Whether the text behind a number only makes it an ordinal: "st" and "th", the
// French "er" and the like.
bool IsOrdinal(QStringView text);

}
