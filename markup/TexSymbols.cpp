// SPDX-License-Identifier: Apache-2.0
#include "markup/TexSymbols.h"

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace Tex {

namespace {

struct Symbol {
    QLatin1StringView Name;
    char16_t Character;
};

// In the order of their names.
constexpr std::array Symbols = {
    Symbol{ "#"_L1, u'#' },
    Symbol{ "$"_L1, u'$' },
    Symbol{ "%"_L1, u'%' },
    Symbol{ "&"_L1, u'&' },
    Symbol{ "Delta"_L1, u'\u0394' },
    Symbol{ "Gamma"_L1, u'\u0393' },
    Symbol{ "Im"_L1, u'\u2111' },
    Symbol{ "Lambda"_L1, u'\u039B' },
    Symbol{ "Leftarrow"_L1, u'\u21D0' },
    Symbol{ "Leftrightarrow"_L1, u'\u21D4' },
    Symbol{ "Longleftrightarrow"_L1, u'\u21D4' },
    Symbol{ "Longrightarrow"_L1, u'\u21D2' },
    Symbol{ "Omega"_L1, u'\u03A9' },
    Symbol{ "Phi"_L1, u'\u03A6' },
    Symbol{ "Pi"_L1, u'\u03A0' },
    Symbol{ "Psi"_L1, u'\u03A8' },
    Symbol{ "Re"_L1, u'\u211C' },
    Symbol{ "Rightarrow"_L1, u'\u21D2' },
    Symbol{ "Sigma"_L1, u'\u03A3' },
    Symbol{ "Theta"_L1, u'\u0398' },
    Symbol{ "Upsilon"_L1, u'\u03A5' },
    Symbol{ "Vert"_L1, u'\u2016' },
    Symbol{ "Xi"_L1, u'\u039E' },
    Symbol{ "_"_L1, u'_' },
    Symbol{ "alpha"_L1, u'\u03B1' },
    Symbol{ "angle"_L1, u'\u2220' },
    Symbol{ "approx"_L1, u'\u2248' },
    Symbol{ "ast"_L1, u'*' },
    Symbol{ "beta"_L1, u'\u03B2' },
    Symbol{ "bigcap"_L1, u'\u22C2' },
    Symbol{ "bigcup"_L1, u'\u22C3' },
    Symbol{ "bot"_L1, u'\u22A5' },
    Symbol{ "bullet"_L1, u'\u2022' },
    Symbol{ "cap"_L1, u'\u2229' },
    Symbol{ "cdot"_L1, u'\u00B7' },
    Symbol{ "cdots"_L1, u'\u2026' },
    Symbol{ "chi"_L1, u'\u03C7' },
    Symbol{ "circ"_L1, u'\u2218' },
    Symbol{ "colon"_L1, u':' },
    Symbol{ "cong"_L1, u'\u2245' },
    Symbol{ "cup"_L1, u'\u222A' },
    Symbol{ "dagger"_L1, u'\u2020' },
    Symbol{ "degree"_L1, u'\u00B0' },
    Symbol{ "delta"_L1, u'\u03B4' },
    Symbol{ "div"_L1, u'\u00F7' },
    Symbol{ "dots"_L1, u'\u2026' },
    Symbol{ "downarrow"_L1, u'\u2193' },
    Symbol{ "ell"_L1, u'\u2113' },
    Symbol{ "emptyset"_L1, u'\u2205' },
    Symbol{ "epsilon"_L1, u'\u03B5' },
    Symbol{ "equiv"_L1, u'\u2261' },
    Symbol{ "eta"_L1, u'\u03B7' },
    Symbol{ "euro"_L1, u'\u20AC' },
    Symbol{ "exists"_L1, u'\u2203' },
    Symbol{ "forall"_L1, u'\u2200' },
    Symbol{ "gamma"_L1, u'\u03B3' },
    Symbol{ "ge"_L1, u'\u2265' },
    Symbol{ "geq"_L1, u'\u2265' },
    Symbol{ "geqslant"_L1, u'\u2265' },
    Symbol{ "gets"_L1, u'\u2190' },
    Symbol{ "gg"_L1, u'\u226B' },
    Symbol{ "gt"_L1, u'>' },
    Symbol{ "hbar"_L1, u'\u210F' },
    Symbol{ "iff"_L1, u'\u21D4' },
    Symbol{ "iiint"_L1, u'\u222D' },
    Symbol{ "iint"_L1, u'\u222C' },
    Symbol{ "implies"_L1, u'\u21D2' },
    Symbol{ "in"_L1, u'\u2208' },
    Symbol{ "infty"_L1, u'\u221E' },
    Symbol{ "int"_L1, u'\u222B' },
    Symbol{ "iota"_L1, u'\u03B9' },
    Symbol{ "kappa"_L1, u'\u03BA' },
    Symbol{ "lambda"_L1, u'\u03BB' },
    Symbol{ "land"_L1, u'\u2227' },
    Symbol{ "langle"_L1, u'\u27E8' },
    Symbol{ "lbrace"_L1, u'{' },
    Symbol{ "lbrack"_L1, u'[' },
    Symbol{ "lceil"_L1, u'\u2308' },
    Symbol{ "ldots"_L1, u'\u2026' },
    Symbol{ "le"_L1, u'\u2264' },
    Symbol{ "leftarrow"_L1, u'\u2190' },
    Symbol{ "leftrightarrow"_L1, u'\u2194' },
    Symbol{ "leq"_L1, u'\u2264' },
    Symbol{ "leqslant"_L1, u'\u2264' },
    Symbol{ "lfloor"_L1, u'\u230A' },
    Symbol{ "ll"_L1, u'\u226A' },
    Symbol{ "lnot"_L1, u'\u00AC' },
    Symbol{ "longleftarrow"_L1, u'\u2190' },
    Symbol{ "longrightarrow"_L1, u'\u2192' },
    Symbol{ "lor"_L1, u'\u2228' },
    Symbol{ "lt"_L1, u'<' },
    Symbol{ "lvert"_L1, u'|' },
    Symbol{ "mapsto"_L1, u'\u21A6' },
    Symbol{ "mid"_L1, u'|' },
    Symbol{ "models"_L1, u'\u22A8' },
    Symbol{ "mp"_L1, u'\u2213' },
    Symbol{ "mu"_L1, u'\u03BC' },
    Symbol{ "nabla"_L1, u'\u2207' },
    Symbol{ "ne"_L1, u'\u2260' },
    Symbol{ "neg"_L1, u'\u00AC' },
    Symbol{ "neq"_L1, u'\u2260' },
    Symbol{ "ni"_L1, u'\u220B' },
    Symbol{ "notin"_L1, u'\u2209' },
    Symbol{ "nu"_L1, u'\u03BD' },
    Symbol{ "oint"_L1, u'\u222E' },
    Symbol{ "omega"_L1, u'\u03C9' },
    Symbol{ "oplus"_L1, u'\u2295' },
    Symbol{ "otimes"_L1, u'\u2297' },
    Symbol{ "parallel"_L1, u'\u2225' },
    Symbol{ "partial"_L1, u'\u2202' },
    Symbol{ "perp"_L1, u'\u22A5' },
    Symbol{ "phi"_L1, u'\u03C6' },
    Symbol{ "pi"_L1, u'\u03C0' },
    Symbol{ "pm"_L1, u'\u00B1' },
    Symbol{ "prime"_L1, u'\u2032' },
    Symbol{ "prod"_L1, u'\u220F' },
    Symbol{ "propto"_L1, u'\u221D' },
    Symbol{ "psi"_L1, u'\u03C8' },
    Symbol{ "rangle"_L1, u'\u27E9' },
    Symbol{ "rbrace"_L1, u'}' },
    Symbol{ "rbrack"_L1, u']' },
    Symbol{ "rceil"_L1, u'\u2309' },
    Symbol{ "rfloor"_L1, u'\u230B' },
    Symbol{ "rho"_L1, u'\u03C1' },
    Symbol{ "rightarrow"_L1, u'\u2192' },
    Symbol{ "rightleftharpoons"_L1, u'\u21CC' },
    Symbol{ "rvert"_L1, u'|' },
    Symbol{ "setminus"_L1, u'\u2216' },
    Symbol{ "sigma"_L1, u'\u03C3' },
    Symbol{ "sim"_L1, u'\u223C' },
    Symbol{ "simeq"_L1, u'\u2243' },
    Symbol{ "subset"_L1, u'\u2282' },
    Symbol{ "subseteq"_L1, u'\u2286' },
    Symbol{ "sum"_L1, u'\u2211' },
    Symbol{ "supset"_L1, u'\u2283' },
    Symbol{ "supseteq"_L1, u'\u2287' },
    Symbol{ "tau"_L1, u'\u03C4' },
    Symbol{ "theta"_L1, u'\u03B8' },
    Symbol{ "times"_L1, u'\u00D7' },
    Symbol{ "to"_L1, u'\u2192' },
    Symbol{ "top"_L1, u'\u22A4' },
    Symbol{ "triangle"_L1, u'\u25B3' },
    Symbol{ "uparrow"_L1, u'\u2191' },
    Symbol{ "upsilon"_L1, u'\u03C5' },
    Symbol{ "varepsilon"_L1, u'\u03B5' },
    Symbol{ "varnothing"_L1, u'\u2205' },
    Symbol{ "varphi"_L1, u'\u03C6' },
    Symbol{ "varrho"_L1, u'\u03C1' },
    Symbol{ "vartheta"_L1, u'\u03B8' },
    Symbol{ "vdash"_L1, u'\u22A2' },
    Symbol{ "vdots"_L1, u'\u22EE' },
    Symbol{ "vee"_L1, u'\u2228' },
    Symbol{ "vert"_L1, u'|' },
    Symbol{ "wedge"_L1, u'\u2227' },
    Symbol{ "xi"_L1, u'\u03BE' },
    Symbol{ "zeta"_L1, u'\u03B6' },
    Symbol{ "{"_L1, u'{' },
    Symbol{ "|"_L1, u'\u2016' },
    Symbol{ "}"_L1, u'}' },
};

}

Formula::Part SymbolOf(QStringView command)
{
    const auto found = std::lower_bound(Symbols.begin(), Symbols.end(), command,
                                        [](const Symbol &one, QStringView name) { return name.compare(one.Name) > 0; });
    if (found != Symbols.end() && command == found->Name)
        return Formula::Sign(QString(QChar(found->Character)));
    const Formula::Part word = Formula::Word(command.toString());
    return word.Shape == Formula::Shape::Function ? word : Formula::Part();
}

QString DoubleStruck(QStringView letters)
{
    static constexpr std::u16string_view plain = u"CHNPQRZ";
    static constexpr std::u16string_view forms = u"\u2102\u210D\u2115\u2119\u211A\u211D\u2124";
    QString result;
    for (const QChar c : letters) {
        const size_t found = plain.find(c.unicode());
        result += found == plain.npos ? c : QChar(forms.at(found));
    }
    return result;
}

}
