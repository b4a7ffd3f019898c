// SPDX-License-Identifier: Apache-2.0
#include "markup/Html.h"

#include "markup/Entities.h"

#include <QStringList>

#include <algorithm>
#include <array>
#include <map>

using namespace Qt::Literals::StringLiterals;

namespace Html {

namespace {

constexpr qsizetype ShortTag = 1000;

bool IsSpace(QChar c)
{
    return c == u' ' || c == u'\n' || c == u'\t' || c == u'\r' || c == u'\f' || (c.unicode() > 127 && c.isSpace());
}

bool IsLetter(QChar c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

bool IsDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

bool StartsWith(QStringView text, qsizetype at, QLatin1StringView what)
{
    return text.sliced(at).startsWith(what, Qt::CaseInsensitive);
}

// Reads the attributes of a tag one by one.
class AttributeScanner {
public:
    AttributeScanner(QStringView text, qsizetype at)
        : m_text(text)
        , m_at(at)
    {
    }

    QStringView Name;
    QStringView Value;

    // False when no other attribute follows.
    bool Next()
    {
        const qsizetype start = m_at;
        SkipSpaces();
        const qsizetype name = m_at;
        while (m_at < m_text.size() && IsNamePart(m_text.at(m_at)))
            ++m_at;
        if (name == start || m_at == name) {
            m_at = start;
            return false;
        }
        Name = m_text.sliced(name, m_at - name);
        Value = {};
        const qsizetype behindName = m_at;
        SkipSpaces();
        if (m_at < m_text.size() && m_text.at(m_at) == u'=') {
            ++m_at;
            SkipSpaces();
            if (ReadValue())
                return true;
        }
        m_at = behindName;
        return true;
    }

    // The place behind the ">" of the tag; -1 when something else stands there.
    qsizetype End()
    {
        SkipSpaces();
        if (m_at < m_text.size() && m_text.at(m_at) == u'/')
            ++m_at;
        return m_at < m_text.size() && m_text.at(m_at) == u'>' ? m_at + 1 : -1;
    }

    qsizetype At() const { return m_at; }

private:
    static bool IsNamePart(QChar c)
    {
        return IsLetter(c) || IsDigit(c) || c == u'_' || c == u':' || c == u'.' || c == u'@' || c == u'-'
            || (c.unicode() > 127 && c.isLetterOrNumber());
    }

    void SkipSpaces()
    {
        while (m_at < m_text.size() && IsSpace(m_text.at(m_at)))
            ++m_at;
    }

    bool ReadValue()
    {
        if (m_at == m_text.size())
            return false;
        const QChar quote = m_text.at(m_at);
        if (quote == u'"' || quote == u'\'') {
            const qsizetype end = m_text.indexOf(quote, m_at + 1);
            if (end < 0) {
                // Nothing behind it can end the tag either.
                m_at = m_text.size();
                return true;
            }
            Value = m_text.sliced(m_at + 1, end - m_at - 1);
            m_at = end + 1;
            return true;
        }
        const qsizetype start = m_at;
        while (m_at < m_text.size() && !IsSpace(m_text.at(m_at)) && !u"\"'<>"_s.contains(m_text.at(m_at)))
            ++m_at;
        // "<a href=x/>" ends the tag as well.
        Value = m_text.sliced(start, m_at - start);
        return m_at > start;
    }

    QStringView m_text;
    qsizetype m_at;
};

// What a style sheet in an attribute does to the text.
Role StyleOf(QStringView tag)
{
    if (!tag.contains(u"style", Qt::CaseInsensitive))
        return Role::Inline;
    Role style = Role::Inline;
    for (const QString &declaration : Attribute(tag, "style"_L1).toLower().split(u';')) {
        const QString name = declaration.section(u':', 0, 0).trimmed();
        const QString value = declaration.section(u':', 1).simplified();
        const auto has = [&value](QLatin1StringView word) { return value.split(u' ').contains(word); };
        if (name == "vertical-align"_L1 && (has("super"_L1) || has("sub"_L1)))
            return has("super"_L1) ? Role::Raised : Role::Lowered;
        if (name == "text-decoration"_L1 || name == "text-decoration-line"_L1)
            style = has("line-through"_L1) ? Role::Struck
                : has("underline"_L1)      ? Role::Underlined
                : has("overline"_L1)       ? Role::Overlined
                                           : Role::Inline;
    }
    return style;
}

// The length of the element's name at that place, behind "<" or "</".
qsizetype NameLength(QStringView text, qsizetype at)
{
    const auto run = [&](qsizetype from) {
        qsizetype end = from;
        while (end < text.size() && (IsLetter(text.at(end)) || IsDigit(text.at(end))))
            ++end;
        return end;
    };
    if (at >= text.size() || !IsLetter(text.at(at)))
        return 0;
    qsizetype end = run(at);
    if (end < text.size() && text.at(end) == u':' && run(end + 1) > end + 1)
        end = run(end + 1);
    return end - at;
}

class Scanner {
public:
    Scanner(QStringView text, Language language)
        : m_text(text)
        , m_isMarkdown(language == Language::Markdown)
        , m_patience(4 * text.size() + 1000)
    {
    }

    std::vector<Piece> Scan()
    {
        constexpr size_t usual = 8;
        m_pieces.reserve(usual);
        for (qsizetype at = 0; at < m_text.size();) {
            const char16_t c = m_text.at(at).unicode();
            qsizetype end = -1;
            if (c == u'<')
                end = ScanTag(at);
            else if (c == u'&')
                end = ScanEntity(at);
            else if (m_isMarkdown && (c == u'`' || c == u'~'))
                end = ScanCode(at);
            at = end < 0 ? at + 1 : end;
        }
        PutText(m_text.size());
        return std::move(m_pieces);
    }

private:
    void PutText(qsizetype end)
    {
        if (end > m_done)
            m_pieces.push_back({ m_text.sliced(m_done, end - m_done) });
    }

    qsizetype Put(qsizetype at, qsizetype end, Piece::Type kind, const Element *element = nullptr, bool isEnd = false)
    {
        PutText(at);
        m_pieces.push_back({ m_text.sliced(at, end - at), kind, element, isEnd });
        m_done = end;
        return end;
    }

    qsizetype ScanTag(qsizetype at)
    {
        if (StartsWith(m_text, at, "<!"_L1))
            return ScanComment(at);
        const bool isEnd = at + 1 < m_text.size() && m_text.at(at + 1) == u'/';
        const qsizetype name = at + (isEnd ? 2 : 1);
        const qsizetype length = NameLength(m_text, name);
        const Element *element = length > 0 ? ElementOf(m_text.sliced(name, length)) : nullptr;
        if (!element)
            return -1;
        AttributeScanner attributes(m_patience > 0 ? m_text : m_text.first(std::min(m_text.size(), at + ShortTag)),
                                    name + length);
        while (attributes.Next()) { }
        const qsizetype end = attributes.End();
        if (end < 0) {
            m_patience -= attributes.At() - at;
            return -1;
        }
        Put(at, isEnd ? end : WholeEnd(*element, m_text.sliced(name, length), end), Piece::Type::Tag, element, isEnd);
        PutStyle(m_pieces.back(), m_text.sliced(at, end - at));
        return m_done;
    }

    // The end of an element has the style of its beginning.
    void PutStyle(Piece &piece, QStringView tag)
    {
        if (!piece.IsEnd)
            piece.Style = StyleOf(tag);
        if (piece.Element->Role != Role::Inline || (piece.Style == Role::Inline && m_styles.empty()))
            return;
        std::vector<Role> &open = m_styles[piece.Element];
        if (!piece.IsEnd && (piece.Style != Role::Inline || !open.empty())) {
            open.push_back(piece.Style);
        } else if (piece.IsEnd && !open.empty()) {
            piece.Style = open.back();
            open.pop_back();
        }
    }

    // Where an element ends that is one piece with its content; of any other, and
    // of one that is not closed, the end of its start tag.
    qsizetype WholeEnd(const Element &element, QStringView name, qsizetype tagEnd)
    {
        const bool isWhole = element.Role == Role::Hidden || element.Role == Role::Drawing || element.Role == Role::Formula;
        if (!isWhole || m_text.at(tagEnd - 2) == u'/')
            return tagEnd;
        // What was not found once is not behind a later place either.
        qsizetype &searched = m_unclosed[static_cast<size_t>(NumberOf(element))];
        if (searched != 0)
            return tagEnd;
        const QString closing = u"</"_s + name.toString();
        for (qsizetype at = tagEnd; (at = m_text.indexOf(closing, at, Qt::CaseInsensitive)) >= 0; at += closing.size()) {
            qsizetype end = at + closing.size();
            while (end < m_text.size() && IsSpace(m_text.at(end)))
                ++end;
            if (end < m_text.size() && m_text.at(end) == u'>')
                return end + 1;
        }
        searched = tagEnd;
        return tagEnd;
    }

    qsizetype ScanComment(qsizetype at)
    {
        qsizetype end = -1;
        if (StartsWith(m_text, at, "<!--"_L1) && !m_isCommentOpen) {
            end = m_text.indexOf("-->"_L1, at + 4);
            m_isCommentOpen = end < 0;
            end = end < 0 ? -1 : end + 3;
        } else if (StartsWith(m_text, at, "<!doctype"_L1) && !m_isDoctypeOpen) {
            end = m_text.indexOf(u'>', at);
            m_isDoctypeOpen = end < 0;
            end = end < 0 ? -1 : end + 1;
        }
        return end < 0 ? -1 : Put(at, end, Piece::Type::Comment);
    }

    qsizetype ScanEntity(qsizetype at)
    {
        constexpr qsizetype longest = 34;
        qsizetype end = at + 1;
        while (end < m_text.size() && end - at < longest
               && (IsLetter(m_text.at(end)) || IsDigit(m_text.at(end)) || (end == at + 1 && m_text.at(end) == u'#')))
            ++end;
        if (end == m_text.size() || m_text.at(end) != u';')
            return -1;
        ++end;
        return Entities::TextOf(m_text.sliced(at, end - at)).isNull() ? -1 : Put(at, end, Piece::Type::Entity);
    }

    // Code of Markdown: a fence, or what stands between single signs in a line.
    qsizetype ScanCode(qsizetype at)
    {
        const QChar sign = m_text.at(at);
        qsizetype open = at;
        while (open < m_text.size() && m_text.at(open) == sign)
            ++open;
        if (open - at >= 3) {
            bool &isOpen = sign == u'`' ? m_isFenceOpen : m_isOtherFenceOpen;
            const qsizetype close = isOpen ? -1 : m_text.indexOf(m_text.sliced(at, 3), open);
            isOpen = close < 0;
            return close < 0 ? open : Put(at, close + 3, Piece::Type::Code);
        }
        if (sign != u'`')
            return -1;
        const qsizetype lineEnd = LineEnd(open);
        for (qsizetype close = open; close < lineEnd;) {
            close = m_text.first(lineEnd).indexOf(u'`', close);
            if (close < 0)
                break;
            qsizetype behind = close;
            while (behind < lineEnd && m_text.at(behind) == u'`')
                ++behind;
            if (behind - close == open - at)
                return Put(at, behind, Piece::Type::Code);
            close = behind;
        }
        return open;
    }

    qsizetype LineEnd(qsizetype at)
    {
        if (at > m_lineEnd) {
            m_lineEnd = m_text.indexOf(u'\n', at);
            m_lineEnd = m_lineEnd < 0 ? m_text.size() : m_lineEnd;
        }
        return m_lineEnd;
    }

    QStringView m_text;
    bool m_isMarkdown;
    qsizetype m_patience; // characters that may be read in vain for tags of any length
    std::vector<Piece> m_pieces;
    qsizetype m_done = 0;
    qsizetype m_lineEnd = -1;
    std::array<qsizetype, MostElements> m_unclosed = {};
    std::map<const Element *, std::vector<Role>> m_styles; // of what is open since the first one with a style
    bool m_isCommentOpen = false;
    bool m_isDoctypeOpen = false;
    bool m_isFenceOpen = false;
    bool m_isOtherFenceOpen = false;
};

}

std::vector<Piece> PiecesOf(QStringView text, Language language)
{
    return Scanner(text, language).Scan();
}

QString Attribute(QStringView tag, QLatin1StringView name)
{
    AttributeScanner attributes(tag, 1 + NameLength(tag, 1));
    while (attributes.Next()) {
        if (attributes.Name.compare(name, Qt::CaseInsensitive) == 0)
            return attributes.Value.isNull() ? u""_s : Entities::Resolved(attributes.Value);
    }
    return {};
}

}
