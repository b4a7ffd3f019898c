// SPDX-License-Identifier: Apache-2.0
#include "common/Ansi.h"

#include <QLocale>

#include <windows.h>

namespace Ansi {

namespace {

constexpr UINT Latin1 = 28591;

}

struct Decoder::System {
    UINT codePage;

    char16_t Convert(const char *bytes, int count) const
    {
        wchar_t out[2] = {};
        const int length = MultiByteToWideChar(codePage, MB_ERR_INVALID_CHARS, bytes, count, out, 2);
        if (length != 1)
            return NoCharacter;
        const char16_t character = static_cast<char16_t>(out[0]);
        // What the system makes of a byte without a meaning: a control
        // character or one of nobody's own.
        const bool isControl = codePage != Latin1 && character >= 0x80 && character < 0xA0;
        const bool isPrivate = character >= 0xE000 && character < 0xF900;
        return isControl || (count == 1 && isPrivate) ? NoCharacter : character;
    }
};

Decoder::Decoder(int codePage)
    : m_system(std::make_unique<System>())
{
    m_system->codePage = IsValidCodePage(static_cast<UINT>(codePage)) ? static_cast<UINT>(codePage) : Latin1;
}

Decoder::~Decoder() = default;

char16_t Decoder::Single(uchar byte)
{
    if (IsDBCSLeadByteEx(m_system->codePage, byte))
        return Lead;
    const char in = static_cast<char>(byte);
    return m_system->Convert(&in, 1);
}

char16_t Decoder::Pair(uchar lead, uchar trail)
{
    const char in[2] = { static_cast<char>(lead), static_cast<char>(trail) };
    return m_system->Convert(in, 2);
}

// A process or a whole system can be set to UTF-8. A file that does not name its page
// is in that of the language, which other systems go by: so it is here, too.
int SystemPageNumber()
{
    UINT page = GetACP();
    if (page != CP_UTF8)
        return static_cast<int>(page);
    DWORD number = 0;
    const int length = GetLocaleInfoW(LOCALE_SYSTEM_DEFAULT, LOCALE_IDEFAULTANSICODEPAGE | LOCALE_RETURN_NUMBER,
                                      reinterpret_cast<wchar_t *>(&number), sizeof number / sizeof(wchar_t));
    page = length > 0 ? number : 0;
    return page != CP_UTF8 && page > CP_THREAD_ACP ? static_cast<int>(page) : CodePageOf(QLocale::system());
}

const CodePage &SystemCodePage()
{
    static const CodePage page(SystemPageNumber());
    return page;
}

}
