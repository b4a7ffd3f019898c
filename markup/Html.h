// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <vector>

// The tags and entities of HTML in texts that are hardly ever well-formed.
namespace Html {

// What an element does to a text that is shown as plain text.
enum class Role {
    Inline, // nothing
    Block, // begins and ends a line
    Paragraph, // as a block, with an empty line on both sides
    Break,
    Rule,
    List,
    NumberedList,
    ListItem,
    Table,
    TablePart, // rows and columns, as a group
    TableRow,
    Cell,
    Caption,
    Preformatted,
    Code,
    Raised,
    Lowered,
    Link,
    Picture,
    Object, // a picture or what a player would show
    Drawing, // svg
    Played,
    Quotation,
    Underlined,
    Struck,
    Overlined,
    Field,
    Reading, // of a ruby
    ReadingBracket,
    Formula, // MathML
    Hidden,
};

struct Element {
    QLatin1StringView Name;
    Html::Role Role = Html::Role::Inline;
    // A line break of the source beside its tag means nothing.
    bool MakesLines = false;
    // Builds a page or a form of one.
    bool IsOfPage = false;
};

// A tag, a comment, a known entity, or the text between these.
struct Piece {
    enum class Type { Text, Code, Entity, Comment, Tag };

    QStringView Source;
    Piece::Type Kind = Piece::Type::Text;
    const Html::Element *Element = nullptr; // of a tag
    bool IsEnd = false; // of the element
    // What the style of its element does: Raised, Lowered, Underlined, Struck,
    // Overlined, or nothing. Of an end only when the element is Inline.
    Html::Role Style = Html::Role::Inline;

    // The role of an element that does nothing itself is that of its style.
    Html::Role RoleOf() const
    {
        if (!Element)
            return Html::Role::Inline;
        return Element->Role == Html::Role::Inline && !Element->MakesLines ? Style : Element->Role;
    }
    bool Is(QLatin1StringView name) const { return Element && Element->Name == name; }
};

enum class Language { Html, Markdown };

// All pieces of a text in order; they refer to the text. A script, a style
// sheet, a drawing and a formula in MathML are one tag with all their content.
// Tags of unknown elements and unknown entities are text; so is the code of
// Markdown, as a piece of its own. In linear time.
std::vector<Piece> PiecesOf(QStringView text, Language language = Language::Html);

// The value of an attribute of a start tag with its entities resolved; null when
// the tag has none of that name.
QString Attribute(QStringView tag, QLatin1StringView name);

// The element of that name in any case; null for one that is unknown. What office
// programs leave behind in elements of their own is one element.
const Element *ElementOf(QStringView name);

// The number of the element among all, from 0, below MostElements.
constexpr int MostElements = 256;
int NumberOf(const Element &element);

}
