// SPDX-License-Identifier: Apache-2.0
// bench_review_report FOLDER: how long the review list of the longest exam takes to
// open, and each step of scrolling it; then how long the score report takes to be
// printed to a file and to be saved as a PDF. Files are written into the folder.

#include "bench/Painted.h"
#include "model/Globals.h"
#include "session/view/frmExam.h"
#include "shell/view/SheetPainter.h"
#include "shell/view/frmReview.h"
#include "ui/Theme.h"

#include <QApplication>
#include <QBuffer>
#include <QElapsedTimer>
#include <QListView>
#include <QMouseEvent>
#include <QPainter>
#include <QPdfWriter>
#include <QPrinter>
#include <QScrollBar>
#include <QStringListModel>
#include <QStyle>
#include <QStyleOptionSlider>
#include <QWheelEvent>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int Items = 32'767;
constexpr int Options = 4;
constexpr int Rounds = 15;
constexpr int Steps = 100; // of each way to scroll, in a round

[[noreturn]] void Fail(const char *what)
{
    std::fprintf(stderr, "bench_review_report: %s\n", what);
    std::exit(1);
}

std::shared_ptr<Exam> LongestExam()
{
    auto exam = std::make_shared<Exam>();
    exam->SetCode(u"BENCH"_s);
    exam->SetName(u"An exam of as many items as a file can hold"_s);
    exam->SetDuration(60);
    exam->SetMaxScore(1000);
    exam->SetPassScore(700);
    for (int number = 0; number < Items; ++number) {
        auto question = std::make_shared<Question>();
        question->SetProblem(u"?"_s);
        for (int option = 0; option < Options; ++option) {
            auto choice = std::make_shared<Choice>();
            choice->SetStatement(u"!"_s);
            choice->SetIsSolution(option < 2);
            question->Choices().Add(choice);
        }
        question->Choices().ResetNumbers();
        // Some of each kind of entry.
        question->SetAnswer(QStringList{ u""_s, u"1"_s, u"1,3"_s, u"2,3,4"_s }.at(number % 4));
        question->SetIsMarked(number % 7 == 0);
        exam->Questions().Add(question);
    }
    exam->Questions().ResetNumbers();
    return exam;
}

double Milliseconds(const std::function<void()> &work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

double Percentile(std::vector<double> times, size_t percent)
{
    std::sort(times.begin(), times.end());
    return times[times.size() * percent / 100];
}

// One line: the figure, its values, its limit.
void Row(const QString &figure, const std::vector<double> &times, const char *limit)
{
    QStringList values;
    for (const double time : times)
        values.append(QString::number(time, 'f', 3));
    std::printf("%s|%s|%s|ms\n", qPrintable(figure), qPrintable(values.join(u' ')), limit);
}

// With the median of what the least takes that can be done, in turns with it.
QString WithFloor(const QString &figure, const QString &what, const std::vector<double> &floors)
{
    return u"%1 (%2: %3 ms)"_s.arg(figure, what).arg(Percentile(floors, 50), 0, 'f', 1);
}

void Paint(QListView &list, Painted &painted, QWidget &window)
{
    window.show();
    painted.Wait();
    QApplication::processEvents();
    if (!list.viewport()->isVisible())
        Fail("the list is not visible");
}

// A bare list of the same texts, in the same columns.
double BareList(const QStringList &texts, QSize size)
{
    QListView list;
    QStringListModel model;
    return Milliseconds([&] {
        list.setFlow(QListView::LeftToRight);
        list.setWrapping(true);
        list.setGridSize(QSize(150, 26));
        list.resize(size);
        model.setStringList(texts);
        list.setModel(&model);
        Painted painted(list.viewport());
        Paint(list, painted, list);
    });
}

void Wheel(QListView &list)
{
    const QPointF place = list.viewport()->rect().center();
    QWheelEvent event(place, list.viewport()->mapToGlobal(place), {}, QPoint(0, -120), Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(list.viewport(), &event);
}

void PageDown(QListView &list)
{
    QKeyEvent event(QEvent::KeyPress, Qt::Key_PageDown, Qt::NoModifier);
    QApplication::sendEvent(&list, &event);
}

void Mouse(QScrollBar &bar, QEvent::Type type, QPointF place)
{
    const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    const Qt::MouseButtons pressed = type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent event(type, place, bar.mapToGlobal(place), button, pressed, Qt::NoModifier);
    QApplication::sendEvent(&bar, &event);
}

// The time of each step until it is painted.
void Scroll(QListView &list, Painted &painted, std::vector<double> &times)
{
    QScrollBar &bar = *list.verticalScrollBar();
    const auto step = [&](const std::function<void()> &move) {
        const int before = bar.value();
        times.push_back(Milliseconds([&] {
            move();
            if (bar.value() == before)
                Fail("a step has moved nothing");
            painted.Wait();
        }));
    };
    const auto restart = [&] {
        list.setCurrentIndex(list.model()->index(0, 0));
        bar.setValue(0);
        for (int i = 0; i < 10; ++i)
            QApplication::processEvents();
        list.viewport()->repaint();
        painted.Wait();
    };
    restart();
    for (int i = 0; i < Steps; ++i)
        step([&] { Wheel(list); });
    restart();
    PageDown(list); // to the foot of the first page
    for (int i = 0; i < Steps; ++i)
        step([&] { PageDown(list); });
    restart();
    Mouse(bar, QEvent::MouseButtonPress, { 8, 8 });
    for (int i = 1; i <= Steps; ++i)
        step([&] { Mouse(bar, QEvent::MouseMove, { 8, 8.0 + 3 * i }); });
    Mouse(bar, QEvent::MouseButtonRelease, { 8, 8 });
}

void ReviewList()
{
    Globals::CurrentExam = LongestExam();
    frmExam exam;
    exam.StartExam();
    QApplication::processEvents();
    QStringList texts;
    std::vector<double> opened;
    std::vector<double> bare;
    std::vector<double> steps;
    for (int round = 0; round < Rounds; ++round) {
        QSize size;
        std::unique_ptr<frmReview> window;
        std::unique_ptr<Painted> painted;
        QListView *list = nullptr;
        opened.push_back(Milliseconds([&] {
            window = std::make_unique<frmReview>(exam.Session(), &exam);
            window->Load();
            list = window->findChild<QListView *>(u"lvwReview"_s);
            painted = std::make_unique<Painted>(list->viewport());
            Paint(*list, *painted, *window);
        }));
        if (list->model()->rowCount() != Items)
            Fail("the list has lost items");
        size = list->size();
        if (texts.isEmpty()) {
            for (int row = 0; row < Items; ++row)
                texts.append(list->model()->index(row, 0).data().toString());
        }
        std::vector<double> times;
        Scroll(*list, *painted, times);
        steps.push_back(Percentile(times, 99));
        painted.reset();
        window.reset();
        bare.push_back(BareList(texts, size));
    }
    Row(WithFloor(u"review list of 32,767 items, opened"_s, u"a bare list"_s, bare), opened, "150");
    Row(u"each step of scrolling it, 99th percentile"_s, steps, "16.7");
    Globals::CurrentExam->EndExam();
}

// One page with one line of text.
double BarePdf()
{
    return Milliseconds([] {
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        QPdfWriter writer(&buffer);
        QPainter painter(&writer);
        painter.drawText(QPointF(500, 500), u"Score report"_s);
    });
}

void Report(const QString &folder)
{
    const ReportSheet::Data data{ u"BENCH"_s, Globals::CurrentExam->Name(), u"Monday, 23 November 2026"_s,
                                  ScoreReport::Of(*Globals::CurrentExam) };
    std::vector<double> printed;
    std::vector<double> saved;
    std::vector<double> bare;
    for (int round = 0; round < Rounds; ++round) {
        printed.push_back(Milliseconds([&] {
            QPrinter printer(QPrinter::HighResolution);
            printer.setOutputFileName(folder + u"/printed.pdf"_s);
            SheetPainter::Print(printer, data);
        }));
        saved.push_back(Milliseconds([&] { SheetPainter::SavePdf(folder + u"/saved.pdf"_s, data); }));
        bare.push_back(BarePdf());
    }
    Row(WithFloor(u"score report printed to a file"_s, u"one line of text"_s, bare), printed, "100");
    Row(WithFloor(u"score report saved as a PDF"_s, u"one line of text"_s, bare), saved, "100");
}

}

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    if (argc != 2)
        Fail("usage: bench_review_report FOLDER");
    Theme::Apply(application);
    ReviewList();
    Report(QString::fromLocal8Bit(argv[1]));
    return 0;
}
