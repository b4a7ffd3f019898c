// SPDX-License-Identifier: Apache-2.0
#include "author/Paper.h"

#include "common/Common.h"
#include "model/Exam.h"
#include "model/Globals.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace Paper {

namespace {

constexpr double SideMargin = 20;
constexpr double TopMargin = 20; // above the first line
constexpr double BottomMargin = 20;
constexpr double HeadTop = 11;
constexpr double FootRise = 13; // of the page number above the lower edge
constexpr double NumberWidth = 10; // of the column before the stem
constexpr double WideNumberWidth = 14; // when there are thousands of items
constexpr double TickSide = 3.4;
constexpr double CapitalHeight = 2.8; // about, of the letter beside the tick
constexpr double LetterLeft = 6; // from the tick
constexpr double StatementLeft = 13;
constexpr double OptionGap = 1.4;
constexpr double PartGap = 2.5; // between stem, exhibit and options
constexpr double ItemGap = 7;
constexpr double SmallestShare = 0.7; // of its size, to which a picture shrinks so that an item fits on a page
constexpr double CellGap = 6;
constexpr int MostColumns = 6;

constexpr Style Title{ 19, true, false };
constexpr Style Heading{ 13, true, false };
constexpr Style Bold{ 11, true, false };
constexpr Style Small{ 9.5, false, true };
constexpr Style Label{ 10, false, true };

// Marks that stay together, placed from the top of the row and the left edge of
// the sheet.
struct Row {
    double Height = 0;
    std::vector<Mark> Marks = {};
    double Gap = 0; // above, unless it is the first on its page
    double Ascent = 0; // of its text
};
using Block = std::vector<Row>;

double HeightOf(const Block &block)
{
    double height = 0;
    for (const Row &row : block)
        height += row.Height + (&row == &block.front() ? 0 : row.Gap);
    return height;
}

// All of it as one row.
Row Merged(const Block &block)
{
    Row merged{ 0, {}, block.empty() ? 0 : block.front().Gap, block.empty() ? 0 : block.front().Ascent };
    for (const Row &row : block) {
        merged.Height += &row == &block.front() ? 0 : row.Gap;
        for (Mark mark : row.Marks) {
            mark.Place.translate(0, merged.Height);
            merged.Marks.push_back(std::move(mark));
        }
        merged.Height += row.Height;
    }
    return merged;
}

QString Counted(int count, const QString &one, const QString &several)
{
    return QString::number(count) + u' ' + (count == 1 ? one : several);
}

class Planner {
public:
    Planner(QSizeF sheet, const Measures &measures)
        : m_sheet(sheet)
        , m_measures(measures)
        , m_pages(1)
        , m_y(TopMargin)
    {
    }

    double Width() const { return m_sheet.width() - 2 * SideMargin; }
    double RoomOnPage() const { return m_sheet.height() - TopMargin - BottomMargin; }

    // A row for each line of the text. x is the distance from the side where the
    // text begins.
    Block Lines(const QString &text, Style style, double x, double width, bool isMirrored) const
    {
        Block rows;
        for (Line &line : m_measures.Break(text, style, width)) {
            // The lines of a code begin at one place on either side.
            const bool isBlock = line.BlockWidth > 0;
            const double room = isBlock ? std::min(line.BlockWidth, width) : width;
            Mark mark{ Mark::Text, Placed(x, 0, room, line.Height, isMirrored), std::move(line.Text), line.Style };
            mark.IsRightToLeft = line.IsRightToLeft;
            mark.IsAtRight = isBlock ? line.IsRightToLeft : isMirrored;
            rows.push_back({ line.Height, { std::move(mark) }, 0, line.Ascent });
        }
        return rows;
    }

    QRectF Placed(double x, double y, double width, double height, bool isMirrored) const
    {
        return { SideMargin + (isMirrored ? Width() - x - width : x), y, width, height };
    }

    Mark Word(const QString &text, Style style, double x, double height, bool isMirrored) const
    {
        const double width = m_measures.Width(text, style);
        return { Mark::Text, Placed(x, 0, width, height, isMirrored), text, style };
    }

    // Sets a word beside the row's text, both on one base line.
    void SetBeside(Row &row, const QString &word, Style style, double x, bool isMirrored) const
    {
        const Line line = m_measures.Break(word, style, Width()).front();
        const double ascent = std::max(row.Ascent, line.Ascent);
        for (Mark &mark : row.Marks)
            mark.Place.translate(0, ascent - row.Ascent);
        row.Marks.push_back(Word(word, style, x, line.Height, isMirrored));
        row.Marks.back().Place.translate(0, ascent - line.Ascent);
        row.Height = std::max(row.Height + ascent - row.Ascent, row.Marks.back().Place.bottom());
        row.Ascent = ascent;
    }

    // A block that is higher than a page begins on a new one.
    void Add(const Block &block)
    {
        if (block.empty())
            return;
        const double left = m_sheet.height() - BottomMargin - m_y - block.front().Gap;
        if (!m_isEmpty && HeightOf(block) > left)
            Turn();
        for (const Row &row : block)
            AddRow(row);
    }

    void AddRow(const Row &row)
    {
        if (!m_isEmpty && m_y + row.Gap + row.Height > m_sheet.height() - BottomMargin)
            Turn();
        m_y += m_isEmpty ? 0 : row.Gap;
        for (Mark mark : row.Marks) {
            mark.Place.translate(0, m_y);
            m_pages.back().push_back(std::move(mark));
        }
        m_y += row.Height;
        m_isEmpty = false;
    }

    // The pages with the running head, except on the first, and their numbers.
    std::vector<Page> Finished(const QString &head)
    {
        const Line first = m_measures.Break(head, Small, Width()).front();
        for (size_t i = 0; i < m_pages.size(); ++i) {
            Mark foot = Word(u"%1 / %2"_s.arg(i + 1).arg(m_pages.size()), Small, 0, first.Height, false);
            foot.Place.moveTo((m_sheet.width() - foot.Place.width()) / 2, m_sheet.height() - FootRise);
            m_pages[i].push_back(foot);
            if (i == 0)
                continue;
            m_pages[i].push_back({ Mark::Text, { SideMargin, HeadTop, Width(), first.Height }, first.Text, Small });
            m_pages[i].push_back({ Mark::Rule, { SideMargin, HeadTop + 5.5, Width(), 0 }, {}, Small });
        }
        return std::move(m_pages);
    }

private:
    void Turn()
    {
        m_pages.emplace_back();
        m_y = TopMargin;
        m_isEmpty = true;
    }

    QSizeF m_sheet;
    const Measures &m_measures;
    std::vector<Page> m_pages;
    double m_y;
    bool m_isEmpty = true;
};

void Append(Block &block, Block rows, double gap)
{
    if (!rows.empty())
        rows.front().Gap = gap;
    std::move(rows.begin(), rows.end(), std::back_inserter(block));
}

bool HasSeveral(const Question &item)
{
    return item.AnswerCount() > 1;
}

class ExamPlanner {
public:
    ExamPlanner(const Exam &exam, QSizeF sheet, const Measures &measures)
        : m_exam(exam)
        , m_measures(measures)
        , m_planner(sheet, measures)
        , m_numberWidth(exam.Questions().Count() < 1000 ? NumberWidth : WideNumberWidth)
    {
    }

    std::vector<Page> Exam()
    {
        WriteTitle(m_exam.Name());
        WriteForm();
        for (const auto &item : m_exam.Questions())
            m_planner.Add(ItemBlock(*item));
        return m_planner.Finished(Head());
    }

    std::vector<Page> Key()
    {
        WriteTitle(u"Key: "_s + Shown(m_exam.Name()));
        WriteRule(3);
        WriteLetters();
        WriteExplanations();
        return m_planner.Finished(u"Key: "_s + Head());
    }

private:
    static QString Shown(const QString &text) { return Common::ShownText(text); }
    QString Head() const { return Shown(m_exam.Code()) + u"  ·  "_s + Shown(m_exam.Name()); }

    void WriteTitle(const QString &title)
    {
        m_planner.Add(m_planner.Lines(Shown(title), Title, 0, m_planner.Width(), false));
        const QStringList facts = { Shown(m_exam.Code()), Counted(m_exam.Questions().Count(), u"item"_s, u"items"_s),
                                    Counted(m_exam.Duration(), u"minute"_s, u"minutes"_s),
                                    u"passing score %1 of %2"_s.arg(m_exam.PassScore()).arg(m_exam.MaxScore()) };
        Block block = m_planner.Lines(facts.join(u"  ·  "_s), Label, 0, m_planner.Width(), false);
        block.front().Gap = 1.5;
        m_planner.Add(block);
    }

    void WriteRule(double gap)
    {
        m_planner.AddRow({ 1, { { Mark::Rule, m_planner.Placed(0, 0, m_planner.Width(), 1, false), {}, Small } }, gap });
    }

    // Lines to write on, and what the shapes before the options mean.
    void WriteForm()
    {
        const double height = m_measures.Break(u"Name"_s, Label, m_planner.Width()).front().Height;
        const double middle = m_planner.Width() * 0.64;
        Row form{ height, {}, 8 };
        for (const auto &[label, from, to] :
             { std::tuple{ u"Name"_s, 0.0, middle - 6 }, { u"Date"_s, middle, m_planner.Width() } }) {
            form.Marks.push_back(m_planner.Word(label, Label, from, height, false));
            const double start = from + form.Marks.back().Place.width() + 3;
            form.Marks.push_back({ Mark::Rule, m_planner.Placed(start, height, to - start, 0, false), {}, Body });
        }
        m_planner.AddRow(form);
        Row shapes{ height, {}, 4 };
        double x = 0;
        const auto add = [&](Mark::Kind shape, const QString &meaning) {
            shapes.Marks.push_back(
                { shape, m_planner.Placed(x, (height - TickSide) / 2, TickSide, TickSide, false), {}, Body });
            shapes.Marks.push_back(m_planner.Word(meaning, Label, x + LetterLeft, height, false));
            x += LetterLeft + shapes.Marks.back().Place.width() + 10;
        };
        const auto &items = m_exam.Questions();
        const auto isSeveral = [](const auto &item) { return HasSeveral(*item); };
        if (!std::all_of(items.begin(), items.end(), isSeveral))
            add(Mark::Circle, u"one answer"_s);
        if (std::any_of(items.begin(), items.end(), isSeveral))
            add(Mark::Square, u"several answers"_s);
        m_planner.AddRow(shapes);
        WriteRule(1.5);
    }

    Block ItemBlock(const Question &item) const
    {
        const double left = m_numberWidth;
        const double width = m_planner.Width() - left;
        Block block = m_planner.Lines(Shown(item.Problem()), Body, left, width, false);
        const bool isMirrored = block.front().Marks.front().IsRightToLeft;
        if (isMirrored)
            block = m_planner.Lines(Shown(item.Problem()), Body, left, width, true);
        block.front().Gap = ItemGap;
        WriteNumber(block, item, isMirrored);
        const size_t stemRows = block.size();
        const bool isSeveral = HasSeveral(item);
        if (isSeveral && item.HasHint()) {
            const QString limit = u"Choose %1."_s.arg(item.AnswerCount());
            Append(block, m_planner.Lines(limit, Label, left, width, isMirrored), PartGap);
        }
        bool isFirst = true;
        for (const auto &option : item.Choices()) {
            Block rows
                = m_planner.Lines(Shown(option->Statement()), Body, left + StatementLeft, width - StatementLeft, isMirrored);
            Row &row = rows.front();
            m_planner.SetBeside(row, Globals::OptionLetter(option->Number()), Body, left + LetterLeft, isMirrored);
            const double down = std::max(0.0, row.Ascent - (CapitalHeight + TickSide) / 2);
            row.Marks.push_back({ isSeveral ? Mark::Square : Mark::Circle,
                                  m_planner.Placed(left, down, TickSide, TickSide, isMirrored),
                                  {},
                                  Body });
            rows.front().Gap = isFirst ? PartGap : OptionGap;
            // Only what is higher than a page is divided.
            if (HeightOf(rows) <= m_planner.RoomOnPage())
                block.push_back(Merged(rows));
            else
                Append(block, std::move(rows), isFirst ? PartGap : OptionGap);
            isFirst = false;
        }
        if (item.HasExhibit()) {
            const auto below = block.begin() + static_cast<qsizetype>(stemRows);
            const double stem = HeightOf({ block.begin(), below });
            block.insert(below, PictureRow(item.Exhibit(), stem, HeightOf(block), isMirrored));
        }
        return block;
    }

    void WriteNumber(Block &block, const Question &item, bool isMirrored) const
    {
        m_planner.SetBeside(block.front(), QString::number(item.Number()) + u'.', Bold, 0, isMirrored);
    }

    // A picture is as large as it is, no wider than the stem, and shrinks a little
    // when then all of the item fits on a page; if it is too high for that, the
    // stem and the picture fit.
    Row PictureRow(const QString &exhibit, double stem, double item, bool isMirrored) const
    {
        QSizeF size = m_measures.Picture(exhibit);
        const double width = m_planner.Width() - m_numberWidth;
        if (size.width() > width)
            size *= width / size.width();
        const double besideItem = m_planner.RoomOnPage() - item - 2 * PartGap;
        const double belowStem = std::max(m_planner.RoomOnPage() - stem - 2 * PartGap, m_planner.RoomOnPage() / 2);
        const double most = besideItem >= SmallestShare * size.height() ? besideItem : belowStem;
        if (size.height() > most)
            size *= most / size.height();
        const QRectF place = m_planner.Placed(m_numberWidth, 0, size.width(), size.height(), isMirrored);
        return { size.height(), { { Mark::Picture, place, exhibit, Body } }, PartGap };
    }

    static QString LettersOf(const Question &item)
    {
        return Globals::AnswerLetters(item.CorrectAnswer()).replace(u',', u", "_s);
    }

    // As many columns as have room for the longest key, read row by row.
    void WriteLetters()
    {
        double widest = 0;
        for (const auto &item : m_exam.Questions())
            widest = std::max(widest, m_measures.Width(LettersOf(*item), Bold));
        const double needed = m_numberWidth + widest + CellGap;
        const int columns = std::clamp(static_cast<int>((m_planner.Width() + CellGap) / needed), 1, MostColumns);
        const double pitch = (m_planner.Width() + CellGap) / columns;
        Row row;
        int column = 0;
        const auto finish = [&] {
            if (column > 0)
                m_planner.AddRow(row);
            row = {};
            column = 0;
        };
        for (const auto &item : m_exam.Questions()) {
            const double left = column * pitch;
            auto lines = m_planner.Lines(LettersOf(*item), Bold, left + m_numberWidth, pitch - m_numberWidth - CellGap, false);
            m_planner.SetBeside(lines.front(), QString::number(item->Number()) + u'.', Body, left, false);
            Row cell = Merged(lines);
            row.Height = std::max(row.Height, cell.Height);
            row.Gap = OptionGap;
            std::move(cell.Marks.begin(), cell.Marks.end(), std::back_inserter(row.Marks));
            if (++column == columns)
                finish();
        }
        finish();
    }

    void WriteExplanations()
    {
        bool isFirst = true;
        for (const auto &item : m_exam.Questions()) {
            const QString text = Shown(item->Explaination());
            if (text.isEmpty())
                continue;
            Block block;
            if (std::exchange(isFirst, false))
                Append(block, m_planner.Lines(u"Explanations"_s, Heading, 0, m_planner.Width(), false), ItemGap);
            Block head = m_planner.Lines(LettersOf(*item), Bold, m_numberWidth, m_planner.Width() - m_numberWidth, false);
            WriteNumber(head, *item, false);
            Append(block, std::move(head), block.empty() ? ItemGap * 2 / 3 : PartGap);
            Append(block, Explanation(text), OptionGap / 2);
            m_planner.Add(block);
        }
    }

    Block Explanation(const QString &text) const
    {
        const double width = m_planner.Width() - m_numberWidth;
        Block lines = m_planner.Lines(text, Body, m_numberWidth, width, false);
        if (lines.front().Marks.front().IsRightToLeft)
            lines = m_planner.Lines(text, Body, 0, width, true); // the numbers stay at the left
        return lines;
    }

    const ::Exam &m_exam;
    const Measures &m_measures;
    Planner m_planner;
    double m_numberWidth;
};

}

std::vector<Page> PlanExam(const Exam &exam, QSizeF sheet, const Measures &measures)
{
    return ExamPlanner(exam, sheet, measures).Exam();
}

std::vector<Page> PlanKey(const Exam &exam, QSizeF sheet, const Measures &measures)
{
    return ExamPlanner(exam, sheet, measures).Key();
}

}
