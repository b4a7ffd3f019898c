// SPDX-License-Identifier: Apache-2.0
#include "bank/Formats.h"

#include "bank/Aiken.h"
#include "bank/Gift.h"
#include "bank/H5p.h"
#include "bank/MoodleXml.h"
#include "bank/Qti1.h"
#include "bank/Qti2.h"
#include "bank/Table.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace Bank {

const std::vector<Format> &Formats()
{
    static const std::vector<Format> formats = {
        { u"qti2"_s, u"QTI 2.1, 2.2 and 3.0: items, tests, packages"_s, true, Qti2::Suits, Qti2::Read },
        { u"qti1"_s, u"QTI 1.2: files, packages, Common Cartridge"_s, true, Qti1::Suits, Qti1::Read },
        { u"moodle"_s, u"Moodle XML"_s, false, MoodleXml::Suits, MoodleXml::Read },
        { u"h5p"_s, u"H5P question sets"_s, true, H5p::Suits, H5p::Read },
        { u"aiken"_s, u"Aiken"_s, false, Aiken::Suits, Aiken::Read },
        { u"csv"_s, u"CSV and TSV: tables"_s, false, Table::Suits, Table::Read },
        { u"gift"_s, u"GIFT"_s, false, Gift::Suits, Gift::Read },
    };
    return formats;
}

const Format *FormatOf(const QString &name)
{
    const auto found = std::find_if(Formats().begin(), Formats().end(), [&](const Format &each) { return each.Name == name; });
    return found == Formats().end() ? nullptr : &*found;
}

const Format *FormatOf(const Source &source)
{
    const auto found = std::find_if(Formats().begin(), Formats().end(), [&](const Format &each) { return each.Suits(source); });
    return found == Formats().end() ? nullptr : &*found;
}

}
