// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <vector>

// The tags and entities of HTML in texts that are hardly ever well-formed.
namespace Html {

// A tag, a comment, a known entity, or the text between these.
struct Piece {
    QString Source;
    // The element's name in lower case, "!" for a comment or a document type, "&"
    // for an entity; empty for text.
    QString Tag;
    bool IsEnd = false; // of the element
};

enum class Language { Html, Markdown };

// All pieces of a text in order. A script or a style sheet is one tag with all
// its content. Tags of unknown elements, unknown entities and code of Markdown
// are text. Needs a QGuiApplication.
std::vector<Piece> PiecesOf(const QString &text, Language language = Language::Html);

// What white space in a text means: what it means in HTML; or line breaks and
// runs of blanks are kept, except line breaks beside the tag of a paragraph, a
// list, a table and the like.
enum class WhiteSpace { Collapsed, Kept };

// The pieces as HTML of which Qt's reader of documents loses no text and loads
// no style sheet. "[video]" and the like stand for what is played.
QString ForDocument(const std::vector<Piece> &pieces, WhiteSpace whiteSpace);

// Whether an element shows what a player would.
bool IsPlayed(const QString &name);

// Whether the name is one of those, which are parted by single blanks.
bool IsOneOf(const QString &name, QLatin1StringView names);

}
