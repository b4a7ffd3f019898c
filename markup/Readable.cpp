// SPDX-License-Identifier: Apache-2.0
#include "markup/Readable.h"

#include "markup/HtmlReader.h"
#include "markup/Lines.h"
#include "markup/Markdown.h"
#include "markup/Tex.h"

#include <QUrl>

#include <algorithm>
#include <bitset>

using namespace Qt::Literals::StringLiterals;

namespace Markup {

namespace {

using Html::Piece;
using Html::Role;

// Whether the text is the same in every kind but Markdown: no markup, no white
// space but single blanks between words, nothing that is special here.
bool IsBare(const QString &text)
{
    char16_t last = u' ';
    for (const QChar c : text) {
        const char16_t code = c.unicode();
        if (code < u' ' || code == u'<' || code == u'&' || code == u'$' || code == u'\\' || (code == u' ' && last == u' ')
            || code == 0xA0 || code == u'\u2028' || code == u'\u2029' || code >= 0xFDD0)
            return false;
        last = code;
    }
    return last != u' ';
}

// The pieces of a text without a format: a tag is one that is closed, or need not
// be. "List<Data>" and "a <b" are none, and what builds whole pages is asked
// about in a question bank, not used.
std::vector<Piece> PiecesInUse(QStringView text)
{
    std::vector<Piece> pieces = Html::PiecesOf(text);
    std::bitset<Html::MostElements> opened;
    std::bitset<Html::MostElements> used;
    bool isHtml = false;
    for (const Piece &piece : pieces) {
        if (piece.Kind != Piece::Type::Tag || piece.Element->IsOfPage)
            continue;
        const auto number = static_cast<size_t>(Html::NumberOf(*piece.Element));
        const Role role = piece.Element->Role;
        const bool isAlone = role == Role::Break || role == Role::Rule || role == Role::Picture || piece.Is("wbr"_L1)
            || ((role == Role::Formula || role == Role::Drawing) && piece.Source.count(u'<') > 1);
        if (isAlone || (piece.IsEnd && opened.test(number))) {
            used.set(number);
            isHtml = true;
        }
        if (!piece.IsEnd)
            opened.set(number);
    }
    for (Piece &piece : pieces) {
        const bool isUsed = piece.Kind == Piece::Type::Tag ? used.test(static_cast<size_t>(Html::NumberOf(*piece.Element)))
                                                           : isHtml || piece.Kind != Piece::Type::Comment;
        if (!isUsed)
            piece = { piece.Source };
    }
    return pieces;
}

// What may stand in the text of pieces whose formulas are not read yet.
void ReadFormulas(Readable &readable, Tex::Delimiters delimiters)
{
    readable.Text = Unshielded(Tex::ReplacedIn(readable.Text, delimiters, readable.Warnings));
}

Readable FromHtml(const std::vector<Piece> &pieces, WhiteSpace whiteSpace)
{
    Readable readable = ReadHtml(pieces, whiteSpace);
    ReadFormulas(readable, Tex::Delimiters::All);
    return readable;
}

Readable FromPlain(const QString &text, Tex::Delimiters delimiters)
{
    Readable readable;
    readable.Text = Sanitized(Trimmed(text));
    ReadFormulas(readable, delimiters);
    return readable;
}

Readable FromMoodle(const QString &text)
{
    if (!text.contains(u'<') && !text.contains(u'&'))
        return FromPlain(text, Tex::Delimiters::All);
    const std::vector<Piece> pieces = PiecesInUse(text);
    // An option that is but a tag asks about that tag.
    const bool isTag
        = pieces.size() == 1 && pieces.front().Kind == Piece::Type::Tag && !text.contains(u' ') && text.count(u'<') == 1;
    if (isTag || std::all_of(pieces.begin(), pieces.end(), [](const Piece &piece) { return piece.Kind == Piece::Type::Text; }))
        return FromPlain(text, Tex::Delimiters::All);
    Readable readable = FromHtml(pieces, WhiteSpace::Kept);
    return readable.Text.isEmpty() ? FromPlain(text, Tex::Delimiters::All) : readable;
}

QString NameOf(const Picture &picture)
{
    if (!picture.Alt.isEmpty())
        return picture.Alt;
    const QString name = picture.Source.startsWith("data:"_L1) ? QString() : QUrl(picture.Source).fileName();
    return name.isEmpty() ? u"picture"_s : name;
}

bool HoldsOnlyPictures(QStringView line)
{
    return line.contains(PictureSign)
        && std::all_of(line.begin(), line.end(), [](QChar c) { return c == PictureSign || c.isSpace(); });
}

}

Readable Read(const Text &text)
{
    if (text.Kind == Kind::Markdown)
        return ReadMarkdown(text.Source);
    if (IsBare(text.Source))
        return { text.Source, {}, {} };
    switch (text.Kind) {
    case Kind::Html: return FromHtml(Html::PiecesOf(text.Source), WhiteSpace::Collapsed);
    case Kind::Plain: return FromPlain(text.Source, Tex::Delimiters::Brackets);
    default: return FromMoodle(text.Source);
    }
}

QString Spelled(const Readable &readable, bool arePicturesShown)
{
    if (readable.Pictures.empty())
        return readable.Text;
    QStringList lines;
    size_t picture = 0;
    for (const QString &line : readable.Text.split(u'\n')) {
        if (arePicturesShown && HoldsOnlyPictures(line)) {
            picture += static_cast<size_t>(line.count(PictureSign));
            continue;
        }
        QString spelled;
        for (const QChar c : line) {
            if (c != PictureSign || picture >= readable.Pictures.size())
                spelled += c;
            else
                spelled += u'[' + NameOf(readable.Pictures.at(picture++)) + u']';
        }
        const bool isSecondBlank = spelled.isEmpty() && (lines.isEmpty() || lines.last().isEmpty());
        if (!arePicturesShown || !isSecondBlank)
            lines.append(spelled);
    }
    while (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    return lines.join(u'\n');
}

}
