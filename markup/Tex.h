// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// Formulas in TeX as plain text in one line: powers, indices, fractions, roots,
// Greek letters, relations, arrows, sets, names of functions, sums and
// integrals, words.
namespace Tex {

// The formula without its delimiters as it can be read; none when it holds a
// command or an environment that is not understood.
std::optional<QString> Read(QStringView formula);

// Which delimiters count. "$...$" is a formula only when a character that is no
// blank stands at both ends inside, no letter or digit at either side, and it
// holds a command, a script or nothing but short names and operators: money,
// variables of a shell and the like stay.
enum class Delimiters {
    All, // $...$, $$...$$, \(...\), \[...\]
    Brackets, // \(...\), \[...\]
    Escaped // also \\(...\\) and \\[...\\]: Markdown, in which a backslash needs one
};

// What becomes of a formula's text before it is put into the other text.
using Escape = QString (*)(const QString &text);

// The text with its formulas made readable; in linear time. One that is too
// complex stays as it is written, with a warning.
QString ReplacedIn(const QString &text, Delimiters delimiters, QStringList &warnings, Escape escape = nullptr);

// What is said of a formula that stays as it is written.
QString TooComplex(QStringView formula);

}
