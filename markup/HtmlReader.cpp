// SPDX-License-Identifier: Apache-2.0
#include "markup/HtmlReader.h"

#include "markup/Entities.h"
#include "markup/HtmlContent.h"
#include "markup/Lines.h"

#include <QHash>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace Markup {

namespace {

using Html::Piece;
using Html::Role;

constexpr size_t DeepestTable = 16;
constexpr qsizetype MostWarnings = 20;

bool IsBlank(QStringView text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.isSpace(); });
}

class HtmlReader {
public:
    HtmlReader(const std::vector<Piece> &pieces, WhiteSpace whiteSpace)
        : m_pieces(pieces)
        , m_isKept(whiteSpace == WhiteSpace::Kept)
        , m_cells(1)
    {
    }

    Readable Read()
    {
        for (m_at = 0; m_at < m_pieces.size(); ++m_at) {
            const Piece &piece = m_pieces[m_at];
            switch (piece.Kind) {
            case Piece::Type::Text:
            case Piece::Type::Code: ReadText(piece.Source); break;
            case Piece::Type::Entity: PutText(Entities::TextOf(piece.Source)); break;
            case Piece::Type::Tag:
                if (IsConcealed(piece) && EndOf(m_at) > m_at)
                    m_at = EndOf(m_at);
                else
                    ReadTag(piece);
                break;
            case Piece::Type::Comment: break;
            }
        }
        while (!m_tables.empty())
            EndTable();
        m_result.Text = m_cells.back().Finished();
        m_result.Warnings.removeDuplicates();
        return std::move(m_result);
    }

private:
    struct Table {
        size_t Depth; // how many cells are open outside of it
        QStringList Cells; // of the row
    };

    // Whether a page does not show the element, as with the second of the two forms in
    // which some programs write a formula.
    static bool IsConcealed(const Piece &tag)
    {
        if (tag.IsEnd || !(tag.Source.contains("hidden"_L1) || tag.Source.contains("display"_L1)))
            return false;
        const QString style = Html::Attribute(tag.Source, "style"_L1).remove(u' ').toLower();
        return !Html::Attribute(tag.Source, "hidden"_L1).isNull() || Html::Attribute(tag.Source, "aria-hidden"_L1) == "true"_L1
            || style.contains("display:none"_L1);
    }

    // The place of the tag that ends the element which begins at that place; that place
    // when none does.
    size_t EndOf(size_t begin)
    {
        if (m_ends.empty()) {
            m_ends.resize(m_pieces.size());
            QHash<const Html::Element *, std::vector<size_t>> open;
            for (size_t i = 0; i < m_pieces.size(); ++i) {
                m_ends[i] = i;
                const Piece &piece = m_pieces[i];
                if (piece.Kind != Piece::Type::Tag)
                    continue;
                std::vector<size_t> &starts = open[piece.Element];
                if (!piece.IsEnd) {
                    starts.push_back(i);
                } else if (!starts.empty()) {
                    m_ends[starts.back()] = i;
                    starts.pop_back();
                }
            }
        }
        return m_ends[begin];
    }

    Lines &Out() { return m_cells.back(); }
    bool IsBesideCells() const { return !m_tables.empty() && m_cells.size() == m_tables.back().Depth; }

    void Warn(const QString &text)
    {
        if (m_result.Warnings.size() < MostWarnings && !m_result.Warnings.contains(text))
            m_result.Warnings.append(text);
    }

    void ReadText(QStringView text)
    {
        // The first line break behind "<pre>" is none of the text's.
        if (m_isPre && m_at > 0 && m_pieces[m_at - 1].RoleOf() == Role::Preformatted && text.startsWith(u'\n'))
            text = text.sliced(1);
        if (m_isKept && !m_isPre)
            text = WithoutBreaks(text);
        PutText(text);
    }

    // The text without line breaks beside tags that make lines.
    QStringView WithoutBreaks(QStringView text) const
    {
        const auto isBlank = [](QChar c) { return c == u' ' || c == u'\t'; };
        if (m_at > 0 && m_pieces[m_at - 1].Element && m_pieces[m_at - 1].Element->MakesLines) {
            qsizetype at = 0;
            while (at < text.size() && isBlank(text.at(at)))
                ++at;
            if (at < text.size() && text.at(at) == u'\n')
                text = text.sliced(at + 1);
            else if (text.startsWith(u' '))
                text = text.sliced(1);
        }
        if (m_at + 1 < m_pieces.size() && m_pieces[m_at + 1].Element && m_pieces[m_at + 1].Element->MakesLines) {
            qsizetype end = text.size();
            while (end > 0 && isBlank(text.at(end - 1)))
                --end;
            if (end > 0 && text.at(end - 1) == u'\n')
                text = text.first(end - 1);
        }
        return text;
    }

    void PutText(QStringView text)
    {
        if (m_isBehindBracket) {
            m_isBehindBracket = false;
            if (text.trimmed().size() == 1)
                return;
        }
        if (IsBesideCells()) {
            if (IsBlank(text))
                return;
            BeginCell();
        }
        const bool isSpecial = std::any_of(text.begin(), text.end(), [](QChar c) {
            return c == u'$' || c == u'\\' || c == QChar::Nbsp || c == u'\t' || c.unicode() >= 0xFDD0;
        });
        if (isSpecial) {
            const QString special = Special(text);
            Put(special);
        } else {
            Put(text);
        }
    }

    void Put(QStringView text)
    {
        if (m_isPre || m_isKept)
            Out().PutKept(text, m_isPre);
        else
            Out().PutCollapsed(text);
    }

    QString Special(QStringView text) const
    {
        QString result = Sanitized(text.toString());
        if (m_codeDepth > 0 || m_isPre)
            result = Shielded(std::move(result));
        if (m_isPre || m_isKept)
            result.replace(QChar(QChar::Nbsp), u' ');
        if (m_isKept && !m_isPre)
            result.replace(u'\t', "    "_L1);
        return result;
    }

    void ReadTag(const Piece &tag)
    {
        const bool isLined = tag.Style == Role::Underlined || tag.Style == Role::Struck || tag.Style == Role::Overlined;
        if (isLined && !tag.IsEnd && tag.RoleOf() != tag.Style && tag.RoleOf() != Role::Link)
            Warn(LinedWarning(tag.Style));
        switch (tag.RoleOf()) {
        case Role::Table:
        case Role::TablePart:
        case Role::TableRow:
        case Role::Cell:
        case Role::Caption: ReadTableTag(tag); return;
        case Role::Picture:
        case Role::Object:
        case Role::Drawing:
        case Role::Played:
        case Role::Formula:
        case Role::Field:
        case Role::Hidden: ReadContent(tag); return;
        default: break;
        }
        if (IsBesideCells())
            return;
        if (tag.Element->MakesLines || tag.RoleOf() == Role::Block)
            ReadLineTag(tag);
        else
            ReadInlineTag(tag);
    }

    // Tags that begin and end lines.
    void ReadLineTag(const Piece &tag)
    {
        if (tag.RoleOf() != Role::Break) {
            // It ends a paragraph, too, that nothing has ended.
            if (m_isInParagraph)
                Out().EndBlock(true);
            m_isInParagraph = tag.Is("p"_L1) && !tag.IsEnd;
        }
        switch (tag.RoleOf()) {
        case Role::Break: Out().Break(); break;
        case Role::Rule: Out().PutRule(); break;
        case Role::List:
        case Role::NumberedList: ReadListTag(tag); break;
        case Role::ListItem: ReadItemTag(tag); break;
        case Role::Preformatted:
            m_isPre = !tag.IsEnd;
            Out().EndBlock(true);
            break;
        default: Out().EndBlock(tag.RoleOf() == Role::Paragraph); break;
        }
    }

    void ReadListTag(const Piece &tag)
    {
        if (tag.IsEnd) {
            Out().EndList();
            return;
        }
        const QString start = Html::Attribute(tag.Source, "start"_L1);
        const QString type = Html::Attribute(tag.Source, "type"_L1).trimmed();
        const bool isReversed = !Html::Attribute(tag.Source, "reversed"_L1).isNull();
        bool isNumber = false;
        int first = start.toInt(&isNumber);
        if (!isNumber)
            first = isReversed ? ItemsAhead() : 1;
        Out().BeginList(tag.RoleOf() == Role::NumberedList, first, type.size() == 1 ? type.front() : QChar(), isReversed);
    }

    // The number of items in the list that begins here.
    int ItemsAhead() const
    {
        constexpr size_t farthest = 2000;
        int depth = 0;
        int count = 0;
        for (size_t i = m_at; i < std::min(m_pieces.size(), m_at + farthest) && (i == m_at || depth > 0); ++i) {
            const Role role = m_pieces[i].RoleOf();
            if (role == Role::List || role == Role::NumberedList)
                depth += m_pieces[i].IsEnd ? -1 : 1;
            count += role == Role::ListItem && !m_pieces[i].IsEnd && depth == 1 ? 1 : 0;
        }
        return count;
    }

    void ReadItemTag(const Piece &tag)
    {
        if (tag.IsEnd) {
            Out().EndItem();
            return;
        }
        bool isNumber = false;
        const int value = Html::Attribute(tag.Source, "value"_L1).toInt(&isNumber);
        Out().BeginItem(isNumber ? &value : nullptr);
    }

    void ReadInlineTag(const Piece &tag)
    {
        const Role role = tag.RoleOf();
        switch (role) {
        case Role::Raised:
        case Role::Lowered: {
            const auto side = role == Role::Raised ? Scripts::Side::Raised : Scripts::Side::Lowered;
            if (tag.IsEnd)
                Out().EndScript(side);
            else
                Out().BeginScript(side);
            break;
        }
        case Role::Code: m_codeDepth = std::max(m_codeDepth + (tag.IsEnd ? -1 : 1), 0); break;
        case Role::Link: ReadLink(tag); break;
        case Role::Quotation: PutText(tag.IsEnd ? u"\u201D" : u"\u201C"); break;
        case Role::Underlined:
        case Role::Struck:
        case Role::Overlined: ReadLined(tag); break;
        case Role::Reading: PutText(tag.IsEnd ? u")" : u"("); break;
        case Role::ReadingBracket: m_isBehindBracket = !tag.IsEnd; break;
        default: break;
        }
    }

    // Puts the address of a link behind it, unless its text ends with it.
    void ReadLink(const Piece &tag)
    {
        const bool isWeb = m_address.startsWith("http://"_L1) || m_address.startsWith("https://"_L1);
        if (isWeb && !Out().Since(0).endsWith(m_address))
            PutText(QString(u" ("_s + m_address + u')'));
        m_address = tag.IsEnd ? QString() : Html::Attribute(tag.Source, "href"_L1).trimmed();
    }

    // Nothing but blanks with a line below is a gap to fill in.
    void ReadLined(const Piece &tag)
    {
        if (!tag.IsEnd) {
            m_lined = Out().Place();
            return;
        }
        const QStringView content = Out().Since(m_lined);
        const bool isUnderlined = tag.RoleOf() == Role::Underlined;
        if (IsBlank(content) && isUnderlined && content.size() > 1)
            Out().ReplaceSince(m_lined, u"_____"_s);
        else if (!IsBlank(content))
            Warn(LinedWarning(tag.RoleOf()));
        m_lined = Out().Place();
    }

    void ReadContent(const Piece &tag)
    {
        if (tag.IsEnd)
            return;
        const Content content = ContentOf(tag);
        ++m_codeDepth; // a formula that has been read is not read again
        PutText(content.Text);
        --m_codeDepth;
        for (const QString &warning : content.Warnings)
            Warn(warning);
        if (!content.Shown)
            return;
        if (IsBesideCells())
            BeginCell();
        Out().PutKept(QString(QChar(QChar::ObjectReplacementCharacter)), false);
        m_result.Pictures.push_back(*content.Shown);
    }

    void ReadTableTag(const Piece &tag)
    {
        if (tag.RoleOf() == Role::Table) {
            ReadWholeTableTag(tag);
            return;
        }
        // Outside of a table these are blocks.
        if (m_tables.empty()) {
            Out().EndBlock(false);
            return;
        }
        EndCell();
        if (tag.RoleOf() != Role::Cell)
            EndRow();
        if ((tag.RoleOf() == Role::Cell || tag.RoleOf() == Role::Caption) && !tag.IsEnd)
            BeginCell();
    }

    void ReadWholeTableTag(const Piece &tag)
    {
        if (!tag.IsEnd && m_tables.size() < DeepestTable) {
            if (IsBesideCells())
                BeginCell();
            Out().EndBlock(true);
            m_tables.push_back({ m_cells.size(), {} });
        } else if (!tag.IsEnd) {
            ++m_deepTables;
        } else if (m_deepTables > 0) {
            --m_deepTables;
        } else if (!m_tables.empty()) {
            EndTable();
        }
    }

    void BeginCell()
    {
        m_cells.emplace_back();
        m_lined = 0;
    }

    void EndCell()
    {
        if (IsBesideCells())
            return;
        m_tables.back().Cells.append(m_cells.back().Finished());
        m_cells.pop_back();
        m_lined = 0;
        m_isPre = false;
        m_isInParagraph = false;
    }

    void EndRow()
    {
        QStringList &cells = m_tables.back().Cells;
        if (cells.isEmpty())
            return;
        // A cell alone is not there for a column.
        if (cells.size() > 1)
            std::transform(cells.begin(), cells.end(), cells.begin(), [](const QString &cell) { return cell.simplified(); });
        for (const QString &line : cells.join(u" | "_s).split(u'\n'))
            Out().PutLine(line);
        cells.clear();
    }

    void EndTable()
    {
        EndCell();
        EndRow();
        m_tables.pop_back();
        Out().EndBlock(true);
    }

    const std::vector<Piece> &m_pieces;
    bool m_isKept;
    Readable m_result;
    std::vector<size_t> m_ends; // for each start tag; empty: not looked up
    std::vector<Lines> m_cells; // the text itself and the cells that are open, one in another
    std::vector<Table> m_tables;
    size_t m_at = 0;
    int m_deepTables = 0; // that are open inside too many others
    int m_codeDepth = 0;
    bool m_isPre = false;
    bool m_isInParagraph = false;
    bool m_isBehindBracket = false;
    QString m_address; // of the link
    qsizetype m_lined = 0; // where underlined or struck-out text begins
};

}

Readable ReadHtml(const std::vector<Piece> &pieces, WhiteSpace whiteSpace)
{
    return HtmlReader(pieces, whiteSpace).Read();
}

QString LinedWarning(Html::Role role)
{
    const QString kind = role == Role::Underlined ? u"underlined"_s : role == Role::Struck ? u"struck-out"_s : u"overlined"_s;
    return kind + u" text is shown like any other"_s;
}

QString Shielded(QString text)
{
    return text.replace(u'$', ShieldedDollar).replace(u'\\', ShieldedBackslash);
}

QString Unshielded(QString text)
{
    return text.replace(ShieldedDollar, u'$').replace(ShieldedBackslash, u'\\');
}

QString Sanitized(QString text)
{
    for (const QChar c : { ShieldedDollar, ShieldedBackslash, QChar(QChar::ObjectReplacementCharacter) })
        text.replace(c, QChar(QChar::ReplacementCharacter));
    return text;
}

}
