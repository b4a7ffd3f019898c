// SPDX-License-Identifier: Apache-2.0
#include "bank/Entities.h"

#include <QHash>

using namespace Qt::Literals::StringLiterals;

namespace Bank {

namespace {

// The names of characters that follow one another; "-" for one without a name.
struct Run {
    char16_t First;
    QStringView Names;
};

constexpr Run Runs[] = {
    { 0xA0,
      u"nbsp iexcl cent pound curren yen brvbar sect uml copy ordf laquo not shy reg macr deg plusmn sup2 sup3 acute micro "
      u"para middot cedil sup1 ordm raquo frac14 frac12 frac34 iquest Agrave Aacute Acirc Atilde Auml Aring AElig Ccedil "
      u"Egrave Eacute Ecirc Euml Igrave Iacute Icirc Iuml ETH Ntilde Ograve Oacute Ocirc Otilde Ouml times Oslash Ugrave "
      u"Uacute Ucirc Uuml Yacute THORN szlig agrave aacute acirc atilde auml aring aelig ccedil egrave eacute ecirc euml "
      u"igrave iacute icirc iuml eth ntilde ograve oacute ocirc otilde ouml divide oslash ugrave uacute ucirc uuml yacute "
      u"thorn yuml" },
    { 0x152, u"OElig oelig" },
    { 0x160, u"Scaron scaron" },
    { 0x178, u"Yuml" },
    { 0x192, u"fnof" },
    { 0x2C6, u"circ" },
    { 0x2DC, u"tilde" },
    { 0x391,
      u"Alpha Beta Gamma Delta Epsilon Zeta Eta Theta Iota Kappa Lambda Mu Nu Xi Omicron Pi Rho - Sigma Tau Upsilon Phi Chi "
      u"Psi Omega" },
    { 0x3B1,
      u"alpha beta gamma delta epsilon zeta eta theta iota kappa lambda mu nu xi omicron pi rho sigmaf sigma tau upsilon phi "
      u"chi psi omega" },
    { 0x3D1, u"thetasym upsih - - - piv" },
    { 0x2002, u"ensp emsp" },
    { 0x2009,
      u"thinsp - - zwnj zwj lrm rlm - - - ndash mdash - - - lsquo rsquo sbquo - ldquo rdquo bdquo - dagger Dagger bull - - - "
      u"hellip" },
    { 0x2030, u"permil - prime Prime" },
    { 0x2039, u"lsaquo rsaquo - - - oline" },
    { 0x2044, u"frasl" },
    { 0x20AC, u"euro" },
    { 0x2111, u"image" },
    { 0x2118, u"weierp - - - real" },
    { 0x2122, u"trade" },
    { 0x2135, u"alefsym" },
    { 0x2190, u"larr uarr rarr darr harr" },
    { 0x21B5, u"crarr" },
    { 0x21D0, u"lArr uArr rArr dArr hArr" },
    { 0x2200, u"forall - part exist - empty - nabla isin notin - ni - - - prod - sum minus" },
    { 0x2217, u"lowast - - radic - - prop infin - ang" },
    { 0x2227, u"and or cap cup int" },
    { 0x2234, u"there4" },
    { 0x223C, u"sim" },
    { 0x2245, u"cong - - asymp" },
    { 0x2260, u"ne equiv - - le ge" },
    { 0x2282, u"sub sup nsub - sube supe" },
    { 0x2295, u"oplus - otimes" },
    { 0x22A5, u"perp" },
    { 0x22C5, u"sdot" },
    { 0x2308, u"lceil rceil lfloor rfloor" },
    { 0x2329, u"lang rang" },
    { 0x25CA, u"loz" },
    { 0x2660, u"spades - - clubs - hearts diams" },
};

QHash<QString, QString> CharactersByName()
{
    QHash<QString, QString> characters;
    for (const Run &run : Runs) {
        char16_t character = run.First;
        for (const QStringView name : run.Names.split(u' ')) {
            if (name != u"-")
                characters.insert(name.toString(), QChar(character));
            ++character;
        }
    }
    return characters;
}

}

QString CharacterOf(const QString &entity)
{
    static const QHash<QString, QString> characters = CharactersByName();
    return characters.value(entity);
}

}
