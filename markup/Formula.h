// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

// Formulas in one line of plain text, whatever they were written in. The same
// formula in TeX and in MathML gives the same text.
namespace Formula {

enum class Shape {
    Empty,
    Blank,
    Letter, // a variable, a power, what brackets enclose
    Number,
    Name, // a word of text
    Function, // "sin", a sum: a blank parts it from what it belongs to
    Root, // without brackets
    Mark, // follows what it belongs to: a prime, a factorial, a percent sign
    Operator,
    Relation,
    Comma,
    Opening,
    Closing,
    Bar,
    Fraction,
    Product,
    Sum,
};

// A part of a formula and what its text is like from outside.
struct Part {
    QString Text;
    Formula::Shape Shape = Formula::Shape::Empty;
    // A letter right behind it would read as part of its index or power.
    bool IsOpen = false;
};

// Parts side by side.
class Row {
public:
    void Add(const Part &part);
    bool IsEmpty() const { return m_text.isEmpty(); }
    // One part remains as it is.
    Part Whole() const;

private:
    void Put(const QString &text);
    bool IsParted(const Part &part) const;
    void Count(const Part &part);

    QString m_text;
    Part m_last;
    Part m_only;
    Formula::Shape m_beforeLast = Formula::Shape::Empty;
    int m_parts = 0;
    int m_depth = 0; // of brackets
    int m_factors = 0;
    bool m_isSum = false;
    bool m_isFraction = false;
    bool m_hasBlank = false;
    qsizetype m_fraction = -1; // where the last part, a fraction, begins
};

// A character or a sign, such as "+" or an arrow, in its usual role.
Part Sign(const QString &text);
// What is written in letters: a name of a function such as "sin", or one letter or more.
Part Word(const QString &text);
// What stands in brackets counts as one.
QString Bracketed(const Part &part);

// Empty parts are left out.
Part WithScripts(const Part &base, const Part &lowered, const Part &raised);
Part Fraction(const Part &above, const Part &below);
Part Root(const Part &radicand, const Part &index);
// With a combining character on top. Empty for anything but a letter.
Part WithAccent(const Part &base, char16_t combining);

// Whether it is a letter, a number or something else that needs no brackets.
bool IsOne(const Part &part);

}
