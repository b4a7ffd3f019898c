// SPDX-License-Identifier: Apache-2.0
#include "shell/ReportSheet.h"

#include "common/Common.h"

using namespace Qt::Literals::StringLiterals;

namespace ReportSheet {

namespace {

constexpr qsizetype LongTitle = 128; // characters
constexpr qsizetype LongestLine = 1000; // more than a line has room for
constexpr double CodeRow = 55;
constexpr double TitleRow = 60;
constexpr double TitleRestRow = 65;
constexpr double GraphLeft = 30;
constexpr double GraphWidth = 130;
constexpr double LabelLeft = 5;
constexpr double GraphTop = 100;
constexpr double GraphBottom = 130;
constexpr double BarHeight = 8;
constexpr double MarksRow = 132;
constexpr double ScoresRow = 145;
constexpr double MarkLength = 1.5;
constexpr double FooterRow = 250;
constexpr double FooterGap = 3;
constexpr double ClosingRow = 255;
constexpr double LabelGap = 2;
constexpr double CodeGap = 5; // between the code and the date
constexpr double SmallestSize = 0.6; // of the usual letters; smaller ones cannot be read
constexpr double SizeStep = 0.02;
constexpr qsizetype LongestJobCode = 60; // characters; a job's name has 255 bytes

const QString TitleLabel = u"Exam Title: "_s;

// As much of the text as there is room for, in millimetres; one that is cut
// ends with an ellipsis.
QString Elided(const QString &text, double room, const Measure &measure, double size = 1)
{
    if (text.size() <= LongestLine && measure(text, false, size) <= room)
        return text;
    const auto cut = [&](qsizetype length) { return text.left(length).trimmed() + u'…'; };
    qsizetype shortest = 0;
    qsizetype longest = std::min(text.size() - 1, LongestLine);
    while (shortest < longest) {
        const qsizetype middle = (shortest + longest + 1) / 2;
        if (measure(cut(middle), false, size) <= room)
            shortest = middle;
        else
            longest = middle - 1;
    }
    return cut(shortest);
}

// Writes the parts of the page one below the other.
class Planner {
public:
    Planner(Plan &plan, const Measure &measure)
        : m_plan(plan)
        , m_measure(measure)
    {
    }

    void WriteCode(const QString &examCode, const QString &date)
    {
        const QString dated = u"Dated: "_s + date;
        const double dateLeft = UsableWidth - Width(dated);
        Write(0, CodeRow, Elided(u"Exam Code: "_s + examCode, dateLeft - CodeGap, m_measure));
        Write(dateLeft, CodeRow, dated);
    }

    // Both lines of a title have letters of one size.
    void WriteTitle(const Title &title)
    {
        double size = 1;
        const auto indent = [&] { return title.Rest.isEmpty() ? 0 : m_measure(TitleLabel, false, size); };
        const auto fits = [&] {
            return m_measure(title.First.left(LongestLine), false, size) <= UsableWidth
                && indent() + m_measure(title.Rest.left(LongestLine), false, size) <= UsableWidth;
        };
        while (!fits() && size > SmallestSize)
            size = std::max(size - SizeStep, SmallestSize);
        Write(0, TitleRow, Elided(title.First, UsableWidth, m_measure, size), false, size);
        if (!title.Rest.isEmpty())
            Write(indent(), TitleRestRow, Elided(title.Rest, UsableWidth - indent(), m_measure, size), false, size);
    }

    void DrawBars(const ScoreReport &report)
    {
        struct Row {
            QString Label;
            double LabelTop;
            double BarTop;
            qint16 Share;
            ScoreBar Kind;
        };
        const Row rows[] = { { u"Required Score:"_s, 110, 106, report.RequiredShare(), ScoreBar::Required },
                             { u"Your Score:"_s, 120, 116, report.ObtainedShare(), report.ObtainedBar() } };
        // Whatever font they are printed in, the labels keep clear of the bars.
        double labelSize = 1;
        for (const Row &row : rows)
            labelSize = std::min(labelSize, (GraphLeft - LabelGap - LabelLeft) / Width(row.Label));
        for (const Row &row : rows) {
            const double length = std::max(0.0F, Common::PercentOf(row.Share, static_cast<float>(GraphWidth)));
            Write(LabelLeft, row.LabelTop, row.Label, false, labelSize);
            m_plan.Bars.push_back({ QRectF(GraphLeft, row.BarTop, length, BarHeight), row.Kind });
            // A bar can be longer than the paper is wide; its share stays readable.
            const QString share = QString::number(row.Share) + u'%';
            Write(std::min(GraphLeft + length + LabelGap, UsableWidth - Width(share)), row.LabelTop, share);
        }
    }

    // The frame of the graph: where 0 stands, the scale, and its quarters.
    void DrawGraph()
    {
        Draw({ GraphLeft, GraphTop }, { GraphLeft, GraphBottom });
        Draw({ GraphLeft, GraphBottom }, { GraphLeft + GraphWidth, GraphBottom });
        for (const double quarter : { 0.25, 0.5, 0.75, 1.0 }) {
            const double x = GraphLeft + GraphWidth * quarter;
            Draw({ x, GraphBottom - MarkLength }, { x, GraphBottom });
        }
        Write(GraphLeft, MarksRow, u"0%"_s);
        Write(GraphLeft + GraphWidth, MarksRow, u"100%"_s);
    }

    void WriteScores(const ScoreReport &report)
    {
        const QString obtained = u"Your Score: "_s + QString::number(report.ObtainedScore);
        const QString grade = u"Grade: "_s + (report.IsPassed() ? u"Pass"_s : u"Fail"_s);
        Write(0, ScoresRow, u"Required Score: "_s + QString::number(report.RequiredScore), true);
        Write((UsableWidth - m_measure(obtained, true, 1)) / 2, ScoresRow, obtained, true);
        Write(UsableWidth - m_measure(grade, true, 1), ScoresRow, grade, true);
    }

    void WriteFoot()
    {
        Draw({ 0, FooterRow - FooterGap }, { UsableWidth, FooterRow - FooterGap });
        WriteCentred(FooterRow, u"Score report printed with Practorium - The Most Realistic Exam Simulator"_s);
        WriteCentred(ClosingRow, u"Good luck with the real one!"_s);
    }

private:
    double Width(const QString &text) const { return m_measure(text, false, 1); }
    void Write(double x, double y, const QString &text, bool isBold = false, double size = 1)
    {
        m_plan.Texts.push_back({ x, y, text, isBold, size });
    }
    void WriteCentred(double y, const QString &text) { Write((UsableWidth - Width(text)) / 2, y, text); }
    void Draw(QPointF from, QPointF to) { m_plan.Lines.push_back({ from, to }); }

    Plan &m_plan;
    const Measure &m_measure;
};

}

Title TitleOf(const QString &examName)
{
    const QString line = TitleLabel + examName;
    const qsizetype blank = line.size() > LongTitle ? line.indexOf(u' ', LongTitle - 1) : -1;
    if (blank < 0)
        return { line, {} };
    return { line.left(blank), line.mid(blank + 1) };
}

Plan PlanFor(const Data &data, const Measure &measure)
{
    Plan plan;
    Planner planner(plan, measure);
    planner.WriteCode(Common::ShownText(data.ExamCode), data.Date);
    planner.WriteTitle(TitleOf(Common::ShownText(data.ExamName)));
    planner.DrawBars(data.Report);
    planner.DrawGraph();
    planner.WriteScores(data.Report);
    planner.WriteFoot();
    return plan;
}

QString JobName(const QString &examCode)
{
    QString code = Common::ShownText(examCode);
    code.removeIf([](QChar character) { return !character.isPrint(); });
    if (code.size() > LongestJobCode)
        code = code.left(LongestJobCode) + u"..."_s;
    return u"Score report: "_s + code;
}

}
