// SPDX-License-Identifier: Apache-2.0
#include "bank/Formats.h"

#include "bank/Aiken.h"
#include "bank/Gift.h"
#include "bank/H5p.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace Bank {

const std::vector<Format> &Formats()
{
    static const std::vector<Format> formats = {
        { u"aiken"_s, u"Aiken"_s, Aiken::Suits, Aiken::Read },
        { u"gift"_s, u"GIFT"_s, Gift::Suits, Gift::Read },
        { u"h5p"_s, u"H5P"_s, H5p::Suits, H5p::Read },
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

QString KindOf(const Source &source)
{
    if (source.Bytes.isEmpty())
        return u"an empty file"_s;
    if (source.Bytes.startsWith("%PDF-"))
        return u"a PDF document"_s;
    return source.Bytes.first(std::min<qsizetype>(source.Bytes.size(), 4096)).contains('\0') ? u"a binary file"_s : u"a text"_s;
}

}
