// SPDX-License-Identifier: Apache-2.0
#include "markup/Html.h"

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

static_assert(Elements.size() < MostElements);

}

const Element *ElementOf(QStringView name)
{
    if (const qsizetype colon = name.indexOf(u':'); colon >= 0) {
        const QStringView space = name.first(colon);
        if (name.sliced(colon + 1).compare("math"_L1, Qt::CaseInsensitive) == 0)
            return ElementOf(name.sliced(colon + 1));
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

int NumberOf(const Element &element)
{
    return &element == &Office ? static_cast<int>(Elements.size()) : static_cast<int>(&element - Elements.data());
}

}
