// SPDX-License-Identifier: Apache-2.0
// bench_next_item: how long Next takes until an item with 26 options is laid
// out and painted, and until the largest items are that a file can hold.

#include "model/Globals.h"
#include "session/view/frmExam.h"
#include "ui/Theme.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QPushButton>

#include <algorithm>
#include <cstdio>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int Items = 1000;
constexpr int Options = 26;

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

std::shared_ptr<Exam> LargeExam()
{
    auto exam = std::make_shared<Exam>();
    exam->SetCode(u"BENCH"_s);
    exam->SetDuration(60);
    for (int number = 0; number < Items; ++number) {
        auto question = std::make_shared<Question>();
        question->SetProblem(Text(number, 40 + number % 80));
        for (int option = 0; option < Options; ++option)
            AddOption(*question, Text(number + option, 4 + option), option == 0 || (number % 2 == 1 && option == 5));
        question->Choices().ResetNumbers();
        exam->Questions().Add(question);
    }
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

}

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    Theme::Apply(application);
    Globals::CurrentExam = LargeExam();
    frmExam window;
    window.StartExam();
    window.setWindowState(Qt::WindowNoState);
    window.resize(1280, 900);
    QApplication::processEvents();
    const auto next = [&window] {
        QElapsedTimer timer;
        timer.start();
        window.Session().cmdNext_Click();
        window.repaint();
        const auto time = static_cast<double>(timer.nsecsElapsed()) / 1e6;
        QApplication::processEvents();
        return time;
    };
    std::vector<double> times;
    for (int item = 1; item < Items; ++item)
        times.push_back(next());
    std::sort(times.begin(), times.end());
    std::printf("next item of 26 options (median %.1f ms), 99th percentile|%.3f|8|ms\n", times[times.size() / 2],
                times[times.size() * 99 / 100]);
    std::printf("next item of 32,767 options|%.3f|1000|ms\n", next());
    std::printf("next item of 1,000 options and 980,000 characters|%.3f|1000|ms\n", next());
    Globals::CurrentExam->EndExam();
    return 0;
}
