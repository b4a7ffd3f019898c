// SPDX-License-Identifier: Apache-2.0
#include "bank/Gift.h"

#include "bank/Category.h"
#include "bank/Decode.h"
#include "bank/GiftBlock.h"
#include "bank/GiftLines.h"
#include "bank/Passage.h"

using namespace Qt::Literals::StringLiterals;

namespace Gift {

namespace {

constexpr QStringView EmbeddedAnswers = u"an embedded-answers question (Cloze) has its options inside the text";

// The title of "::title::", taken off the text; empty when there is none.
QString TakeTitle(QStringView &text)
{
    const qsizetype end = text.startsWith(u"::") ? text.indexOf(u"::", 2) : -1;
    if (end < 0)
        return {};
    const QStringView title = text.sliced(2, end - 2).trimmed();
    text = text.sliced(end + 2);
    return GiftLines::Restore(title);
}

// Whether nothing but end tags stands there.
bool IsEndOfMarkup(QStringView text)
{
    for (text = text.trimmed(); !text.isEmpty(); text = text.trimmed()) {
        const qsizetype close = text.indexOf(u'>');
        if (!text.startsWith(u"</") || close < 3)
            return false;
        const QStringView name = text.sliced(2, close - 2).trimmed();
        if (!std::all_of(name.begin(), name.end(), [](QChar c) { return c.isLetterOrNumber() || c == u'_'; }))
            return false;
        text = text.sliced(close + 1);
    }
    return true;
}

// The text before and after the answer block as one stem. The block is a gap in
// a sentence unless only end tags follow it.
QString Stem(QStringView before, QStringView behind)
{
    QString stem;
    stem.reserve(before.size() + behind.size() + 5);
    stem += before;
    if (!IsEndOfMarkup(behind))
        stem += u"_____"_s;
    return stem += behind;
}

// What stands between the "{" at that place and the next "}", or the end.
QStringView BlockAt(QStringView text, qsizetype open)
{
    const qsizetype close = text.indexOf(u'}', open);
    return text.sliced(open + 1, (close < 0 ? text.size() : close) - open - 1);
}

// Why a text with more than the braces of its first block, which ends at that place,
// is no item; empty when it has no others.
QString FaultOfBraces(QStringView text, qsizetype open, qsizetype close)
{
    const qsizetype next = text.indexOf(u'{', close);
    if (next < 0 && text.indexOf(u'}', close + 1) < 0)
        return {};
    if (next < 0 || !GiftBlock::IsAnswer(BlockAt(text, open)) || !GiftBlock::IsAnswer(BlockAt(text, next)))
        return u"more than one \"}\" (write \"\\{\" and \"\\}\" for braces in a text)"_s;
    return text.sliced(close, next - close).contains(u'\n')
        ? u"more than one answer block (is a blank line missing between two questions?)"_s
        : EmbeddedAnswers.toString();
}

bool HasEmbedded(QStringView text)
{
    for (qsizetype open = text.indexOf(u'{'); open >= 0; open = text.indexOf(u'{', open + 1)) {
        if (GiftBlock::IsEmbedded(text.sliced(open + 1)))
            return true;
    }
    return false;
}

// Whether the "{" at that place belongs to a formula: "^{2}", "_{n}", "\frac{1}".
bool IsOfFormula(QStringView text, qsizetype open)
{
    qsizetype at = open - 1;
    if (at >= 0 && (text[at] == u'^' || text[at] == u'_'))
        return true;
    while (at >= 0 && text[at].isLetter())
        --at;
    return at >= 0 && at < open - 1 && text[at] == u'\\';
}

enum class Braces { None, Answer, Other };

// What the braces of a paragraph hold, one with an answer counting more. An empty one
// is an essay's, and nothing in many other languages.
Braces BracesOf(QStringView text)
{
    if (text.startsWith(u"::") && text.contains(u'{'))
        return Braces::Answer;
    Braces braces = Braces::None;
    for (qsizetype open = text.indexOf(u'{'); open >= 0;) {
        const QStringView block = BlockAt(text, open);
        const bool isOfFormula = IsOfFormula(text, open);
        if (GiftBlock::IsAnswer(block) && !isOfFormula)
            return Braces::Answer;
        if (isOfFormula || !block.trimmed().isEmpty())
            braces = Braces::Other;
        open = text.indexOf(u'{', open + 1 + block.size());
    }
    return braces;
}

class Reader {
public:
    Reader(const Bank::Source &source, const Bank::Options &options, Bank::Receiver &receiver)
        : m_source(source)
        , m_options(options)
        , m_receiver(receiver)
        , m_passage(receiver)
    {
    }

    void Take(const GiftLines::Piece &piece)
    {
        if (piece.Category) {
            TakeCategory(*piece.Category);
            return;
        }
        Bank::Item item;
        item.Line = piece.Line;
        item.Category = m_category;
        item.IsUnlimited = piece.IsUnlimited;
        item.Exhibit = piece.Exhibit;
        item.Files = m_source.Files;
        QStringView text = piece.Text.trimmed();
        item.Title = TakeTitle(text);
        const bool isDescription = !text.isEmpty() && !text.contains(u'{') && !text.contains(u'}');
        if (m_options.HasPassages && isDescription && !piece.IsAmbiguous) {
            TakePassage(piece, text);
            return;
        }
        item.Refusal = piece.Text.isEmpty()
            ? u"the exhibit \"%1\" stands before no question"_s.arg(piece.Exhibit.value_or(QString()))
            : piece.IsAmbiguous ? u"more than one exhibit is named"_s
            : isDescription     ? u"a description without answers is no question"_s
                                : ReadQuestion(item, text);
        if (!item.Exhibit)
            item.Exhibit = m_passageExhibit;
        m_isPassagePending = false;
        m_passage.Give(item);
        m_receiver.Add(std::move(item));
    }

    // What the last passage belongs to ends.
    void EndPassage()
    {
        m_passage.End();
        m_passageExhibit.reset();
        m_isPassagePending = false;
    }

private:
    void TakeCategory(QStringView path)
    {
        EndPassage();
        const QStringList parts = Bank::CategoryParts(GiftLines::Restore(path));
        m_category = parts.join(u'/');
        if (!m_hasCategory)
            m_receiver.SetName(Bank::NameOfCategory(parts));
        m_hasCategory = true;
    }

    // The paragraphs of a passage are parted by blank lines, as items are.
    void TakePassage(const GiftLines::Piece &piece, QStringView text)
    {
        if (!std::exchange(m_isPassagePending, true))
            m_passageExhibit.reset();
        m_passage.Take(piece.Line, GiftBlock::Formatted(text, m_options.Unmarked));
        if (piece.Exhibit)
            m_passageExhibit = piece.Exhibit;
    }

    QString ReadQuestion(Bank::Item &item, QStringView text) const
    {
        const qsizetype open = text.indexOf(u'{');
        const qsizetype close = text.indexOf(u'}', std::max<qsizetype>(open, 0));
        if (open < 0)
            return u"a \"}\" without its \"{\""_s;
        if (HasEmbedded(text))
            return EmbeddedAnswers.toString();
        if (close < 0)
            return u"the answer block is not closed"_s;
        if (const QString fault = FaultOfBraces(text, open, close); !fault.isEmpty())
            return fault;
        item.Problem = GiftBlock::Formatted(Stem(text.first(open), text.sliced(close + 1)), m_options.Unmarked);
        return GiftBlock::Read(item, text.sliced(open + 1, close - open - 1), m_options);
    }

    const Bank::Source &m_source;
    const Bank::Options &m_options;
    Bank::Receiver &m_receiver;
    QString m_category;
    bool m_hasCategory = false;
    Bank::Passage m_passage;
    std::optional<QString> m_passageExhibit; // that its description names
    bool m_isPassagePending = false; // no item follows yet
};

}

bool Suits(const Bank::Source &source)
{
    QString text = Bank::Beginning(source);
    const QStringView begin = QStringView(text).trimmed();
    if (begin.startsWith(u"<?") || begin.startsWith(u"<!"))
        return false;
    GiftLines::Hide(text);
    int answers = 0;
    int others = 0;
    GiftLines::Cut(text, [&](const GiftLines::Piece &piece) {
        const Braces braces = piece.Category ? Braces::Answer : BracesOf(piece.Text.trimmed());
        answers += braces == Braces::Answer ? 1 : 0;
        others += braces == Braces::Other ? 1 : 0;
    });
    return answers > others;
}

void Read(const Bank::Source &source, const Bank::Options &options, Bank::Receiver &receiver)
{
    QString text = Bank::Decode(source);
    GiftLines::Hide(text);
    Reader reader(source, options, receiver);
    GiftLines::Cut(text, [&](const GiftLines::Piece &piece) { reader.Take(piece); });
    reader.EndPassage();
}

}
