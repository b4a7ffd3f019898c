// SPDX-License-Identifier: Apache-2.0
#include "tour/SittingTour.h"

#include "model/Globals.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFile>
#include <QFontDatabase>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QTreeView>

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString TouredExam = u"NET-101"_s;
const QString LanguagesExam = u"WORLD-101"_s;

// Beside the indicator, as a person would.
void ClickRow(QWidget *exam, const QString &name)
{
    auto *row = Driver::Find<QAbstractButton>(exam, name);
    Driver::Expect(row->isVisible() && row->isEnabled(), name + u" to be ready"_s);
    QTest::mouseClick(row, Qt::LeftButton, Qt::NoModifier, QPoint(10, row->height() / 2));
}

Question &Item(int number)
{
    return *Globals::CurrentExam->Questions().Item(number);
}

// The first item that the condition holds for.
template <class Condition> int ItemWhere(Condition &&condition, const QString &what)
{
    for (int number = 1; number <= Globals::CurrentExam->Questions().Count(); ++number) {
        if (condition(Item(number)))
            return number;
    }
    Driver::Stop(u"an item with "_s + what);
}

}

SittingTour::SittingTour(Program &program, const QString &folder)
    : Driver(folder)
    , m_program(program)
{
}

int SittingTour::Run()
{
    ChooseExam();
    AnswerItems();
    LookAtExhibits();
    ReadLongItem();
    ReviewItems();
    EndExam();
    ReviewAfterTheExam();
    Leave();
    SitLanguages();
    WhenAsked(u"really-exit"_s, QMessageBox::Yes);
    Click(Find<QPushButton>(&m_program.Main(), u"cmdExit"_s));
    Expect(Waiting() == 0, u"every window that was to show"_s);
    return Pictures();
}

QWidget *SittingTour::ExamWindow()
{
    Expect(m_program.ExamWindow() != nullptr, u"the exam window"_s);
    return m_program.ExamWindow();
}

void SittingTour::ChooseExam()
{
    frmMain &main = m_program.Main();
    Picture(&main, u"main"_s);

    When(u"frmAbout"_s, [this](QWidget *about) {
        Picture(about, u"about"_s);
        Click(Find<QPushButton>(about, u"cmdOK"_s));
    });
    Click(Find<QWidget>(&main, u"lblAbout"_s));

    WhenAsked(u"please-select"_s, QMessageBox::Ok);
    Click(Find<QPushButton>(&main, u"cmdStart"_s));

    Start(TouredExam, u"main-selected"_s);
}

void SittingTour::Start(const QString &code, const QString &picture)
{
    frmMain &main = m_program.Main();
    auto *list = Find<QTreeView>(&main, u"lvwExams"_s);
    QModelIndex row;
    for (int i = 0; i < list->model()->rowCount(); ++i) {
        if (list->model()->index(i, 0).data().toString() == code)
            row = list->model()->index(i, 0);
    }
    Expect(row.isValid(), code + u" in the list"_s);
    QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, list->visualRect(row).center());
    Picture(&main, picture);
    Click(Find<QPushButton>(&main, u"cmdStart"_s));
    WaitForExposed(ExamWindow(), u"the exam window"_s);
}

// Through the review list, which every jump of a candidate goes through.
void SittingTour::GoTo(int item)
{
    When(u"frmReview"_s, [item](QWidget *review) {
        QTest::keyClicks(Find<QLineEdit>(review, u"txtQuestion"_s), QString::number(item));
        QTest::keyClick(Find<QLineEdit>(review, u"txtQuestion"_s), Qt::Key_Return);
    });
    Click(Find<QPushButton>(ExamWindow(), u"cmdReview"_s));
    Expect(ExamWindow()->windowTitle().contains(u"Item %1 of"_s.arg(item)), u"item %1 on the page"_s.arg(item));
}

void SittingTour::AnswerItems()
{
    QWidget *exam = ExamWindow();
    auto *next = Find<QPushButton>(exam, u"cmdNext"_s);
    auto *time = Find<QLabel>(exam, u"lblTime"_s);
    const QString atStart = time->text();
    WaitFor([&] { return time->text() != atStart; }, u"the clock to run"_s);
    Picture(exam, u"first-item"_s);

    // Two thirds right: every third item gets a wrong or incomplete answer.
    const int count = Globals::CurrentExam->Questions().Count();
    for (int number = 1; number <= count; ++number) {
        const Question &item = Item(number);
        const bool isRight = number % 3 != 0;
        const bool isSingle = item.AnswerCount() == 1;
        for (const auto &choice : item.Choices()) {
            if (choice->IsSolution() != isRight)
                continue;
            // By letter, as the keyboard does it, and by mouse in turn.
            if (number % 2 == 0)
                QTest::keyClick(exam, static_cast<Qt::Key>(Qt::Key_A + choice->Number() - 1));
            else
                ClickRow(exam, (isSingle ? u"optChoices%1"_s : u"chkChoices%1"_s).arg(choice->Number()));
            if (!isRight)
                break;
        }
        if (number == 1)
            Picture(exam, u"answered"_s);
        if (number % 7 == 0)
            Click(Find<QCheckBox>(exam, u"chkMarked"_s));
        if (number < count)
            Click(next);
    }

    const int limited = ItemWhere(
        [](const Question &item) {
            return item.HasHint() && item.AnswerCount() > 1 && item.Choices().Count() > item.AnswerCount()
                && item.Answer() == item.CorrectAnswer();
        },
        u"a selection limit"_s);
    GoTo(limited);
    for (const auto &choice : Item(limited).Choices()) {
        if (choice->IsSolution())
            continue;
        WhenAsked(u"selection-limit"_s, QMessageBox::Ok);
        ClickRow(exam, u"chkChoices%1"_s.arg(choice->Number()));
        break;
    }
}

void SittingTour::LookAtExhibits()
{
    QWidget *exam = ExamWindow();
    const int pictured = ItemWhere([](const Question &item) { return item.Exhibit() == u"campus.gif"_s; }, u"an exhibit"_s);
    GoTo(pictured);
    Picture(exam, u"item-with-exhibit"_s);
    Click(Find<QPushButton>(exam, u"cmdExhibit"_s));
    auto *exhibit = exam->findChild<QWidget *>(u"frmExhibit"_s);
    Expect(exhibit != nullptr, u"the exhibit window"_s);
    Picture(exhibit, u"exhibit"_s);
    Click(Find<QPushButton>(exhibit, u"cmdClose"_s));

    const int tall
        = ItemWhere([](const Question &item) { return item.Exhibit() == u"route-table.gif"_s; }, u"a tall exhibit"_s);
    GoTo(tall);
    Click(Find<QPushButton>(exam, u"cmdExhibit"_s));
    WaitFor([&] { return exam->findChild<QWidget *>(u"frmExhibit"_s) != nullptr; }, u"the tall exhibit"_s);
    exhibit = exam->findChildren<QWidget *>(u"frmExhibit"_s).last();
    auto *bar = Find<QScrollBar>(exhibit, u"vsbScroll"_s);
    WaitForExposed(exhibit, u"the tall exhibit to show"_s);
    if (bar->isVisible())
        QTest::keyClick(exhibit, Qt::Key_End);
    Picture(exhibit, u"tall-exhibit"_s);
    Click(Find<QPushButton>(exhibit, u"cmdClose"_s));
}

void SittingTour::ReadLongItem()
{
    QWidget *exam = ExamWindow();
    const int count = Globals::CurrentExam->Questions().Count();
    int longest = 1;
    for (int number = 1; number <= count; ++number) {
        if (Item(number).Problem().size() > Item(longest).Problem().size())
            longest = number;
    }
    GoTo(ItemWhere([](const Question &item) { return item.Problem().contains(u"\n    "_s); }, u"code"_s));
    Picture(exam, u"item-with-code"_s);

    GoTo(longest);
    Picture(exam, u"long-item"_s);
    auto *bar = Find<QScrollBar>(Find<QWidget>(exam, u"picBorder"_s), u"vsbScroll"_s);
    if (bar->isEnabled()) {
        QTest::keyClick(exam, Qt::Key_End);
        Picture(exam, u"long-item-end"_s);
    }
    QTest::keyClick(exam, Qt::Key_Plus, Qt::ControlModifier);
    QTest::keyClick(exam, Qt::Key_Plus, Qt::ControlModifier);
    Picture(exam, u"larger-text"_s);
    QTest::keyClick(exam, Qt::Key_0, Qt::ControlModifier);
}

void SittingTour::ReviewItems()
{
    QWidget *exam = ExamWindow();
    When(u"frmReview"_s, [this](QWidget *review) {
        Picture(review, u"review-list"_s);
        Click(Find<QPushButton>(review, u"cmdReviewMarked"_s));
    });
    Click(Find<QPushButton>(exam, u"cmdReview"_s));
    Expect(exam->windowTitle().endsWith(u"Reviewing Marked"_s), u"the marked items"_s);
    Picture(exam, u"reviewing-marked"_s);
    Click(Find<QPushButton>(exam, u"cmdNext"_s));
    Expect(Find<QCheckBox>(exam, u"chkMarked"_s)->isChecked(), u"a marked item"_s);
}

void SittingTour::EndExam()
{
    When(u"frmReview"_s, [this](QWidget *review) {
        WhenAsked(u"really-end"_s, QMessageBox::Yes);
        When(u"frmReport"_s, [this](QWidget *report) { ReadReport(report); });
        Click(Find<QPushButton>(review, u"cmdEnd"_s));
    });
    Click(Find<QPushButton>(ExamWindow(), u"cmdReview"_s));
    Expect(Globals::CurrentExam->IsEnded(), u"the exam to have ended"_s);
}

void SittingTour::ReadReport(QWidget *report)
{
    Picture(report, u"report"_s);
    const QString pdf = Folder() + u"/Score report.pdf"_s;
    QFile::remove(pdf);
    When(u"QFileDialog"_s, [this](QWidget *dialog) {
        Picture(dialog, u"save-as-pdf"_s);
        Click(dialog->findChild<QDialogButtonBox *>(u"buttonBox"_s)->button(QDialogButtonBox::Save));
    });
    Click(Find<QPushButton>(report, u"cmdSavePdf"_s));
    Expect(QFile::exists(pdf), pdf);
    Click(Find<QPushButton>(report, u"cmdExit"_s));
}

void SittingTour::ReviewAfterTheExam()
{
    QWidget *exam = ExamWindow();
    auto *status = Find<QLabel>(exam, u"lblStatus"_s);
    Expect(Find<QWidget>(exam, u"fraInfo"_s)->isVisible(), u"the panel with the key"_s);
    GoTo(2);
    Expect(status->text() == u"CORRECT"_s, u"a right answer"_s);
    Picture(exam, u"correct"_s);
    GoTo(3);
    Expect(status->text() == u"INCORRECT"_s, u"a wrong answer"_s);
    Picture(exam, u"incorrect"_s);
    When(u"frmExplain"_s, [this](QWidget *explanation) {
        Picture(explanation, u"explanation"_s);
        Click(Find<QPushButton>(explanation, u"cmdClose"_s));
    });
    Click(Find<QPushButton>(exam, u"cmdWhy"_s));

    auto *panel = Find<QWidget>(exam, u"fraInfo"_s);
    const QPoint home = panel->pos();
    QTest::mousePress(panel, Qt::LeftButton, Qt::NoModifier, QPoint(4, 4));
    QTest::mouseMove(panel, QPoint(4 - 150, 4 - 80));
    QTest::mouseRelease(panel, Qt::LeftButton, Qt::NoModifier, QPoint(4, 4));
    // A small window has no room for such a step.
    Expect(panel->pos() != home || home.x() < 160 || home.y() < 90, u"the panel to follow the pointer"_s);
    Picture(exam, u"panel-dragged"_s);

    When(u"frmReview"_s, [this](QWidget *review) {
        Picture(review, u"review-after-the-exam"_s);
        QTest::keyClick(review, Qt::Key_Escape);
    });
    Click(Find<QPushButton>(exam, u"cmdReview"_s));
}

void SittingTour::Leave()
{
    ExamWindow()->close();
    WaitFor([&] { return m_program.Main().isVisible(); }, u"the main window again"_s);
    Expect(!Globals::CurrentExam, u"the exam to be released"_s);
}

// Each item as it is read and answered, and its explanation.
void SittingTour::SitLanguages()
{
    const QList<QFontDatabase::WritingSystem> systems = QFontDatabase::writingSystems();
    for (const auto needed : { QFontDatabase::Arabic, QFontDatabase::Hebrew, QFontDatabase::Thai, QFontDatabase::Devanagari,
                               QFontDatabase::SimplifiedChinese, QFontDatabase::Japanese, QFontDatabase::Korean }) {
        if (systems.contains(needed))
            continue;
        std::printf("%s is left out: there is no font for %s here\n", qPrintable(LanguagesExam),
                    qPrintable(QFontDatabase::writingSystemName(needed)));
        return;
    }
    Start(LanguagesExam, u"main-languages"_s);
    QWidget *exam = ExamWindow();
    const int count = Globals::CurrentExam->Questions().Count();
    const auto name = [](int number) { return u"language-"_s + QString::number(number).rightJustified(2, u'0'); };
    for (int number = 1; number <= count; ++number) {
        for (const auto &choice : Item(number).Choices()) {
            if (choice->IsSolution())
                QTest::keyClick(exam, static_cast<Qt::Key>(Qt::Key_A + choice->Number() - 1));
        }
        Picture(exam, name(number));
        if (number < count)
            Click(Find<QPushButton>(exam, u"cmdNext"_s));
        Expect(number == count || Item(number).Answer() == Item(number).CorrectAnswer(), u"the keys to choose"_s);
    }
    When(u"frmReview"_s, [this](QWidget *review) {
        WhenAsked(u"end-languages"_s, QMessageBox::Yes);
        When(u"frmReport"_s, [](QWidget *report) { Click(Find<QPushButton>(report, u"cmdExit"_s)); });
        Click(Find<QPushButton>(review, u"cmdEnd"_s));
    });
    Click(Find<QPushButton>(exam, u"cmdReview"_s));
    for (int number = 1; number <= count; ++number) {
        GoTo(number);
        Expect(Find<QLabel>(exam, u"lblStatus"_s)->text() == u"CORRECT"_s, u"the key to be right"_s);
        When(u"frmExplain"_s, [&](QWidget *explanation) {
            Picture(explanation, name(number) + u"-why"_s);
            Click(Find<QPushButton>(explanation, u"cmdClose"_s));
        });
        Click(Find<QPushButton>(exam, u"cmdWhy"_s));
    }
    Leave();
}
