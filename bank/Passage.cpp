// SPDX-License-Identifier: Apache-2.0
#include "bank/Passage.h"

using namespace Qt::Literals::StringLiterals;

namespace Bank {

namespace {

QString AsHtml(const Markup::Text &text)
{
    if (text.Kind == Markup::Kind::Html)
        return text.Source;
    QString html = text.Kind == Markup::Kind::Plain ? text.Source.toHtmlEscaped() : text.Source;
    return html.replace(u'\n', u"<br>"_s);
}

}

void Passage::Take(int line, const Markup::Text &description, const QString &entry)
{
    if (m_isPending) {
        Append(m_text, description);
        return;
    }
    m_text = description;
    m_line = line;
    m_entry = entry;
    m_isPending = true;
}

void Passage::Give(Item &item)
{
    m_isPending = false;
    if (!item.Refusal.isEmpty())
        return;
    m_given += m_text.Source.size();
    if (m_given > MostCharacters)
        item.Refusal = u"its passage is too long to be repeated in every item"_s;
    else
        item.Passage = m_text;
}

void Passage::End()
{
    if (m_isPending)
        m_receiver.Warn(m_line, (m_entry.isEmpty() ? m_entry : m_entry + u": "_s) + u"no question follows the description"_s);
    m_isPending = false;
    m_text = {};
}

void Append(Markup::Text &text, const Markup::Text &paragraph)
{
    if (paragraph.Source.isEmpty())
        return;
    if (text.Source.isEmpty()) {
        text = paragraph;
    } else if (text.Kind == paragraph.Kind && text.Kind != Markup::Kind::Html) {
        text.Source += u"\n\n"_s + paragraph.Source;
    } else {
        // Nothing is copied that is HTML already: there may be many paragraphs.
        if (text.Kind != Markup::Kind::Html)
            text = { AsHtml(text), Markup::Kind::Html };
        text.Source += u"\n<div>"_s + AsHtml(paragraph) + u"</div>"_s;
    }
}

}
