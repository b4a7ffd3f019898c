// SPDX-License-Identifier: Apache-2.0
// bench_next_item: how long Next takes until an item is laid out and painted: one
// of 26 options, one of 3,000 words, and the largest ones that a file can hold.

#include "bench/Painted.h"
#include "model/Globals.h"
#include "session/view/frmExam.h"
#include "ui/Theme.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QPainter>
#include <QTextLayout>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int Items = 300; // of 26 options in a round
constexpr int LongItems = 200;
constexpr int Options = 26;
constexpr int LongWords = 3000;
constexpr int LongOptions = 4;
constexpr int Rounds = 9;
constexpr int FloorEvery = 5; // items

// Sentences of different lengths and, on purpose, never the same twice.
QString Text(int seed, int words)
{
    static const QStringList stock
        = u"the router forwards every packet whose address matches no longer entry of its table"_s.split(u' ');
    QStringList text;
    for (int i = 0; i < words; ++i)
        text.append(stock.at((seed * 7 + i * 3) % stock.size()));
    return text.join(u' ') + u" %1"_s.arg(seed);
}

void AddOption(Question &question, const QString &text, bool isSolution)
{
    auto choice = std::make_shared<Choice>();
    choice->SetStatement(text);
    choice->SetIsSolution(isSolution);
    question.Choices().Add(choice);
}

// Radio buttons and check boxes in turns.
void AddItem(Exam &exam, int number, int words, int options)
{
    auto question = std::make_shared<Question>();
    question->SetProblem(Text(number, words));
    for (int option = 0; option < options; ++option)
        AddOption(*question, Text(number + option, 4 + option), option == 0 || (number % 2 == 1 && option == 3));
    question->Choices().ResetNumbers();
    exam.Questions().Add(question);
}

std::shared_ptr<Exam> LargeExam()
{
    auto exam = std::make_shared<Exam>();
    exam->SetCode(u"BENCH"_s);
    exam->SetDuration(60);
    for (int number = 0; number < Items; ++number)
        AddItem(*exam, number, 40 + number % 80, Options);
    for (int number = 0; number < LongItems; ++number)
        AddItem(*exam, number, LongWords + number, LongOptions);
    // The most options, and the most characters.
    for (const auto &[options, characters] : { std::pair{ 32'767, 20 }, { 1'000, 980 } }) {
        auto question = std::make_shared<Question>();
        for (int option = 0; option < options; ++option)
            AddOption(*question, Text(option, characters / 4).left(characters), option == 0);
        question->Choices().ResetNumbers();
        exam->Questions().Add(question);
    }
    exam->Questions().ResetNumbers();
    return exam;
}

// Lays the texts of an item out and paints them into a picture, as much as fits: what
// no window can do without.
double Floor(const Question &question, const QFont &font, QImage &page)
{
    QElapsedTimer timer;
    timer.start();
    page.fill(Qt::white);
    QPainter painter(&page);
    qreal y = 0;
    const auto draw = [&](const QString &text) {
        QTextLayout layout(text, font);
        layout.setCacheEnabled(true);
        layout.beginLayout();
        for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
            line.setLineWidth(page.width());
            line.setPosition(QPointF(0, y));
            if (y < page.height())
                line.draw(&painter, QPointF());
            y += line.height();
        }
        layout.endLayout();
    };
    draw(question.Problem());
    for (const auto &choice : question.Choices())
        draw(choice->Statement());
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

class Bench {
public:
    Bench()
        : m_painted(m_window.findChild<QWidget *>(u"lblQuestion"_s))
        , m_ahead(m_window.findChild<QTimer *>(u"tmrAhead"_s))
    {
        m_window.StartExam();
        m_window.setWindowState(Qt::WindowNoState);
        m_window.resize(1280, 900);
        QApplication::processEvents();
    }

    // From the press until the events that it brings are handled, the painting last.
    double Next()
    {
        m_painted.Forget();
        QElapsedTimer timer;
        timer.start();
        m_window.Session().cmdNext_Click();
        m_painted.Wait();
        return static_cast<double>(timer.nsecsElapsed()) / 1e6;
    }

    // In each round the median and the 99th percentile of the items of that range.
    void Measure(const QString &what, int first, int last)
    {
        QStringList medians;
        QStringList tails;
        std::vector<double> floors;
        const auto *stem = m_window.findChild<QWidget *>(u"lblQuestion"_s);
        QImage page(stem->width(), m_window.height(), QImage::Format_RGB32);
        for (int round = 0; round < Rounds; ++round) {
            m_window.Session().GotoQuestion(static_cast<qint16>(first));
            QApplication::processEvents();
            std::vector<double> times;
            for (int item = first + 1; item <= last; ++item) {
                // A candidate stays longer than the window needs until the next item is laid
                // out. The processor stays awake, or how it wakes up would be measured.
                while (m_ahead->isActive())
                    QApplication::processEvents();
                times.push_back(Next());
            }
            for (int item = first; item < last; item += FloorEvery)
                floors.push_back(Floor(*Globals::CurrentExam->Questions().Item(item), stem->font(), page));
            std::sort(times.begin(), times.end());
            medians.append(QString::number(times[times.size() / 2], 'f', 3));
            tails.append(QString::number(times[times.size() * 99 / 100], 'f', 3));
        }
        std::sort(floors.begin(), floors.end());
        std::printf("next item of %s, median (its texts alone: %.1f ms)|%s|2|ms\n", qPrintable(what), floors[floors.size() / 2],
                    qPrintable(medians.join(u' ')));
        std::printf("next item of %s, 99th percentile|%s|4|ms\n", qPrintable(what), qPrintable(tails.join(u' ')));
    }

private:
    frmExam m_window;
    Painted m_painted;
    QTimer *m_ahead;
};

}

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    Theme::Apply(application);
    Globals::CurrentExam = LargeExam();
    Bench bench;
    bench.Measure(u"26 options"_s, 1, Items);
    bench.Measure(u"3,000 words"_s, Items + 1, Items + LongItems);
    std::printf("next item of 32,767 options|%.3f|1000|ms\n", bench.Next());
    std::printf("next item of 1,000 options and 980,000 characters|%.3f|1000|ms\n", bench.Next());
    Globals::CurrentExam->EndExam();
    return 0;
}
