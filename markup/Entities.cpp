// SPDX-License-Identifier: Apache-2.0
#include "markup/Entities.h"

#include <QHash>
#include <QTextDocument>

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace Entities {

namespace {

constexpr qsizetype LongestName = 32;

// U+0080 to U+009F as browsers take them.
constexpr std::u16string_view Controls
    = u"\u20AC\u0081\u201A\u0192\u201E\u2026\u2020\u2021\u02C6\u2030\u0160\u2039\u0152\u008D\u017D\u008F"
      u"\u0090\u2018\u2019\u201C\u201D\u2022\u2013\u2014\u02DC\u2122\u0161\u203A\u0153\u009D\u017E\u0178";

struct Named {
    QLatin1StringView Name;
    char16_t Character;
};

// What editors write and Qt's reader of HTML does not know; in order.
constexpr std::array More = {
    Named{ "ApplyFunction"_L1, u'\u2061' },
    Named{ "InvisibleTimes"_L1, u'\u2062' },
    Named{ "NewLine"_L1, u' ' },
    Named{ "Tab"_L1, u' ' },
    Named{ "af"_L1, u'\u2061' },
    Named{ "ast"_L1, u'*' },
    Named{ "bsol"_L1, u'\\' },
    Named{ "check"_L1, u'\u2713' },
    Named{ "colon"_L1, u':' },
    Named{ "comma"_L1, u',' },
    Named{ "commat"_L1, u'@' },
    Named{ "cross"_L1, u'\u2717' },
    Named{ "dollar"_L1, u'$' },
    Named{ "equals"_L1, u'=' },
    Named{ "excl"_L1, u'!' },
    Named{ "frac13"_L1, u'\u2153' },
    Named{ "frac23"_L1, u'\u2154' },
    Named{ "geq"_L1, u'\u2265' },
    Named{ "grave"_L1, u'`' },
    Named{ "half"_L1, u'\u00BD' },
    Named{ "hyphen"_L1, u'\u2010' },
    Named{ "it"_L1, u'\u2062' },
    Named{ "lbrace"_L1, u'{' },
    Named{ "lbrack"_L1, u'[' },
    Named{ "lcub"_L1, u'{' },
    Named{ "leq"_L1, u'\u2264' },
    Named{ "lowbar"_L1, u'_' },
    Named{ "lpar"_L1, u'(' },
    Named{ "lsqb"_L1, u'[' },
    Named{ "nbsp"_L1, u'\u00A0' },
    Named{ "num"_L1, u'#' },
    Named{ "percnt"_L1, u'%' },
    Named{ "period"_L1, u'.' },
    Named{ "plus"_L1, u'+' },
    Named{ "pm"_L1, u'\u00B1' },
    Named{ "quest"_L1, u'?' },
    Named{ "rbrace"_L1, u'}' },
    Named{ "rbrack"_L1, u']' },
    Named{ "rcub"_L1, u'}' },
    Named{ "rpar"_L1, u')' },
    Named{ "rsqb"_L1, u']' },
    Named{ "semi"_L1, u';' },
    Named{ "sol"_L1, u'/' },
    Named{ "verbar"_L1, u'|' },
    Named{ "vert"_L1, u'|' },
};

QString Numbered(QStringView digits)
{
    const bool isHexadecimal = digits.startsWith(u'x', Qt::CaseInsensitive);
    const QStringView value = isHexadecimal ? digits.sliced(1) : digits;
    constexpr qsizetype longest = 7;
    bool isNumber = false;
    const uint code = value.size() > longest ? 0 : value.toUInt(&isNumber, isHexadecimal ? 16 : 10);
    if (!isNumber)
        return {};
    if (code >= 0x80 && code < 0xA0)
        return QString(QChar(Controls.at(code - 0x80)));
    const bool isCharacter
        = code > 0 && code <= QChar::LastValidCodePoint && !QChar::isSurrogate(code) && !QChar::isNonCharacter(code);
    const char32_t character = isCharacter ? code : static_cast<char32_t>(QChar::ReplacementCharacter);
    return QStringView(QChar::fromUcs4(character)).toString();
}

QString LookedUp(const QString &name)
{
    const auto more = std::lower_bound(More.begin(), More.end(), name,
                                       [](const Named &one, const QString &wanted) { return one.Name < wanted; });
    if (more != More.end() && more->Name == name)
        return QString(QChar(more->Character));
    // White space at the ends would be lost.
    const QString entity = u'&' + name + u';';
    QTextDocument document;
    document.setHtml(u'x' + entity + u'x');
    const QString text = document.toRawText();
    const QString result = text.mid(1, text.size() - 2);
    return result == entity ? QString() : result;
}

}

QString TextOf(QStringView entity)
{
    const QStringView name = entity.mid(1, entity.size() - 2);
    if (name == "lt"_L1)
        return u"<"_s;
    if (name == "gt"_L1)
        return u">"_s;
    if (name == "amp"_L1)
        return u"&"_s;
    if (name == "nbsp"_L1)
        return u"\u00A0"_s;
    if (name.startsWith(u'#'))
        return Numbered(name.sliced(1));
    if (name.isEmpty() || name.size() > LongestName)
        return {};
    static QHash<QString, QString> texts;
    const QString key = name.toString();
    if (const auto found = texts.constFind(key); found != texts.cend())
        return *found;
    constexpr qsizetype mostRemembered = 4096;
    if (texts.size() >= mostRemembered)
        texts.clear();
    return *texts.insert(key, LookedUp(key));
}

QString Resolved(QStringView text)
{
    QString result;
    qsizetype done = 0;
    for (qsizetype at = text.indexOf(u'&'); at >= 0; at = text.indexOf(u'&', at + 1)) {
        const qsizetype end = text.mid(at, LongestName + 2).indexOf(u';');
        const QString character = end > 1 ? TextOf(text.sliced(at, end + 1)) : QString();
        if (character.isNull())
            continue;
        result += text.sliced(done, at - done);
        result += character;
        done = at + end + 1;
    }
    result += text.sliced(done);
    return result;
}

}
