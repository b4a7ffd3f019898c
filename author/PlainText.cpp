// SPDX-License-Identifier: Apache-2.0
#include "author/PlainText.h"

#include <QHash>
#include <QRegularExpression>
#include <QSet>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextDocumentFragment>
#include <QTextList>
#include <QTextTable>
#include <QUrl>

using namespace Qt::Literals::StringLiterals;

namespace PlainText {

namespace {

// Stands for a line break that Markdown must not see; no text holds it.
constexpr QChar HiddenBreak = QChar(u'\uFDE0');

const QSet<QString> &KnownTags()
{
    static const QStringList names
        = u"a abbr acronym address area article aside audio b basefont bdi bdo big blink blockquote body br "
          "button canvas caption center cite code col colgroup data datalist dd del details dfn dialog dir div dl dt "
          "em embed fieldset figcaption figure font footer form h1 h2 h3 h4 h5 h6 head header hgroup hr "
          "html i iframe img input ins kbd label legend li link main map mark menu meta meter nav nobr noscript object "
          "ol optgroup option output p param picture pre progress q ruby rt rp s samp script section select small "
          "source span strike strong style sub summary sup svg table tbody td template textarea tfoot th thead time "
          "tr track tt u ul var video wbr"_s.split(u' ');
    static const QSet<QString> set(names.begin(), names.end());
    return set;
}

bool IsOneOf(const QString &name, QLatin1StringView names)
{
    return QString(names).split(u' ').contains(name);
}

// Tags at whose sides a line break of the source means nothing.
bool MakesLines(const QString &name)
{
    return IsOneOf(name,
                   "address article aside blockquote body br caption center col colgroup dd div dl dt figure "
                   "footer form h1 h2 h3 h4 h5 h6 head header hr html li main nav ol p pre section table tbody "
                   "td tfoot th thead tr ul"_L1);
}

// What a player would show; a candidate gets to know that it was there.
bool IsPlayed(const QString &name)
{
    return IsOneOf(name, "audio canvas embed iframe object svg video"_L1);
}

const QRegularExpression &TagPattern()
{
    static const QRegularExpression pattern(
        u"<(?<close>/?)(?<name>[A-Za-z][A-Za-z0-9]*(?::[A-Za-z0-9]+)?)"
        "(?:\\s+[\\w:.@-]+(?:\\s*=\\s*(?:\"[^\"]*\"|'[^']*'|[^\\s\"'<>]+))?)*\\s*/?>|<!--.*?-->"_s,
        QRegularExpression::DotMatchesEverythingOption);
    return pattern;
}

QString NameOf(const QRegularExpressionMatch &tag)
{
    return tag.captured(u"name"_s).toLower();
}

bool IsKnown(const QString &name)
{
    // Office programs leave elements of their own behind.
    static const QRegularExpression office(u"^(o|w|v|m|st1):"_s);
    return KnownTags().contains(name) || office.match(name).hasMatch();
}

bool IsKnownEntity(const QString &entity)
{
    static QHash<QString, bool> known;
    const auto found = known.constFind(entity);
    if (found != known.constEnd())
        return *found;
    const bool isKnown = QTextDocumentFragment::fromHtml(entity).toPlainText() != entity;
    known.insert(entity, isKnown);
    return isKnown;
}

const QRegularExpression &EntityPattern()
{
    static const QRegularExpression pattern(u"&(?:#[0-9]{1,7}|#[xX][0-9A-Fa-f]{1,6}|[A-Za-z][A-Za-z0-9]{1,31});"_s);
    return pattern;
}

bool HasKnownEntity(const QString &text)
{
    for (auto match = EntityPattern().globalMatch(text); match.hasNext();) {
        if (IsKnownEntity(match.next().captured()))
            return true;
    }
    return false;
}

// The tags of a text without a format: those that are closed, or need not be.
// "List<Data>" and "a <b" are none, and what builds whole pages is asked about
// in a question bank, not used.
QSet<QString> TagsInUse(const QString &text)
{
    QSet<QString> opened;
    QSet<QString> used;
    for (auto match = TagPattern().globalMatch(text); match.hasNext();) {
        const QRegularExpressionMatch tag = match.next();
        const QString name = NameOf(tag);
        if (!IsKnown(name)
            || IsOneOf(name,
                       "html head body script style meta link form input select option "
                       "textarea"_L1))
            continue;
        if (tag.capturedLength(u"close"_s) == 0)
            opened.insert(name);
        if (IsOneOf(name, "br hr img wbr"_L1) || (tag.capturedLength(u"close"_s) > 0 && opened.contains(name)))
            used.insert(name);
    }
    return used;
}

// Writes a text as HTML that means the same to the reader of documents.
class Cleaner {
public:
    // Of HTML proper, every known tag counts.
    Cleaner() = default;
    // Of a text of which only these are tags, and whose line breaks and runs of
    // blanks stay.
    explicit Cleaner(QSet<QString> tags)
        : m_tags(std::move(tags))
        , m_hasOwnLines(true)
    {
    }

    QString Clean(const QString &text)
    {
        qsizetype at = 0;
        for (auto match = TagPattern().globalMatch(text); match.hasNext();) {
            const QRegularExpressionMatch tag = match.next();
            const QString name = NameOf(tag);
            if (!name.isEmpty() && !(m_hasOwnLines ? m_tags.contains(name) : IsKnown(name)))
                continue; // it stays where it is, as text
            Put(text.mid(at, tag.capturedStart() - at), name);
            PutTag(tag, name);
            at = tag.capturedEnd();
        }
        Put(text.mid(at), {});
        return m_html;
    }

private:
    void PutTag(const QRegularExpressionMatch &tag, const QString &name)
    {
        const bool closes = tag.capturedLength(u"close"_s) > 0;
        // The reader takes all that follows an open "link" for its content.
        const bool isComment = name.isEmpty();
        if (isComment || name == "link"_L1 || name == "meta"_L1)
            return;
        if (IsPlayed(name) && !closes)
            m_html += u'[' + name + u']';
        if (name == "pre"_L1)
            m_isPre = !closes;
        m_html += tag.captured();
        m_lastTag = name;
    }

    // The text between two tags.
    void Put(QString text, const QString &nextTag)
    {
        const bool keepsLines = m_hasOwnLines && !m_isPre;
        if (keepsLines) {
            static const QRegularExpression head(u"^[ \\t]*\\n"_s);
            static const QRegularExpression tail(u"\\n[ \\t]*$"_s);
            if (MakesLines(m_lastTag))
                text.remove(head);
            if (MakesLines(nextTag))
                text.remove(tail);
        }
        for (qsizetype i = 0; i < text.size(); ++i) {
            const QChar c = text.at(i);
            if (c == u'<')
                m_html += "&lt;"_L1;
            else if (c == u'>')
                m_html += "&gt;"_L1;
            else if (c == u'&')
                m_html += IsEntityAt(text, i) ? u"&"_s : u"&amp;"_s;
            else if (keepsLines && c == u'\n')
                m_html += "<br>"_L1;
            else if (keepsLines && c == u'\t')
                m_html += "&nbsp;&nbsp;&nbsp;&nbsp;"_L1;
            else if (keepsLines && c == u' ' && i > 0 && text.at(i - 1).isSpace())
                m_html += "&nbsp;"_L1;
            else
                m_html += c;
        }
    }

    static bool IsEntityAt(const QString &text, qsizetype at)
    {
        const auto match
            = EntityPattern().match(text, at, QRegularExpression::NormalMatch, QRegularExpression::AnchorAtOffsetMatchOption);
        return match.hasMatch() && IsKnownEntity(match.captured());
    }

    QSet<QString> m_tags;
    bool m_hasOwnLines = false;
    bool m_isPre = false;
    QString m_html;
    QString m_lastTag;
};

// A document that never loads a picture or a style sheet.
class Document : public QTextDocument {
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
    QString Read(const QTextDocument &document)
    {
        ReadFrame(*document.rootFrame());
        QStringList lines;
        for (const QString &line : std::as_const(m_lines)) {
            if (!line.isEmpty() || (!lines.isEmpty() && !lines.last().isEmpty()))
                lines.append(line);
        }
        return lines.join(u'\n').trimmed();
    }

private:
    void ReadFrame(const QTextFrame &frame)
    {
        for (auto it = frame.begin(); !it.atEnd(); ++it) {
            if (const auto *table = qobject_cast<const QTextTable *>(it.currentFrame()))
                ReadTable(*table);
            else if (it.currentFrame())
                ReadFrame(*it.currentFrame());
            else if (it.currentBlock().isValid())
                ReadBlock(it.currentBlock());
        }
    }

    void ReadTable(const QTextTable &table)
    {
        m_lines.append(QString());
        for (int row = 0; row < table.rows(); ++row) {
            QStringList cells;
            for (int column = 0; column < table.columns(); ++column) {
                const QTextTableCell cell = table.cellAt(row, column);
                if (cell.row() == row && cell.column() == column)
                    cells.append(CellText(cell));
            }
            m_lines.append(cells.join(u" | "_s));
        }
        m_lines.append(QString());
        m_margin = 0;
        m_wasList = false;
    }

    static QString CellText(const QTextTableCell &cell)
    {
        Reader reader;
        for (auto it = cell.begin(); !it.atEnd(); ++it) {
            if (const auto *table = qobject_cast<const QTextTable *>(it.currentFrame()))
                reader.ReadTable(*table);
            else if (it.currentBlock().isValid())
                reader.ReadBlock(it.currentBlock());
        }
        return reader.m_lines.join(u' ').simplified();
    }

    void ReadBlock(const QTextBlock &block)
    {
        const QTextBlockFormat format = block.blockFormat();
        const QTextList *list = block.textList();
        const bool goesOn = list && m_wasList;
        if (!goesOn && std::max(m_margin, format.topMargin()) > 0)
            m_lines.append(QString());
        m_margin = format.bottomMargin();
        m_wasList = list != nullptr;
        const QString mark = list ? MarkOf(*list, block) : QString();
        const bool isRule = format.hasProperty(QTextFormat::BlockTrailingHorizontalRulerWidth);
        const QString indent(mark.size(), u' ');
        QStringList lines = (TextOf(block) + (isRule ? u"-----"_s : QString())).split(QChar(QChar::LineSeparator));
        for (qsizetype i = 0; i < lines.size(); ++i) {
            QString line = (i == 0 ? mark : indent) + lines.at(i);
            while (!line.isEmpty() && line.back().isSpace())
                line.chop(1);
            m_lines.append(line);
        }
    }

    static QString MarkOf(const QTextList &list, const QTextBlock &block)
    {
        const QTextListFormat format = list.format();
        const QString indent(2 * std::max(format.indent() - 1, 0), u' ');
        switch (block.blockFormat().marker()) {
        case QTextBlockFormat::MarkerType::Checked: return indent + u"[x] "_s;
        case QTextBlockFormat::MarkerType::Unchecked: return indent + u"[ ] "_s;
        default: break;
        }
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

    // The address of a link that ends here, unless the text tells it.
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

// Whether every letter and digit of the text is in the result as often. The
// toolkit's readers lose what stands in the wrong place of a table.
bool HoldsAll(const QString &result, const QString &text)
{
    QHash<QChar, int> missing;
    for (const QChar c : text)
        missing[c] += c.isLetterOrNumber() ? 1 : 0;
    for (const QChar c : result)
        --missing[c];
    return std::all_of(missing.begin(), missing.end(), [](int count) { return count <= 0; });
}

QString Rendered(const QString &html)
{
    Document document;
    document.setUndoRedoEnabled(false);
    document.setHtml(html);
    return Reader().Read(document);
}

QString AltOf(const QRegularExpressionMatch &tag)
{
    static const QRegularExpression alt(u"\\balt\\s*=\\s*(?:\"([^\"]*)\"|'([^']*)')"_s);
    const QRegularExpressionMatch found = alt.match(tag.captured());
    return found.captured(1) + found.captured(2);
}

// The text between the tags, one line for each block.
QString WithoutTags(QString html)
{
    static const QRegularExpression unseen(u"<(script|style)\\b.*?</\\1\\s*>"_s,
                                           QRegularExpression::CaseInsensitiveOption
                                               | QRegularExpression::DotMatchesEverythingOption);
    html.remove(unseen);
    QString text;
    qsizetype at = 0;
    for (auto match = TagPattern().globalMatch(html); match.hasNext();) {
        const QRegularExpressionMatch tag = match.next();
        text += html.mid(at, tag.capturedStart() - at);
        if (MakesLines(NameOf(tag)))
            text += u'\n';
        else if (const QString alt = AltOf(tag); !alt.isEmpty())
            text += u'[' + alt + u']';
        at = tag.capturedEnd();
    }
    return Rendered(u"<pre>"_s + text + html.mid(at) + u"</pre>"_s);
}

QString FromHtml(const QString &html)
{
    const QString text = Rendered(html);
    const QString all = WithoutTags(html);
    return HoldsAll(text, all) ? text : all;
}

// Tags are taken out beforehand, outside code: the reader of Markdown loses
// what follows a tag that is never closed.
QString FromMarkdown(const QString &markdown)
{
    static const QRegularExpression codeOrTag(u"(```.*?```|~~~.*?~~~|`[^`\\n]+`)|"_s + TagPattern().pattern(),
                                              QRegularExpression::DotMatchesEverythingOption);
    QString bare;
    qsizetype at = 0;
    for (auto match = codeOrTag.globalMatch(markdown); match.hasNext();) {
        const QRegularExpressionMatch found = match.next();
        const QString name = NameOf(found);
        const bool isCode = found.capturedLength(1) > 0;
        if (isCode || (!name.isEmpty() && !IsKnown(name)))
            continue;
        bare += markdown.mid(at, found.capturedStart() - at);
        at = found.capturedEnd();
        if (name == "br"_L1)
            bare += HiddenBreak;
        else if (name == "img"_L1)
            bare += u'[' + AltOf(found) + u']';
        else if (IsPlayed(name) && found.capturedLength(u"close"_s) == 0)
            bare += u'[' + name + u']';
    }
    bare += markdown.mid(at);

    Document document;
    document.setUndoRedoEnabled(false);
    document.setMarkdown(bare,
                         QTextDocument::MarkdownFeatures(QTextDocument::MarkdownDialectGitHub) | QTextDocument::MarkdownNoHTML);
    const QString text = Reader().Read(document);
    // The language of code, the target of a picture and an entity's name are
    // no text. Markdown as it was written is readable too.
    static const QRegularExpression unseen(u"(^|\\n) *(```|~~~)[^\\n`]*|\\]\\([^)\\n]*\\)|"_s + EntityPattern().pattern());
    const bool isWhole = HoldsAll(text, QString(bare).remove(unseen));
    static const QRegularExpression lineBreak(u" *\uFDE0 *"_s);
    return QString(isWhole ? text : bare.trimmed()).replace(lineBreak, u"\n"_s);
}

QString Verbatim(const QString &text)
{
    QStringList lines = text.split(u'\n');
    for (QString &line : lines) {
        while (!line.isEmpty() && line.back().isSpace())
            line.chop(1);
    }
    return lines.join(u'\n').trimmed();
}

QString FromMoodle(const QString &text)
{
    const QSet<QString> tags = TagsInUse(text);
    if (tags.isEmpty() && !HasKnownEntity(text))
        return Verbatim(text);
    const QString readable = FromHtml(Cleaner(tags).Clean(text));
    // An option that is but a tag asks about that tag.
    return readable.isEmpty() ? Verbatim(text) : readable;
}

}

QString Readable(const Gift::Text &text)
{
    if (text.Source.isEmpty())
        return {};
    switch (text.Markup) {
    case Gift::Markup::Html: return FromHtml(Cleaner().Clean(text.Source));
    case Gift::Markup::Markdown: return FromMarkdown(text.Source);
    case Gift::Markup::Plain: return Verbatim(text.Source);
    case Gift::Markup::Moodle: break;
    }
    return FromMoodle(text.Source);
}

}
