// SPDX-License-Identifier: Apache-2.0
#include "markup/Markdown.h"

#include "markup/Document.h"
#include "markup/Html.h"
#include "markup/HtmlReader.h"
#include "markup/Lines.h"
#include "markup/Scripts.h"
#include "markup/Tex.h"

#include <QHash>
#include <QRegularExpression>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace Markup {

namespace {

using Html::Piece;
using Html::Role;

constexpr QChar LineBreak = QChar(QChar::LineSeparator);
// Stands for a picture in HTML while Qt reads the rest.
constexpr QChar HtmlPicture = QChar(0xFDD2);

QString Escaped(const QString &text)
{
    QString result;
    for (const QChar c : text) {
        if (u"\\`*_{}[]<>()#+-.!|~&$"_s.contains(c))
            result += u'\\';
        result += c;
    }
    return result;
}

// Whether every letter and digit of the text is in the result as often.
bool HoldsAll(const QString &result, const QString &text)
{
    QHash<QChar, int> missing;
    for (const QChar c : text)
        missing[c] += c.isLetterOrNumber() ? 1 : 0;
    for (const QChar c : result)
        --missing[c];
    return std::all_of(missing.begin(), missing.end(), [](int count) { return count <= 0; });
}

// The text as Markdown that Qt reads without loss: its reader loses what follows
// a tag that is never closed.
class Preparer {
public:
    explicit Preparer(QString markdown)
        : m_markdown(std::move(markdown))
        , m_pieces(Html::PiecesOf(m_markdown, Html::Language::Markdown))
    {
    }

    Readable Result; // the Markdown, and the pictures and warnings of its HTML

    void Prepare()
    {
        for (size_t i = 0; i < m_pieces.size(); ++i)
            i = Put(i);
        PutText();
        static const QRegularExpression lineBreak(u" *\u2028 *"_s);
        Result.Text.replace(lineBreak, LineBreak);
    }

private:
    // Returns the last piece that it has put.
    size_t Put(size_t at)
    {
        const Piece &piece = m_pieces[at];
        switch (piece.RoleOf()) {
        case Role::Break: m_text += LineBreak; return at;
        case Role::Raised:
        case Role::Lowered: return PutScript(at);
        case Role::Underlined:
        case Role::Struck:
        case Role::Overlined: Result.Warnings.append(LinedWarning(piece.RoleOf())); return at;
        case Role::Picture:
        case Role::Object:
        case Role::Drawing:
        case Role::Played:
        case Role::Formula: PutHtml({ piece }); return at;
        default: break;
        }
        if (piece.Kind == Piece::Type::Code) {
            PutText();
            Result.Text += piece.Source;
        } else if (piece.Kind == Piece::Type::Text || piece.Kind == Piece::Type::Entity) {
            m_text += piece.Source;
        }
        return at;
    }

    size_t PutScript(size_t at)
    {
        constexpr size_t farthest = 20;
        for (size_t end = at + 1; !m_pieces[at].IsEnd && end < std::min(m_pieces.size(), at + farthest); ++end) {
            if (!m_pieces[end].IsEnd || m_pieces[end].Element != m_pieces[at].Element
                || m_pieces[end].RoleOf() != m_pieces[at].RoleOf())
                continue;
            // What stands before tells an ordinal number from a power.
            static const QRegularExpression number(u"([=\u00D7\u00F7\u00B7/^] {0,2})?\\d{1,6}\\.?$|\\w$"_s,
                                                   QRegularExpression::UseUnicodePropertiesOption);
            const QString before = number.match(m_text.right(10)).captured();
            std::vector<Piece> pieces(m_pieces.begin() + static_cast<std::ptrdiff_t>(at),
                                      m_pieces.begin() + static_cast<std::ptrdiff_t>(end) + 1);
            if (!before.isEmpty()) {
                m_text.chop(before.size());
                pieces.insert(pieces.begin(), Piece{ before });
            }
            PutHtml(pieces);
            return end;
        }
        return at;
    }

    void PutHtml(const std::vector<Piece> &pieces)
    {
        Readable part = ReadHtml(pieces, WhiteSpace::Collapsed);
        PutText();
        Result.Text += Escaped(part.Text.replace(PictureSign, HtmlPicture));
        Result.Pictures.insert(Result.Pictures.end(), part.Pictures.begin(), part.Pictures.end());
        Result.Warnings += part.Warnings;
    }

    // Puts the text that has come together, with its formulas read.
    void PutText()
    {
        PutLowered(Tex::ReplacedIn(m_text, Tex::Delimiters::Escaped, Result.Warnings, Escaped));
        m_text.clear();
    }

    // Qt's reader takes single tildes for struck-out text, most writers for indices.
    void PutLowered(const QString &text)
    {
        static const QRegularExpression lowered(u"(?<=[\\w)\\]])~([^\\s~\\\\]{1,20})~(?!~)"_s,
                                                QRegularExpression::UseUnicodePropertiesOption);
        qsizetype done = 0;
        for (auto match = lowered.globalMatch(text); match.hasNext();) {
            const QRegularExpressionMatch found = match.next();
            const qsizetype end = found.capturedEnd();
            Result.Text += QStringView(text).sliced(done, found.capturedStart() - done);
            Result.Text
                += Escaped(Scripts::Put(Scripts::Side::Lowered, found.captured(1), end < text.size() ? text.at(end) : QChar()));
            done = end;
        }
        Result.Text += QStringView(text).sliced(done);
    }

    QString m_markdown;
    std::vector<Piece> m_pieces;
    QString m_text; // whose formulas are not read yet
};

// Whether Qt's reader, whose time grows with the square of a text's length and of
// the depth of its lists and quotations, would take unreasonably long.
bool IsTooMuch(const QString &markdown)
{
    constexpr qsizetype mostCharacters = 10'000;
    constexpr qsizetype mostMarks = 40; // at the beginning of a line
    if (markdown.size() > mostCharacters)
        return true;
    const QStringList lines = markdown.split(u'\n');
    return std::any_of(lines.begin(), lines.end(), [](const QString &line) {
        const auto *end = std::find_if(line.begin(), line.end(), [](QChar c) { return !u" \t-*+>"_s.contains(c); });
        return std::count_if(line.begin(), end, [](QChar c) { return !c.isSpace(); }) > mostMarks && line.contains(u' ');
    });
}

// The pictures of both readers in the order of the text.
void MergePictures(Readable &readable, const std::vector<Picture> &ofHtml)
{
    std::vector<Picture> merged;
    size_t own = 0;
    size_t other = 0;
    for (QChar &c : readable.Text) {
        if (c == PictureSign && own < readable.Pictures.size()) {
            merged.push_back(readable.Pictures.at(own++));
        } else if (c == HtmlPicture && other < ofHtml.size()) {
            merged.push_back(ofHtml.at(other++));
            c = PictureSign;
        }
    }
    readable.Pictures = std::move(merged);
}

// Markdown as it was written can be read, but its pictures are no text.
Readable AsWritten(const QString &markdown)
{
    static const QRegularExpression picture(u"!\\[([^\\]\\n]*)\\]\\(([^)\\s]+)[^)\\n]*\\)"_s);
    Readable readable;
    qsizetype done = 0;
    for (auto match = picture.globalMatch(markdown); match.hasNext();) {
        const QRegularExpressionMatch found = match.next();
        readable.Text += QStringView(markdown).sliced(done, found.capturedStart() - done);
        readable.Text += PictureSign;
        readable.Pictures.push_back({ found.captured(2), found.captured(1).trimmed() });
        done = found.capturedEnd();
    }
    readable.Text += QStringView(markdown).sliced(done);
    readable.Text = Trimmed(readable.Text.replace(LineBreak, u'\n'));
    return readable;
}

Readable ReadBare(const QString &bare)
{
    Document document;
    document.setMarkdown(bare,
                         QTextDocument::MarkdownFeatures(QTextDocument::MarkdownDialectGitHub) | QTextDocument::MarkdownNoHTML);
    Readable readable = ReadDocument(document);
    // Qt's reader loses cells of a table and the first number of a list, too. The
    // language of code, the target of a picture and an entity's name are no text.
    static const QRegularExpression unseen(u"(^|\\n) *(```|~~~)[^\\n`]*|\\]\\([^)\\n]*\\)|&#?\\w{1,31};"_s);
    QString seen = readable.Text;
    for (const Picture &picture : readable.Pictures)
        seen += picture.Alt;
    return HoldsAll(seen, QString(bare).remove(unseen)) ? readable : AsWritten(bare);
}

}

Readable ReadMarkdown(const QString &markdown)
{
    Preparer preparer(Sanitized(markdown).replace(HtmlPicture, QChar(QChar::ReplacementCharacter)));
    preparer.Prepare();
    const QString &bare = preparer.Result.Text;
    Readable readable = IsTooMuch(bare) ? AsWritten(bare) : ReadBare(bare);
    readable.Text = Unshielded(readable.Text); // of what ReadHtml has put there
    MergePictures(readable, preparer.Result.Pictures);
    readable.Warnings += preparer.Result.Warnings;
    readable.Warnings.removeDuplicates();
    return readable;
}

}
