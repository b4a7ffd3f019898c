// SPDX-License-Identifier: Apache-2.0
#include "bank/GiftLines.h"

#include <QRegularExpression>
#include <QStringList>

using namespace Qt::Literals::StringLiterals;

namespace GiftLines {

namespace {

constexpr QStringView Escaped = u"~=#{}:\\n";
// The first of as many noncharacters.
constexpr char16_t FirstHidden = 0xFDD0;

struct Directives {
    bool IsUnlimited = false;
    QStringList Exhibits;

    // Adds those in a comment line: "// [nolimit]", "// [exhibit:name]" or both.
    // Any other comment has none.
    void Read(const QString &comment)
    {
        static const QRegularExpression whole(u"^//\\s*(\\[[^\\]]*\\]\\s*)+$"_s);
        static const QRegularExpression one(u"\\[\\s*(nolimit|exhibit\\s*:([^\\]]*))\\s*\\]"_s,
                                            QRegularExpression::CaseInsensitiveOption);
        if (!whole.match(comment).hasMatch())
            return;
        for (auto match = one.globalMatch(comment); match.hasNext();) {
            const QRegularExpressionMatch directive = match.next();
            if (directive.captured(1).startsWith(u'n', Qt::CaseInsensitive))
                IsUnlimited = true;
            else
                Exhibits.append(Restore(directive.captured(2)).trimmed());
        }
    }
};

enum class LineKind { Text, Blank, Comment, Category };

LineKind KindOf(const QString &line)
{
    const QStringView trimmed = QStringView(line).trimmed();
    if (trimmed.isEmpty())
        return LineKind::Blank;
    if (trimmed.startsWith(u"//"))
        return LineKind::Comment;
    return trimmed.startsWith(u"$CATEGORY:") ? LineKind::Category : LineKind::Text;
}

// For each line, whether the first brace in it or in a later line is a "}".
std::vector<bool> WhereBlocksClose(const QStringList &lines)
{
    std::vector<bool> closes(static_cast<size_t>(lines.size()));
    bool closesNext = false;
    for (qsizetype i = lines.size() - 1; i >= 0; --i) {
        if (KindOf(lines.at(i)) == LineKind::Text) {
            const auto brace
                = std::find_if(lines.at(i).begin(), lines.at(i).end(), [](QChar c) { return c == u'{' || c == u'}'; });
            if (brace != lines.at(i).end())
                closesNext = *brace == u'}';
        }
        closes[static_cast<size_t>(i)] = closesNext;
    }
    return closes;
}

class Cutter {
public:
    std::vector<Piece> Pieces;

    void Comment(const QString &line, int number)
    {
        // A comment after the answer block applies to the next item.
        const bool isInside = !m_text.isEmpty() && !m_wasClosed;
        (isInside ? m_directives : m_nextDirectives).Read(line.trimmed());
        if (!m_nextDirectives.Exhibits.isEmpty() && m_nextLine == 0)
            m_nextLine = number;
    }

    void Text(const QString &line, int number)
    {
        if (m_text.isEmpty()) {
            m_line = number;
            m_directives = std::exchange(m_nextDirectives, {});
            m_nextLine = 0;
        }
        m_text += line + u'\n';
        for (const QChar c : line) {
            if (c == u'{' && !m_isOpen)
                m_isOpen = true;
            else if (c == u'}' && m_isOpen)
                m_isOpen = false, m_wasClosed = true;
        }
    }

    bool IsOpen() const { return m_isOpen; }

    void Finish()
    {
        if (m_text.isEmpty())
            return;
        Push(m_line, m_directives, m_text);
        m_text.clear();
        m_isOpen = m_wasClosed = false;
    }

    // A trailing exhibit comment becomes a piece without text.
    void End()
    {
        Finish();
        if (m_nextLine != 0)
            Push(m_nextLine, m_nextDirectives, {});
    }

private:
    void Push(int line, const Directives &directives, const QString &text)
    {
        Piece piece{ line, text, directives.IsUnlimited, {}, directives.Exhibits.size() > 1 };
        if (!directives.Exhibits.isEmpty())
            piece.Exhibit = directives.Exhibits.first();
        Pieces.push_back(std::move(piece));
    }

    int m_line = 0;
    QString m_text;
    Directives m_directives;
    bool m_isOpen = false;
    bool m_wasClosed = false;
    int m_nextLine = 0;
    Directives m_nextDirectives;
};

}

QString Hide(const QString &text)
{
    QString hidden;
    hidden.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t c = text.at(i).unicode();
        const qsizetype which = c == u'\\' && i + 1 < text.size() ? Escaped.indexOf(text.at(i + 1)) : -1;
        if (which >= 0) {
            hidden += QChar(static_cast<char16_t>(FirstHidden + which));
            ++i;
        } else {
            const bool isTaken = c >= FirstHidden && c < FirstHidden + Escaped.size();
            hidden += isTaken ? QChar(QChar::ReplacementCharacter) : QChar(c);
        }
    }
    return hidden;
}

QString Restore(const QString &text)
{
    QString restored = text;
    for (QChar &c : restored) {
        const int which = c.unicode() - FirstHidden;
        if (which >= 0 && which < Escaped.size())
            c = Escaped.at(which) == u'n' ? QChar(u'\n') : Escaped.at(which);
    }
    return restored;
}

std::vector<Piece> Cut(const QString &hiddenText)
{
    const QStringList lines = hiddenText.split(u'\n');
    const std::vector<bool> closes = WhereBlocksClose(lines);
    Cutter cutter;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const int number = static_cast<int>(i) + 1;
        switch (KindOf(lines.at(i))) {
        case LineKind::Comment: cutter.Comment(lines.at(i), number); break;
        case LineKind::Text: cutter.Text(lines.at(i), number); break;
        case LineKind::Blank:
            if (cutter.IsOpen() && closes[static_cast<size_t>(i)])
                cutter.Text({}, number);
            else
                cutter.Finish();
            break;
        case LineKind::Category: cutter.Finish(); break;
        }
    }
    cutter.End();
    return std::move(cutter.Pieces);
}

}
