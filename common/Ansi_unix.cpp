// SPDX-License-Identifier: Apache-2.0
#include "common/Ansi.h"

#include <QLocale>

#include <algorithm>
#include <cerrno>
#include <iconv.h>

using namespace Qt::Literals::StringLiterals;

namespace Ansi {

struct Decoder::System {
    iconv_t converter;
    int page;

    char16_t Convert(const char *bytes, size_t count) const
    {
        char16_t out[2] = {};
        char *in = const_cast<char *>(bytes);
        char *to = reinterpret_cast<char *>(out);
        size_t room = sizeof out;
        iconv(converter, nullptr, nullptr, nullptr, nullptr);
        if (iconv(converter, &in, &count, &to, &room) == static_cast<size_t>(-1))
            return errno == EINVAL ? Lead : NoCharacter;
        // Some converters keep a character back until a call says that no
        // combining mark follows.
        iconv(converter, nullptr, nullptr, &to, &room);
        return room == sizeof out - sizeof(char16_t) ? out[0] : NoCharacter;
    }
};

namespace {

// Parts of a page that Windows reads as characters for private use, and
// converters elsewhere as nothing. The second byte counts first through one
// range, then through the other.
struct PrivateArea {
    struct Range {
        uchar First;
        uchar Last;
        int Length() const { return Last - First + 1; }
        bool Has(uchar byte) const { return First <= byte && byte <= Last; }
    };
    int Page;
    Range Leads;
    Range Trails;
    Range MoreTrails;
    char16_t Character; // of the first pair
};

constexpr PrivateArea::Range NoTrails{ 1, 0 };
constexpr PrivateArea PrivateAreas[] = {
    { 936, { 0xAA, 0xAF }, { 0xA1, 0xFE }, NoTrails, 0xE000 },
    { 936, { 0xF8, 0xFE }, { 0xA1, 0xFE }, NoTrails, 0xE234 },
    { 936, { 0xA1, 0xA7 }, { 0x40, 0x7E }, { 0x80, 0xA0 }, 0xE4C6 },
    { 949, { 0xC9, 0xC9 }, { 0xA1, 0xFE }, NoTrails, 0xE000 },
    { 949, { 0xFE, 0xFE }, { 0xA1, 0xFE }, NoTrails, 0xE05E },
    { 950, { 0xFA, 0xFE }, { 0x40, 0x7E }, { 0xA1, 0xFE }, 0xE000 },
    { 950, { 0x8E, 0xA0 }, { 0x40, 0x7E }, { 0xA1, 0xFE }, 0xE311 },
    { 950, { 0x81, 0x8D }, { 0x40, 0x7E }, { 0xA1, 0xFE }, 0xEEB8 },
};

char16_t PrivatePair(int page, uchar lead, uchar trail)
{
    for (const PrivateArea &area : PrivateAreas) {
        if (area.Page != page || !area.Leads.Has(lead) || !(area.Trails.Has(trail) || area.MoreTrails.Has(trail)))
            continue;
        const int row = (lead - area.Leads.First) * (area.Trails.Length() + area.MoreTrails.Length());
        const int place
            = area.Trails.Has(trail) ? trail - area.Trails.First : area.Trails.Length() + trail - area.MoreTrails.First;
        return static_cast<char16_t>(area.Character + row + place);
    }
    return NoCharacter;
}

bool IsPrivateLead(int page, uchar lead)
{
    return std::any_of(std::begin(PrivateAreas), std::end(PrivateAreas),
                       [&](const PrivateArea &area) { return area.Page == page && area.Leads.Has(lead); });
}

}

namespace {

// What a converter calls a page of Windows.
QByteArray ConverterName(int codePage)
{
    if (codePage == 20866)
        return "KOI8-R";
    if (codePage == 21866)
        return "KOI8-U";
    if (codePage > 28590 && codePage <= 28606)
        return "ISO-8859-" + QByteArray::number(codePage - 28590);
    return "CP" + QByteArray::number(codePage);
}

}

Decoder::Decoder(int codePage)
    : m_system(std::make_unique<System>())
{
    m_system->page = codePage;
    m_system->converter = iconv_open("UTF-16LE", ConverterName(codePage).constData());
    if (m_system->converter == reinterpret_cast<iconv_t>(-1))
        m_system->converter = iconv_open("UTF-16LE", "ISO-8859-1");
}

Decoder::~Decoder()
{
    if (m_system->converter != reinterpret_cast<iconv_t>(-1))
        iconv_close(m_system->converter);
}

char16_t Decoder::Single(uchar byte)
{
    const char in = static_cast<char>(byte);
    const char16_t character = m_system->Convert(&in, 1);
    return character == NoCharacter && IsPrivateLead(m_system->page, byte) ? Lead : character;
}

char16_t Decoder::Pair(uchar lead, uchar trail)
{
    const char in[2] = { static_cast<char>(lead), static_cast<char>(trail) };
    const char16_t character = m_system->Convert(in, 2);
    return character == NoCharacter ? PrivatePair(m_system->page, lead, trail) : character;
}

namespace {

// A name such as "sr_RS.UTF-8@latin". QLocale does not look at what stands
// behind the "@", which can name another script.
QLocale LocaleOf(const QByteArray &name)
{
    const QString language = QString::fromLatin1(name).section(u'@', 0, 0).section(u'.', 0, 0).section(u'_', 0, 0);
    if (name.endsWith("@latin"))
        return QLocale(language + u"_Latn"_s);
    if (name.endsWith("@cyrillic"))
        return QLocale(language + u"_Cyrl"_s);
    return QLocale(QString::fromLatin1(name));
}

}

int SystemPageNumber()
{
    for (const char *name : { "LC_ALL", "LC_CTYPE", "LANG" }) {
        if (const QByteArray value = qgetenv(name); !value.isEmpty())
            return CodePageOf(LocaleOf(value));
    }
    return CodePageOf(QLocale::c());
}

const CodePage &SystemCodePage()
{
    static const CodePage page(SystemPageNumber());
    return page;
}

}
