// SPDX-License-Identifier: Apache-2.0
#include "markup/PlainText.h"

#include "markup/Html.h"

#include <QHash>
#include <QRegularExpression>
#include <QSet>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextList>
#include <QTextTable>
#include <QUrl>

#include <algorithm>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace PlainText {

namespace {

using Html::Piece;

constexpr QChar LineBreak = QChar(QChar::LineSeparator);

QString WithoutBlanksBehind(QString line)
{
    while (!line.isEmpty() && line.back().isSpace())
        line.chop(1);
    return line;
}

// A document that never loads a picture or a style sheet.
class Document : public QTextDocument {
public:
    Document() { setUndoRedoEnabled(false); }

protected:
    QVariant loadResource(int, const QUrl &) override { return {}; }
};

QString PictureText(const QTextImageFormat &format)
{
    const QString alt = format.stringProperty(QTextFormat::ImageAltText).trimmed();
    const QString name = format.name().startsWith("data:"_L1) ? QString() : QUrl(format.name()).fileName();
    return u'[' + (!alt.isEmpty() ? alt : !name.isEmpty() ? name : u"picture"_s) + u']';
}

// Reads the lines off a document.
class Reader {
public:
    // Everything from a place in a document to the end of its frame or cell.
    QString Read(QTextFrame::iterator place)
    {
        ReadFrame(place);
        return m_lines.join(u'\n').trimmed();
    }

private:
    // Never a second empty line in a row.
    void AddLine(const QString &text)
    {
        const QString line = WithoutBlanksBehind(text);
        if (!line.isEmpty() || (!m_lines.isEmpty() && !m_lines.last().isEmpty()))
            m_lines.append(line);
    }

    void ReadFrame(QTextFrame::iterator place)
    {
        for (; !place.atEnd(); ++place) {
            if (const auto *table = qobject_cast<const QTextTable *>(place.currentFrame()))
                ReadTable(*table);
            else if (place.currentFrame())
                ReadFrame(place.currentFrame()->begin());
            else if (place.currentBlock().isValid())
                ReadBlock(place.currentBlock());
        }
    }

    void ReadTable(const QTextTable &table)
    {
        AddLine({});
        for (int row = 0; row < table.rows(); ++row) {
            QStringList cells;
            for (int column = 0; column < table.columns(); ++column) {
                const QTextTableCell cell = table.cellAt(row, column);
                if (cell.row() == row && cell.column() == column)
                    cells.append(Reader().Read(cell.begin()).simplified());
            }
            AddLine(cells.join(u" | "_s));
        }
        AddLine({});
        m_margin = 0;
        m_wasList = false;
    }

    void ReadBlock(const QTextBlock &block)
    {
        const QTextBlockFormat format = block.blockFormat();
        const QTextList *list = block.textList();
        const bool goesOn = list && m_wasList;
        if (!goesOn && std::max(m_margin, format.topMargin()) > 0)
            AddLine({});
        m_margin = format.bottomMargin();
        m_wasList = list != nullptr;
        QString mark = list ? MarkOf(*list, block) : QString();
        const bool isRule = format.hasProperty(QTextFormat::BlockTrailingHorizontalRulerWidth);
        for (const QString &line : (TextOf(block) + (isRule ? u"-----"_s : QString())).split(LineBreak)) {
            AddLine(mark + line);
            mark.fill(u' ');
        }
    }

    static QString MarkOf(const QTextList &list, const QTextBlock &block)
    {
        const QTextListFormat format = list.format();
        const QString indent(2 * std::max(format.indent() - 1, 0), u' ');
        const auto marker = block.blockFormat().marker();
        if (marker != QTextBlockFormat::MarkerType::NoMarker)
            return indent + (marker == QTextBlockFormat::MarkerType::Checked ? u"[x] "_s : u"[ ] "_s);
        const int style = format.style();
        const bool isBullet = style == QTextListFormat::ListDisc || style == QTextListFormat::ListCircle
            || style == QTextListFormat::ListSquare;
        return indent + (isBullet ? u"-"_s : list.itemText(block)) + u' ';
    }

    static QString TextOf(const QTextBlock &block)
    {
        QString text;
        QString address;
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextCharFormat format = it.fragment().charFormat();
            if (format.anchorHref() != address) {
                PutAddress(text, address);
                address = format.anchorHref();
            }
            text += FragmentText(it.fragment(), text);
        }
        PutAddress(text, address);
        return text.replace(QChar(QChar::Nbsp), u' ');
    }

    static QString FragmentText(const QTextFragment &fragment, const QString &before)
    {
        const QTextCharFormat format = fragment.charFormat();
        QString text = fragment.text();
        if (format.isImageFormat())
            return text.replace(QChar(QChar::ObjectReplacementCharacter), PictureText(format.toImageFormat()));
        // Ten to the third must not become a hundred and three.
        static const QRegularExpression number(u"^[-+\u2212]?[0-9]"_s);
        const bool isPower = format.verticalAlignment() == QTextCharFormat::AlignSuperScript && !before.isEmpty()
            && (before.back().isLetterOrNumber() || before.back() == u')') && number.match(text).hasMatch();
        return isPower ? u'^' + text : text;
    }

    // Appends the address of a link that ends here, unless the text ends with it.
    static void PutAddress(QString &text, const QString &address)
    {
        const bool isWeb = address.startsWith("http://"_L1) || address.startsWith("https://"_L1);
        if (isWeb && !text.endsWith(address))
            text += u" ("_s + address + u')';
    }

    QStringList m_lines;
    double m_margin = 0; // below the last block
    bool m_wasList = false;
};

QString Read(const Document &document)
{
    return Reader().Read(document.rootFrame()->begin());
}

QString FromHtml(const std::vector<Piece> &pieces, Html::WhiteSpace whiteSpace = Html::WhiteSpace::Collapsed)
{
    Document document;
    document.setHtml(Html::ForDocument(pieces, whiteSpace));
    return Read(document);
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

QString FromMarkdown(const QString &markdown)
{
    // Qt's reader loses what follows a tag that is never closed.
    QString bare;
    for (const Piece &piece : Html::PiecesOf(markdown, Html::Language::Markdown)) {
        if (piece.Tag == "br"_L1)
            bare += LineBreak;
        else if (piece.Tag == "img"_L1 || Html::IsPlayed(piece.Tag))
            bare += FromHtml({ piece });
        else if (piece.Tag.isEmpty() || piece.Tag == "&"_L1)
            bare += piece.Source;
    }
    static const QRegularExpression lineBreak(u" *\u2028 *"_s);
    bare.replace(lineBreak, LineBreak);
    Document document;
    document.setMarkdown(bare,
                         QTextDocument::MarkdownFeatures(QTextDocument::MarkdownDialectGitHub) | QTextDocument::MarkdownNoHTML);
    const QString text = Read(document);
    // It loses cells of a table and the first number of a list, too: Markdown as
    // it was written can be read. The language of code, the target of a picture
    // and an entity's name are no text.
    static const QRegularExpression unseen(u"(^|\\n) *(```|~~~)[^\\n`]*|\\]\\([^)\\n]*\\)|&#?\\w{1,31};"_s);
    return HoldsAll(text, QString(bare).remove(unseen)) ? text : bare.replace(LineBreak, u'\n').trimmed();
}

QString Verbatim(const QString &text)
{
    QStringList lines = text.split(u'\n');
    std::transform(lines.begin(), lines.end(), lines.begin(), WithoutBlanksBehind);
    return lines.join(u'\n').trimmed();
}

// The pieces of a text without a format: a tag is one that is closed, or need not
// be. "List<Data>" and "a <b" are none, and what builds whole pages is asked
// about in a question bank, not used.
std::vector<Piece> PiecesInUse(const QString &text)
{
    std::vector<Piece> pieces = Html::PiecesOf(text);
    QSet<QString> opened;
    QSet<QString> used = { u"&"_s };
    for (const Piece &piece : pieces) {
        if (Html::IsOneOf(piece.Tag, "html head body script style meta link form input select option textarea"_L1))
            continue;
        if (!piece.IsEnd)
            opened.insert(piece.Tag);
        if (Html::IsOneOf(piece.Tag, "br hr img wbr"_L1) || (piece.IsEnd && opened.contains(piece.Tag)))
            used.unite({ piece.Tag, u"!"_s });
    }
    for (Piece &piece : pieces) {
        if (!used.contains(piece.Tag))
            piece.Tag.clear();
    }
    return pieces;
}

QString FromMoodle(const QString &text)
{
    const std::vector<Piece> pieces = PiecesInUse(text);
    if (std::all_of(pieces.begin(), pieces.end(), [](const Piece &piece) { return piece.Tag.isEmpty(); }))
        return Verbatim(text);
    const QString readable = FromHtml(pieces, Html::WhiteSpace::Kept);
    // An option that is but a tag asks about that tag.
    return readable.isEmpty() ? Verbatim(text) : readable;
}

}

QString Readable(const Markup::Text &text)
{
    switch (text.Kind) {
    case Markup::Kind::Html: return FromHtml(Html::PiecesOf(text.Source));
    case Markup::Kind::Markdown: return FromMarkdown(text.Source);
    case Markup::Kind::Plain: return Verbatim(text.Source);
    case Markup::Kind::Moodle: break;
    }
    return FromMoodle(text.Source);
}

}
