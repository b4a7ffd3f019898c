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
constexpr QStringView CategoryMark = u"$CATEGORY:";

bool IsHidden(QChar c)
{
    return c.unicode() >= FirstHidden && c.unicode() < FirstHidden + Escaped.size();
}

struct Directives {
    bool IsUnlimited = false;
    QStringList Exhibits;

    // Adds those in a comment line: "// [nolimit]", "// [exhibit:name]" or both.
    // Any other comment has none.
    void Read(QStringView comment)
    {
        static const QRegularExpression whole(u"^//\\s*(\\[[^\\]]*\\]\\s*)+$"_s);
        static const QRegularExpression one(u"\\[\\s*(nolimit|exhibit\\s*:([^\\]]*))\\s*\\]"_s,
                                            QRegularExpression::CaseInsensitiveOption);
        if (!comment.endsWith(u']') || !whole.match(comment.toString()).hasMatch())
            return;
        for (auto match = one.globalMatch(comment.toString()); match.hasNext();) {
            const QRegularExpressionMatch directive = match.next();
            if (directive.captured(1).startsWith(u'n', Qt::CaseInsensitive))
                IsUnlimited = true;
            else
                Exhibits.append(Restore(directive.captured(2)).trimmed());
        }
    }
};

enum class LineKind { Text, Blank, Comment, Category };

LineKind KindOf(QStringView trimmed)
{
    if (trimmed.isEmpty())
        return LineKind::Blank;
    if (trimmed.startsWith(u"//"))
        return LineKind::Comment;
    return trimmed.startsWith(CategoryMark) ? LineKind::Category : LineKind::Text;
}

// The lines of a text one by one.
class Lines {
public:
    explicit Lines(QStringView text, qsizetype begin = 0)
        : m_text(text)
        , m_next(begin)
    {
    }

    // Where the next line begins.
    qsizetype Place() const { return m_next; }

    bool Next(QStringView &line)
    {
        if (m_next > m_text.size())
            return false;
        qsizetype end = m_text.indexOf(u'\n', m_next);
        if (end < 0)
            end = m_text.size();
        line = m_text.sliced(m_next, end - m_next);
        m_next = end + 1;
        return true;
    }

private:
    QStringView m_text;
    qsizetype m_next;
};

// Tells whether an answer block that is open is closed, before another begins.
class BlockEnds {
public:
    explicit BlockEnds(QStringView text)
        : m_text(text)
    {
    }

    // Whether the first brace of an item in the lines from that place on is a "}".
    // The places do not decrease.
    bool ClosesFrom(qsizetype place)
    {
        // Between a place and the brace found from it there is no other.
        if (place > m_brace)
            Find(place);
        return m_closes;
    }

private:
    void Find(qsizetype place)
    {
        Lines lines(m_text, place);
        m_brace = m_text.size() + 1;
        m_closes = false;
        QStringView line;
        for (qsizetype begin = place; lines.Next(line); begin = lines.Place()) {
            if (KindOf(line.trimmed()) != LineKind::Text)
                continue;
            const auto brace = std::find_if(line.begin(), line.end(), [](QChar c) { return c == u'{' || c == u'}'; });
            if (brace == line.end())
                continue;
            m_brace = begin + (brace - line.begin());
            m_closes = *brace == u'}';
            return;
        }
    }

    QStringView m_text;
    qsizetype m_brace = -1;
    bool m_closes = false;
};

class Cutter {
public:
    explicit Cutter(const std::function<void(const Piece &)> &take)
        : m_take(take)
    {
    }

    void Comment(QStringView line, int number)
    {
        // A comment after the answer block applies to the next item.
        const bool isInside = !m_text.isEmpty() && !m_wasClosed;
        (isInside ? m_directives : m_nextDirectives).Read(line);
        if (!m_nextDirectives.Exhibits.isEmpty() && m_nextLine == 0)
            m_nextLine = number;
    }

    void Text(QStringView line, int number)
    {
        if (m_text.isEmpty()) {
            m_line = number;
            m_directives = std::exchange(m_nextDirectives, {});
            m_nextLine = 0;
        }
        m_text += line;
        m_text += u'\n';
        for (const QChar c : line) {
            if (c == u'{' && !m_isOpen)
                m_isOpen = true;
            else if (c == u'}' && m_isOpen)
                m_isOpen = false, m_wasClosed = true;
        }
    }

    void Category(QStringView path, int number)
    {
        Finish();
        Piece piece;
        piece.Line = number;
        piece.Category = path;
        m_take(piece);
    }

    bool IsOpen() const { return m_isOpen; }

    void Finish()
    {
        if (m_text.isEmpty())
            return;
        Give(m_line, m_directives, m_text);
        // Not cleared, which would give its memory back.
        m_text.resize(0);
        m_isOpen = m_wasClosed = false;
    }

    // A trailing exhibit comment becomes a piece without text.
    void End()
    {
        Finish();
        if (m_nextLine != 0)
            Give(m_nextLine, m_nextDirectives, {});
    }

private:
    void Give(int line, const Directives &directives, QStringView text)
    {
        Piece piece{ line, text, directives.IsUnlimited, {}, directives.Exhibits.size() > 1, {} };
        if (!directives.Exhibits.isEmpty())
            piece.Exhibit = directives.Exhibits.first();
        m_take(piece);
    }

    const std::function<void(const Piece &)> &m_take;
    int m_line = 0;
    QString m_text;
    Directives m_directives;
    bool m_isOpen = false;
    bool m_wasClosed = false;
    int m_nextLine = 0;
    Directives m_nextDirectives;
};

}

void Hide(QString &text)
{
    if (!text.contains(u'\\') && std::none_of(text.cbegin(), text.cend(), IsHidden))
        return;
    QChar *out = text.data();
    const QChar *const begin = out;
    const QChar *const end = begin + text.size();
    for (const QChar *in = begin; in != end; ++in) {
        const qsizetype which = *in == u'\\' && in + 1 != end ? Escaped.indexOf(in[1]) : -1;
        if (which >= 0) {
            *out++ = QChar(static_cast<char16_t>(FirstHidden + which));
            ++in;
        } else {
            *out++ = IsHidden(*in) ? QChar(QChar::ReplacementCharacter) : *in;
        }
    }
    text.truncate(out - begin);
}

QString Restore(QStringView text)
{
    QString restored = text.toString();
    for (QChar &c : restored) {
        if (!IsHidden(c))
            continue;
        const QChar character = Escaped.at(c.unicode() - FirstHidden);
        c = character == u'n' ? QChar(u'\n') : character;
    }
    return restored;
}

void Cut(QStringView hiddenText, const std::function<void(const Piece &)> &take)
{
    Lines lines(hiddenText);
    BlockEnds ends(hiddenText);
    Cutter cutter(take);
    QStringView line;
    for (int number = 1; lines.Next(line); ++number) {
        const QStringView trimmed = line.trimmed();
        switch (KindOf(trimmed)) {
        case LineKind::Comment: cutter.Comment(trimmed, number); break;
        case LineKind::Text: cutter.Text(line, number); break;
        case LineKind::Blank:
            if (cutter.IsOpen() && ends.ClosesFrom(lines.Place()))
                cutter.Text({}, number);
            else
                cutter.Finish();
            break;
        case LineKind::Category: cutter.Category(trimmed.sliced(CategoryMark.size()), number); break;
        }
    }
    cutter.End();
}

}
