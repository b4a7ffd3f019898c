#include "common/Ansi.h"

#include <QLocale>

#include <cerrno>
#include <iconv.h>

using namespace Qt::Literals::StringLiterals;

namespace Ansi {

struct Decoder::System {
    iconv_t converter;

    char16_t Convert(const char *bytes, size_t count) const
    {
        char16_t out[2] = {};
        char *in = const_cast<char *>(bytes);
        char *to = reinterpret_cast<char *>(out);
        size_t room = sizeof out;
        iconv(converter, nullptr, nullptr, nullptr, nullptr);
        errno = 0;
        if (iconv(converter, &in, &count, &to, &room) == static_cast<size_t>(-1))
            return errno == EINVAL ? Lead : NoCharacter;
        // Some converters hold a character back until they are told that no
        // combining mark follows.
        iconv(converter, nullptr, nullptr, &to, &room);
        return room == sizeof out - sizeof(char16_t) ? out[0] : NoCharacter;
    }
};

Decoder::Decoder(int codePage)
    : m_system(std::make_unique<System>())
{
    const QByteArray name = "CP" + QByteArray::number(codePage);
    m_system->converter = iconv_open("UTF-16LE", name.constData());
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
    return m_system->Convert(&in, 1);
}

char16_t Decoder::Pair(uchar lead, uchar trail)
{
    const char in[2] = { static_cast<char>(lead), static_cast<char>(trail) };
    return m_system->Convert(in, 2);
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
