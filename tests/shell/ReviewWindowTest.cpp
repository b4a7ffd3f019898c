// SPDX-License-Identifier: Apache-2.0
#include "shell/view/frmReview.h"

#include "session/view/frmExam.h"
#include "tests/support/Sketch.h"

#include <QLineEdit>
#include <QListView>
#include <QPushButton>

using namespace Windows;

namespace {

// The list over an exam of twelve items, the fifth on the page.
class ReviewWindowTest : public testing::Test {
protected:
    ReviewWindowTest()
    {
        Globals::CurrentExam = NewExam();
        for (int i = 0; i < 12; ++i)
            AddItem(*Globals::CurrentExam, { u"?"_s, { u"*yes"_s, u"no"_s } });
        Exam.StartExam();
        Exam.Session().GotoQuestion(5);
    }
    ~ReviewWindowTest() override { Globals::CurrentExam.reset(); }

    void Open()
    {
        Window = std::make_unique<frmReview>(Exam.Session(), &Exam);
        Window->Load();
        Show(Window.get());
        List = Find<QListView>(Window.get(), u"lvwReview"_s);
        Field = Find<QLineEdit>(Window.get(), u"txtQuestion"_s);
    }
    // The state that a red flag, a green tick or an empty box in that part of the window stands for.
    QString PictureIn(const QRect &place)
    {
        const QImage icon = Window->grab(place).toImage();
        int red = 0, green = 0, grey = 0;
        for (int dot = 0; dot < icon.width() * icon.height(); ++dot) {
            const QColor ink = icon.pixelColor(dot % icon.width(), dot / icon.width());
            (ink.red() > ink.green() + 60 ? red : ink.green() > ink.red() + 60 ? green : grey) += ink.lightness() < 210;
        }
        return red > 30 ? u"Checked"_s : green > 30 ? u"Complete"_s : grey > 30 ? u"Incomplete"_s : u""_s;
    }
    QModelIndex At(int row) const { return List->model()->index(row, 0); }
    QPoint CentreOf(int row) { return List->visualRect(At(row)).center(); }

    Messages Boxes;
    frmExam Exam;
    std::unique_ptr<frmReview> Window;
    QListView *List = nullptr;
    QLineEdit *Field = nullptr;
};

}

// Each with its answer behind a red flag, a green tick or an empty box.
TEST_F(ReviewWindowTest, ShowsTheItemsInOrder)
{
    const struct {
        int Solutions;
        QString Answer;
        bool IsMarked;
        QString Text, State;
    } rows[] = {
        { 1, u""_s, false, u"1"_s, u"Incomplete"_s },        { 1, u"2"_s, false, u"2 - B"_s, u"Complete"_s },
        { 2, u"1,2"_s, false, u"3 - A,B"_s, u"Complete"_s }, { 2, u"1"_s, false, u"4 - A"_s, u"Incomplete"_s },
        { 0, u""_s, false, u"5"_s, u"Complete"_s },          { 1, u""_s, true, u"6"_s, u"Checked"_s },
        { 1, u"1"_s, true, u"7 - A"_s, u"Checked"_s },
    };
    for (int row = 0; row < 7; ++row) {
        Open();
        EXPECT_EQ(Find<QWidget>(Window.get(), u"cmdReviewMarked"_s)->isEnabled(), row == 6);
        Question &item = *Globals::CurrentExam->Questions().Item(row + 1);
        for (int number : { 1, 2 })
            item.Choices().Item(number)->SetIsSolution(number <= rows[row].Solutions);
        item.SetAnswer(rows[row].Answer);
        item.SetIsMarked(rows[row].IsMarked);
    }
    Globals::CurrentExam->Questions().Item(8)->SetAnswer(u"1,2,"_s.repeated(20) + u'1');
    Open();
    EXPECT_EQ(List->model()->rowCount(), 12);
    const QString longest = At(7).data().toString();
    EXPECT_GT(List->visualRect(At(0)).width(), List->fontMetrics().horizontalAdvance(longest) + 22);
    Window->resize(1000, 500);
    EXPECT_EQ(Sketch(Window.get(), true),
              (QStringList{
                  u"Item Review"_s, u"14: 14 lvwReview 14"_s,
                  u"12: 16 * 6 Complete 20 * 6 Incomplete 20 * 6 Marked for review ..."_s,
                  u"12: 14 &Question number: 8 txtQuestion 8 &Go To ... Review &All 8 Review &Marked 26 &End Exam 14"_s }));
    const QPoint corner = List->viewport()->mapTo(Window.get(), QPoint());
    for (int row = 0; row < 7; ++row) {
        EXPECT_EQ(At(row).data().toString(), rows[row].Text);
        const QString spoken = At(row).data(Qt::AccessibleDescriptionRole).toString();
        EXPECT_EQ(spoken, rows[row].State == "Checked"_L1 ? u"Marked for review"_s : rows[row].State);
        const QRect cell = List->visualRect(At(row)).translated(corner);
        EXPECT_EQ(PictureIn({ cell.left(), cell.top(), 22, cell.height() }), rows[row].State) << row;
        EXPECT_TRUE(HasInk(Window->grab().toImage(), cell.adjusted(22, 4, -30, -4))) << row;
    }
    QString legend;
    for (const QWidget *part : PartsOf(Window.get())) {
        if (Described(part) == u"*"_s)
            legend += PictureIn(PlaceOf(part));
    }
    EXPECT_EQ(legend, u"CompleteIncompleteChecked"_s);
}

// A number from 1 to 12, or nothing; it has the focus when it is to be changed.
TEST_F(ReviewWindowTest, NumberField)
{
    Open();
    const std::pair<QString, QString> rows[] = { { u"  "_s, u"  "_s },
                                                 { u"12"_s, u"12"_s },
                                                 { u"13"_s, u"12"_s },
                                                 { u"000"_s, u"1"_s },
                                                 { u"x"_s, u"1"_s },
                                                 { u"-3"_s, u"1"_s },
                                                 { u"9"_s.repeated(400), u"12"_s } };
    for (const auto &[text, held] : rows) {
        Field->setText(text);
        EXPECT_EQ(Field->text(), held);
    }
    List->setFocus();
    Field->deselect();
    QCoreApplication::processEvents();
    EXPECT_FALSE(Field->hasSelectedText());
    QEvent activation(QEvent::WindowActivate);
    QCoreApplication::sendEvent(Window.get(), &activation);
    EXPECT_EQ(Window->focusWidget(), Field);
    EXPECT_TRUE(QTest::qWaitFor([&] { return Field->selectedText() == u"12"_s; }));
    Field->setText(u"   "_s);
    List->setFocus();
    Boxes.Expect(u"Please enter the question number into the given field."_s, InformationMessage);
    Click(Window.get(), u"cmdGoTo"_s);
    EXPECT_TRUE(Window->isVisible() && Window->focusWidget() == Field);
}

TEST_F(ReviewWindowTest, ListTakesDigitsOnly)
{
    Open();
    List->setCurrentIndex(At(0));
    // Each digit within the moment that belongs to one word.
    for (const auto &[key, row] : { std::pair{ Qt::Key_1, 9 }, std::pair{ Qt::Key_A, 9 }, std::pair{ Qt::Key_2, 11 } }) {
        QTest::keyClick(List, key);
        EXPECT_EQ(List->currentIndex().row(), row) << key;
    }
}

TEST_F(ReviewWindowTest, WaysBackToTheExam)
{
    Globals::CurrentExam->Questions().Item(3)->SetIsMarked(true);
    const auto button = [this](const QString &name) { return [this, name] { Click(Window.get(), name); }; };
    const struct {
        const char *Way;
        QString Typed;
        int Row;
        std::function<void()> Go;
        int Index, Mode;
    } rows[] = {
        { "number and button", u"7x9"_s, 0, button(u"cmdGoTo"_s), 7, 0 },
        { "number and Enter", u"12"_s, 0, [this] { QTest::keyClick(Field, Qt::Key_Return); }, 12, 0 },
        { "double-click", u""_s, 3, [this] { QTest::mouseDClick(List->viewport(), Qt::LeftButton, {}, CentreOf(3)); }, 4, 0 },
        { "Enter in the list", u""_s, 9, [this] { QTest::keyClick(List, Qt::Key_Return); }, 10, 0 },
        { "review all", u""_s, 0, button(u"cmdReviewAll"_s), 1, 1 },
        { "review marked", u""_s, 0, button(u"cmdReviewMarked"_s), 3, 2 },
        { "Escape in the list", u""_s, 0, [this] { QTest::keyClick(List, Qt::Key_Escape); }, 5, 0 },
    };
    for (const auto &row : rows) {
        Exam.Session().SetReviewMode(ExamSession::TakingExam);
        Exam.Session().GotoQuestion(5);
        Open();
        Field->clear();
        QTest::keyClicks(Field, row.Typed);
        QTest::mouseClick(List->viewport(), Qt::LeftButton, {}, CentreOf(row.Row));
        row.Go();
        EXPECT_FALSE(Window->isVisible()) << row.Way;
        EXPECT_TRUE(Exam.Session().CurrentIndex() == row.Index && Exam.Session().ReviewMode() == row.Mode) << row.Way;
    }
}

// Enter held down on the last item opens the list, and nothing more.
TEST_F(ReviewWindowTest, AKeyHeldDownChoosesNothing)
{
    QObject::connect(&Exam, &frmExam::ReviewRequested, &Exam, [this] { Open(); });
    Exam.Session().GotoQuestion(12);
    for (const bool isMarked : { true, false }) {
        Show(&Exam);
        Find<QWidget>(&Exam, u"cmdNext"_s)->setFocus();
        HeldKey enter{ Qt::Key_Return, isMarked };
        enter.Press();
        enter.Repeat(5);
        EXPECT_TRUE(Window->isVisible());
        EXPECT_EQ(QApplication::focusWidget(), Field);
        Window.reset();
    }
}

TEST_F(ReviewWindowTest, EndingTheExam)
{
    for (const MessageAnswer answer : { AnswerNo, NoAnswer, AnswerYes, AnswerOK }) {
        // The last time it has ended already, and nothing is asked.
        const bool isEnded = answer == AnswerOK, ends = isEnded || answer == AnswerYes;
        Open();
        EXPECT_EQ(Find<QPushButton>(Window.get(), u"cmdEnd"_s)->text(), isEnded ? u"&View Report"_s : u"&End Exam"_s);
        if (!isEnded)
            Boxes.Expect(u"Are you sure you want to end the exam?"_s, QuestionMessage, answer);
        std::optional<WhenOpen> report;
        if (ends)
            report.emplace(u"frmReport"_s, [&](QWidget *window) {
                EXPECT_TRUE(Globals::CurrentExam->IsEnded() && Exam.Session().CurrentIndex() == 1 && !Window->isVisible());
                EXPECT_EQ(window->parentWidget(), &Exam);
                Click(window, u"cmdExit"_s);
            });
        Click(Window.get(), u"cmdEnd"_s);
        EXPECT_EQ(Window->isVisible(), !ends);
        EXPECT_EQ(Globals::CurrentExam->IsEnded(), ends);
    }
}
