// SPDX-License-Identifier: Apache-2.0
#include "author/TextPage.h"

#include "common/Ansi.h"
#include "markup/Characters.h"

#include <QList>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace TextPage {

namespace {

constexpr int NarrowPages[] = { 874, 1250, 1251, 1252, 1253, 1254, 1255, 1256, 1257, 1258 };

bool Holds(const Ansi::CodePage &page, char32_t character)
{
    const char16_t pair[] = { QChar::highSurrogate(character), QChar::lowSurrogate(character) };
    const char16_t single = static_cast<char16_t>(character);
    return page.CanHold(QChar::requiresSurrogates(character) ? QStringView(pair, 2) : QStringView(&single, 1));
}

}

void Repertoire::Add(QStringView text)
{
    for (const QChar c : text) {
        if (c.isSurrogate())
            m_isBeyond = true;
        else if (c > u'\x7F')
            m_characters.set(c.unicode());
    }
}

bool Repertoire::IsHeldBy(int number) const
{
    const Ansi::CodePage &page = Ansi::PageOf(number);
    for (size_t code = 0x80; code < m_characters.size(); ++code) {
        const auto character = static_cast<char32_t>(code);
        if (m_characters.test(code) && !Holds(page, character) && !Characters::IsSoft(character))
            return false;
    }
    return true;
}

int Repertoire::NarrowestPage() const
{
    const int system = Ansi::SystemCodePage().Number();
    if (m_isBeyond)
        return Ansi::Utf8;
    if (IsHeldBy(system))
        return system;
    const auto *const page
        = std::find_if(std::begin(NarrowPages), std::end(NarrowPages), [this](int each) { return IsHeldBy(each); });
    return page == std::end(NarrowPages) ? Ansi::Utf8 : *page;
}

QString Fitted(const QString &text, int number)
{
    const Ansi::CodePage &page = Ansi::PageOf(number);
    if (page.CanHold(text))
        return text;
    return Characters::Fit(text, [&page](char32_t character) { return Holds(page, character); });
}

QString Lacking(const QString &text, int number)
{
    const Ansi::CodePage &page = Ansi::PageOf(number);
    if (page.CanHold(text))
        return {};
    for (const char32_t character : text.toUcs4()) {
        if (!Holds(page, character))
            return u"\"%1\" (U+%2)"_s.arg(QString::fromUcs4(&character, 1),
                                          QString::number(character, 16).toUpper().rightJustified(4, u'0'));
    }
    return {};
}

bool IsKnown(int page)
{
    return Ansi::IsSupported(page);
}

QString NameOf(int page)
{
    return page == Ansi::Utf8 ? u"UTF-8"_s : u"code page %1"_s.arg(page);
}

QString ControlCharacter(QStringView text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c > u'\x1F' && (c < u'\x7F' || c > u'\x9F'))
            continue;
        const bool isBreak = c == u'\n' || (c == u'\r' && text.sliced(i).startsWith(u"\r\n"));
        if (c != u'\t' && !isBreak)
            return u"U+"_s + QString::number(c.unicode(), 16).toUpper().rightJustified(4, u'0');
    }
    return {};
}

}
