// SPDX-License-Identifier: Apache-2.0
#include "markup/Html.h"

#include <QHash>
#include <QRegularExpression>
#include <QSet>
#include <QStringList>
#include <QTextDocument>

using namespace Qt::Literals::StringLiterals;

namespace Html {

namespace {

bool IsKnown(const QString &name)
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
    // Office programs leave elements of their own behind.
    static const QRegularExpression office(u"^(o|w|v|m|st1):"_s);
    return set.contains(name) || office.match(name).hasMatch();
}

QRegularExpression Pattern(const QString &code)
{
    return QRegularExpression(code
                                  + u"<(?<whole>script|style)\\b[^>]*>.*?</\\k<whole>\\s*>|<!--.*?-->|<!doctype[^>]*>"
                                    "|<(?<end>/?)(?<name>[a-z][a-z0-9]*(?::[a-z0-9]+)?)"
                                    "(?:\\s+[\\w:.@-]+(?:\\s*=\\s*(?:\"[^\"]*\"|'[^']*'|[^\\s\"'<>]+))?)*\\s*/?>"
                                    "|&(?:#[0-9]{1,7}|#x[0-9a-f]{1,6}|[a-z][a-z0-9]{1,31});"_s,
                              QRegularExpression::DotMatchesEverythingOption | QRegularExpression::CaseInsensitiveOption);
}

// What an entity stands for; of an unknown one, the entity.
QString EntityText(const QString &entity)
{
    static QHash<QString, QString> texts;
    if (!texts.contains(entity)) {
        // White space at the ends would be lost.
        QTextDocument document;
        document.setHtml(u'x' + entity + u'x');
        const QString text = document.toRawText();
        texts.insert(entity, text.mid(1, text.size() - 2));
    }
    return texts.value(entity);
}

// The name of what was found, as a piece has it; empty for what is text.
QString NameOf(const QRegularExpressionMatch &found)
{
    const QString source = found.captured();
    if (source.startsWith(u'&'))
        return EntityText(source) != source ? u"&"_s : QString();
    if (source.startsWith("<!"_L1))
        return u"!"_s;
    const QString name = (found.captured(u"whole"_s) + found.captured(u"name"_s)).toLower();
    return IsKnown(name) ? name : QString();
}

// Tags at whose sides a line break of the source means nothing.
bool MakesLines(const QString &name)
{
    return IsOneOf(name,
                   "address article aside blockquote body br caption center col colgroup dd div dl dt figure "
                   "footer form h1 h2 h3 h4 h5 h6 head header hr html li main nav ol p pre section table tbody "
                   "td tfoot th thead tr ul"_L1);
}

class Writer {
public:
    QString Html;

    void Put(const std::vector<Piece> &pieces, WhiteSpace whiteSpace)
    {
        for (size_t i = 0; i < pieces.size(); ++i) {
            const Piece &piece = pieces[i];
            if (piece.Tag == "&"_L1)
                PutText(EntityText(piece.Source).toHtmlEscaped());
            else if (!piece.Tag.isEmpty())
                PutTag(piece);
            else if (whiteSpace == WhiteSpace::Collapsed || m_isPre)
                PutText(piece.Source.toHtmlEscaped());
            else
                PutText(Kept(piece.Source, i > 0 && MakesLines(pieces[i - 1].Tag),
                             i + 1 < pieces.size() && MakesLines(pieces[i + 1].Tag)));
        }
    }

private:
    void PutTag(const Piece &tag)
    {
        // Style sheets are not for a text in one font, and the reader takes all
        // that follows an open "link" for its content.
        if (IsOneOf(tag.Tag, "! head link meta script style"_L1))
            return;
        if (IsPlayed(tag.Tag) && !tag.IsEnd)
            PutText(u'[' + tag.Tag + u']');
        if (tag.Tag == "pre"_L1)
            m_isPre = !tag.IsEnd;
        if (IsOneOf(tag.Tag, "caption table tbody td tfoot th thead tr"_L1))
            m_isBesideCells = tag.IsEnd ? tag.Tag != "table"_L1 : !IsOneOf(tag.Tag, "caption td th"_L1);
        else if (m_isBesideCells)
            return;
        Html += tag.Source;
    }

    void PutText(const QString &text)
    {
        // The reader loses what stands in a table beside its cells.
        const bool isLost = m_isBesideCells && !text.trimmed().isEmpty();
        Html += isLost ? u"<td>"_s + text + u"</td>"_s : text;
    }

    static QString Kept(QString text, bool isBehindLine, bool isBeforeLine)
    {
        static const QRegularExpression firstBreak(u"^[ \\t]*\\n"_s);
        static const QRegularExpression lastBreak(u"\\n[ \\t]*$"_s);
        static const QRegularExpression nextBlank(u"(?<=\\s) "_s);
        if (isBehindLine)
            text.remove(firstBreak);
        if (isBeforeLine)
            text.remove(lastBreak);
        text.replace(nextBlank, QChar(QChar::Nbsp)).replace(u'\t', QString(4, QChar(QChar::Nbsp)));
        return text.toHtmlEscaped().replace(u'\n', "<br>"_L1);
    }

    bool m_isPre = false;
    bool m_isBesideCells = false; // in a table, but in no cell
};

}

std::vector<Piece> PiecesOf(const QString &text, Language language)
{
    static const QRegularExpression html = Pattern({});
    static const QRegularExpression markdown = Pattern(u"```.*?```|~~~.*?~~~|`[^`\\n]+`|"_s);
    std::vector<Piece> pieces;
    qsizetype at = 0;
    for (auto match = (language == Language::Html ? html : markdown).globalMatch(text); match.hasNext();) {
        const QRegularExpressionMatch found = match.next();
        const QString name = NameOf(found);
        if (name.isEmpty())
            continue;
        if (found.capturedStart() > at)
            pieces.push_back({ text.sliced(at, found.capturedStart() - at), {} });
        pieces.push_back({ found.captured(), name, found.capturedLength(u"end"_s) > 0 });
        at = found.capturedEnd();
    }
    if (at < text.size())
        pieces.push_back({ text.sliced(at), {} });
    return pieces;
}

QString ForDocument(const std::vector<Piece> &pieces, WhiteSpace whiteSpace)
{
    Writer writer;
    writer.Put(pieces, whiteSpace);
    return writer.Html;
}

bool IsPlayed(const QString &name)
{
    return IsOneOf(name, "audio canvas embed iframe object svg video"_L1);
}

bool IsOneOf(const QString &name, QLatin1StringView names)
{
    return QString(names).split(u' ').contains(name);
}

}
