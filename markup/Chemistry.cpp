// SPDX-License-Identifier: Apache-2.0
#include "markup/Chemistry.h"

#include "markup/Scripts.h"

using namespace Qt::Literals::StringLiterals;

namespace Chemistry {

namespace {

bool IsSign(QChar c)
{
    return c == u'+' || c == u'-';
}

bool IsBehindElement(const QString &text)
{
    return !text.isEmpty() && (text.back().isLetter() || text.back() == u')' || text.back() == u']');
}

// The end of a script behind "^" or "_": what is in braces, or digits with a sign.
qsizetype ScriptEnd(QStringView formula, qsizetype at)
{
    if (at < formula.size() && formula.at(at) == u'{')
        return formula.indexOf(u'}', at) + 1;
    while (at < formula.size() && formula.at(at).isDigit())
        ++at;
    return at < formula.size() && IsSign(formula.at(at)) ? at + 1 : at;
}

}

QString Read(QStringView formula)
{
    struct Arrow {
        QLatin1StringView Written;
        char16_t Character;
    };
    QString text;
    for (qsizetype at = 0; at < formula.size();) {
        const QChar c = formula.at(at);
        const QStringView rest = formula.sliced(at);
        bool isArrow = false;
        for (const Arrow arrow :
             { Arrow{ "<=>"_L1, u'\u21CC' }, { "<->"_L1, u'\u2194' }, { "->"_L1, u'\u2192' }, { "<-"_L1, u'\u2190' } }) {
            if (!isArrow && rest.startsWith(arrow.Written)) {
                isArrow = true;
                text += QChar(arrow.Character);
                at += arrow.Written.size();
            }
        }
        if (isArrow)
            continue;
        if (c == u'^' || c == u'_') {
            const qsizetype end = ScriptEnd(formula, at + 1);
            if (end <= at + 1)
                return {};
            const QString script = formula.sliced(at + 1, end - at - 1).toString().remove(u'{').remove(u'}');
            text += Scripts::Put(c == u'^' ? Scripts::Side::Raised : Scripts::Side::Lowered, script);
            at = end;
        } else if (c.isDigit()) {
            qsizetype end = at;
            while (end < formula.size() && formula.at(end).isDigit())
                ++end;
            const QStringView digits = formula.sliced(at, end - at);
            text += IsBehindElement(text) ? Scripts::Put(Scripts::Side::Lowered, digits) : digits.toString();
            at = end;
        } else if (IsSign(c) && !text.isEmpty() && !text.back().isSpace()
                   && (rest.size() == 1 || !rest.at(1).isLetterOrNumber())) {
            text += Scripts::Put(Scripts::Side::Raised, QString(c));
            ++at;
        } else if (c.isLetter() || c.isSpace() || IsSign(c) || c == u'=' || u"()[],"_s.contains(c)) {
            text += c;
            ++at;
        } else if (c == u'.' || c == u'*') {
            text += u'\u00B7';
            ++at;
        } else {
            return {};
        }
    }
    return text.simplified();
}

}
