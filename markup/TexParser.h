// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "markup/Formula.h"

namespace Tex {

// Reads one formula, which stands without its delimiters.
class Parser {
public:
    explicit Parser(QStringView formula)
        : m_text(formula)
    {
    }

    // Of the shape Empty for what is not understood.
    Formula::Part Parse();

private:
    bool AtEnd() const { return m_at >= m_text.size(); }
    QChar Here() const { return AtEnd() ? QChar() : m_text.at(m_at); }
    void SkipBlanks();
    void Fail();
    bool SkipLimits();

    Formula::Part ReadRow(QChar end);
    Formula::Part ReadTerm();
    Formula::Part ReadAtom();
    Formula::Part ReadNumber();
    Formula::Part ReadCommand();
    Formula::Part ReadNamed(QStringView name);
    Formula::Part ReadScript(QStringView name);
    Formula::Part ReadLetters(QStringView name);
    Formula::Part ReadDelimiter();
    Formula::Part ReadNegated();
    Formula::Part ReadRoot();
    Formula::Part ReadArgument();
    Formula::Part ReadOptional();
    // What stands in braces, as it is written.
    QStringView ReadGroup();

    QStringView m_text;
    qsizetype m_at = 0;
    int m_depth = 0;
    bool m_isFailed = false;
};

}
