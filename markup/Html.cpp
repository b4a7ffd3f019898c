// SPDX-License-Identifier: Apache-2.0
#include "markup/Html.h"

#include "markup/Entities.h"

#include <algorithm>
#include <array>

using namespace Qt::Literals::StringLiterals;

namespace Html {

namespace {

// In the order of their names.
constexpr std::array Elements = {
    Element{ "a"_L1, Role::Link },
    Element{ "abbr"_L1 },
    Element{ "acronym"_L1 },
    Element{ "address"_L1, Role::Block, true },
    Element{ "area"_L1 },
    Element{ "article"_L1, Role::Block, true },
    Element{ "aside"_L1, Role::Block, true },
    Element{ "audio"_L1, Role::Played },
    Element{ "b"_L1 },
    Element{ "basefont"_L1 },
    Element{ "bdi"_L1 },
    Element{ "bdo"_L1 },
    Element{ "big"_L1 },
    Element{ "blink"_L1 },
    Element{ "blockquote"_L1, Role::Paragraph, true },
    Element{ "body"_L1, Role::Block, true, true },
    Element{ "br"_L1, Role::Break, true },
    Element{ "button"_L1 },
    Element{ "canvas"_L1, Role::Played },
    Element{ "caption"_L1, Role::Caption, true },
    Element{ "center"_L1, Role::Block, true },
    Element{ "cite"_L1 },
    Element{ "code"_L1, Role::Code },
    Element{ "col"_L1, Role::TablePart, true },
    Element{ "colgroup"_L1, Role::TablePart, true },
    Element{ "data"_L1 },
    Element{ "datalist"_L1 },
    Element{ "dd"_L1, Role::Block, true },
    Element{ "del"_L1, Role::Struck },
    Element{ "details"_L1, Role::Block },
    Element{ "dfn"_L1 },
    Element{ "dialog"_L1, Role::Block },
    Element{ "dir"_L1, Role::List, true },
    Element{ "div"_L1, Role::Block, true },
    Element{ "dl"_L1, Role::Paragraph, true },
    Element{ "dt"_L1, Role::Block, true },
    Element{ "em"_L1 },
    Element{ "embed"_L1, Role::Object },
    Element{ "fieldset"_L1, Role::Block },
    Element{ "figcaption"_L1, Role::Block },
    Element{ "figure"_L1, Role::Block, true },
    Element{ "font"_L1 },
    Element{ "footer"_L1, Role::Block, true },
    Element{ "form"_L1, Role::Block, true, true },
    Element{ "h1"_L1, Role::Paragraph, true },
    Element{ "h2"_L1, Role::Paragraph, true },
    Element{ "h3"_L1, Role::Paragraph, true },
    Element{ "h4"_L1, Role::Paragraph, true },
    Element{ "h5"_L1, Role::Paragraph, true },
    Element{ "h6"_L1, Role::Paragraph, true },
    Element{ "head"_L1, Role::Inline, true, true },
    Element{ "header"_L1, Role::Block, true },
    Element{ "hgroup"_L1, Role::Block },
    Element{ "hr"_L1, Role::Rule, true },
    Element{ "html"_L1, Role::Block, true, true },
    Element{ "i"_L1 },
    Element{ "iframe"_L1, Role::Played },
    Element{ "img"_L1, Role::Picture },
    Element{ "input"_L1, Role::Field, false, true },
    Element{ "ins"_L1, Role::Underlined },
    Element{ "kbd"_L1, Role::Code },
    Element{ "label"_L1 },
    Element{ "legend"_L1, Role::Block },
    Element{ "li"_L1, Role::ListItem, true },
    Element{ "link"_L1, Role::Inline, false, true },
    Element{ "main"_L1, Role::Block, true },
    Element{ "map"_L1 },
    Element{ "mark"_L1 },
    Element{ "math"_L1, Role::Formula },
    Element{ "menu"_L1, Role::List },
    Element{ "meta"_L1, Role::Inline, false, true },
    Element{ "meter"_L1 },
    Element{ "nav"_L1, Role::Block, true },
    Element{ "nobr"_L1 },
    Element{ "noscript"_L1 },
    Element{ "object"_L1, Role::Object },
    Element{ "ol"_L1, Role::NumberedList, true },
    Element{ "optgroup"_L1, Role::Block },
    Element{ "option"_L1, Role::Block, false, true },
    Element{ "output"_L1 },
    Element{ "p"_L1, Role::Paragraph, true },
    Element{ "param"_L1 },
    Element{ "picture"_L1 },
    Element{ "pre"_L1, Role::Preformatted, true },
    Element{ "progress"_L1 },
    Element{ "q"_L1, Role::Quotation },
    Element{ "rp"_L1, Role::ReadingBracket },
    Element{ "rt"_L1, Role::Reading },
    Element{ "ruby"_L1 },
    Element{ "s"_L1, Role::Struck },
    Element{ "samp"_L1, Role::Code },
    Element{ "script"_L1, Role::Hidden, false, true },
    Element{ "section"_L1, Role::Block, true },
    Element{ "select"_L1, Role::Inline, false, true },
    Element{ "small"_L1 },
    Element{ "source"_L1 },
    Element{ "span"_L1 },
    Element{ "strike"_L1, Role::Struck },
    Element{ "strong"_L1 },
    Element{ "style"_L1, Role::Hidden, false, true },
    Element{ "sub"_L1, Role::Lowered },
    Element{ "summary"_L1, Role::Block },
    Element{ "sup"_L1, Role::Raised },
    Element{ "svg"_L1, Role::Drawing },
    Element{ "table"_L1, Role::Table, true },
    Element{ "tbody"_L1, Role::TablePart, true },
    Element{ "td"_L1, Role::Cell, true },
    Element{ "template"_L1 },
    Element{ "textarea"_L1, Role::Inline, false, true },
    Element{ "tfoot"_L1, Role::TablePart, true },
    Element{ "th"_L1, Role::Cell, true },
    Element{ "thead"_L1, Role::TablePart, true },
    Element{ "time"_L1 },
    Element{ "tr"_L1, Role::TableRow, true },
    Element{ "track"_L1 },
    Element{ "tt"_L1, Role::Code },
    Element{ "u"_L1, Role::Underlined },
    Element{ "ul"_L1, Role::List, true },
    Element{ "var"_L1 },
    Element{ "video"_L1, Role::Played },
    Element{ "wbr"_L1 },
};

// What office programs leave behind in elements of their own.
constexpr Element Office = { "o:"_L1 };

constexpr qsizetype LongestName = 12;
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

const Element *Find(QStringView name)
{
    if (const qsizetype colon = name.indexOf(u':'); colon >= 0) {
        const QStringView space = name.first(colon);
        if (name.sliced(colon + 1).compare("math"_L1, Qt::CaseInsensitive) == 0)
            return Find(name.sliced(colon + 1));
        static constexpr std::array spaces = { "o"_L1, "w"_L1, "v"_L1, "m"_L1, "st1"_L1 };
        const bool isOffice = std::any_of(spaces.begin(), spaces.end(),
                                          [&](QLatin1StringView one) { return space.compare(one, Qt::CaseInsensitive) == 0; });
        return isOffice ? &Office : nullptr;
    }
    if (name.size() > LongestName)
        return nullptr;
    std::array<char, LongestName> lower = {};
    std::transform(name.begin(), name.end(), lower.begin(), [](QChar c) {
        return static_cast<char>(c.unicode() >= u'A' && c.unicode() <= u'Z' ? c.unicode() + 32 : c.unicode());
    });
    const QLatin1StringView key(lower.data(), name.size());
    const auto found = std::lower_bound(Elements.begin(), Elements.end(), key,
                                        [](const Element &element, QLatin1StringView wanted) { return element.Name < wanted; });
    return found != Elements.end() && found->Name == key ? &*found : nullptr;
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
        const Element *element = length > 0 ? Find(m_text.sliced(name, length)) : nullptr;
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
        return Put(at, isEnd ? end : WholeEnd(*element, m_text.sliced(name, length), end), Piece::Type::Tag, element, isEnd);
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
            return close < 0 ? -1 : Put(at, close + 3, Piece::Type::Code);
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
    std::array<qsizetype, Elements.size() + 1> m_unclosed = {};
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

int NumberOf(const Element &element)
{
    return &element == &Office ? static_cast<int>(Elements.size()) : static_cast<int>(&element - Elements.data());
}

}
