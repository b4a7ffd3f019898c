// SPDX-License-Identifier: Apache-2.0
#include "markup/Document.h"

#include "markup/HtmlReader.h"

#include <QTextBlock>
#include <QTextList>
#include <QTextTable>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace Markup {

namespace {

constexpr QChar LineBreak = QChar(QChar::LineSeparator);

class Reader {
public:
    Reader(std::vector<Picture> &pictures, bool &isStruck)
        : m_pictures(pictures)
        , m_isStruck(isStruck)
    {
    }

    // Everything from a place in a document to the end of its frame or cell.
    QString Read(QTextFrame::iterator place)
    {
        ReadFrame(place);
        return m_lines.join(u'\n').trimmed();
    }

private:
    // Never a second empty line in a row.
    void AddLine(QString line)
    {
        while (!line.isEmpty() && line.back().isSpace())
            line.chop(1);
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
                    cells.append(Reader(m_pictures, m_isStruck).Read(cell.begin()).simplified());
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

    QString TextOf(const QTextBlock &block)
    {
        QString text;
        QString address;
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextCharFormat format = it.fragment().charFormat();
            if (format.anchorHref() != address) {
                PutAddress(text, address);
                address = format.anchorHref();
            }
            const QString part = it.fragment().text();
            m_isStruck = m_isStruck || format.fontStrikeOut();
            const qsizetype pictures = format.isImageFormat() ? part.count(QChar(QChar::ObjectReplacementCharacter)) : 0;
            for (qsizetype i = 0; i < pictures; ++i)
                m_pictures.push_back(
                    { format.toImageFormat().name(), format.stringProperty(QTextFormat::ImageAltText).trimmed() });
            text += part;
        }
        PutAddress(text, address);
        return text.replace(QChar(QChar::Nbsp), u' ');
    }

    // Appends the address of a link that ends here, unless the text ends with it.
    static void PutAddress(QString &text, const QString &address)
    {
        const bool isWeb = address.startsWith("http://"_L1) || address.startsWith("https://"_L1);
        if (isWeb && !text.endsWith(address))
            text += u" ("_s + address + u')';
    }

    std::vector<Picture> &m_pictures;
    bool &m_isStruck; // set for struck-out text
    QStringList m_lines;
    double m_margin = 0; // below the last block
    bool m_wasList = false;
};

}

Readable ReadDocument(const Document &document)
{
    Readable readable;
    bool isStruck = false;
    readable.Text = Reader(readable.Pictures, isStruck).Read(document.rootFrame()->begin());
    if (isStruck)
        readable.Warnings.append(LinedWarning(Html::Role::Struck));
    return readable;
}

}
