#include "shell/frmReview.h"

#include "session/frmExam.h"
#include "tests/support/Windows.h"

#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>

using namespace Windows;

namespace {

const QString EndQuestion = u"Are you sure you want to end the exam?"_s;

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
        List = Find<QListWidget>(Window.get(), u"lvwReview"_s);
        Field = Find<QLineEdit>(Window.get(), u"txtQuestion"_s);
    }
    QPoint CentreOf(int row) { return List->visualItemRect(List->item(row)).center(); }
    void Type(const QString &text)
    {
        Field->clear();
        QTest::keyClicks(Field, text);
    }

    Messages Boxes;
    frmExam Exam;
    std::unique_ptr<frmReview> Window;
    QListWidget *List = nullptr;
    QLineEdit *Field = nullptr;
};

}

TEST_F(ReviewWindowTest, ShowsTheItemsInOrder)
{
    Globals::CurrentExam->Questions().Item(2)->SetAnswer(u"2"_s);
    Open();
    EXPECT_FALSE(Find<QWidget>(Window.get(), u"cmdReviewMarked"_s)->isEnabled());
    EXPECT_EQ(Find<QPushButton>(Window.get(), u"cmdEnd"_s)->text(), u"&End Exam"_s);
    Globals::CurrentExam->Questions().Item(12)->SetIsMarked(true);
    Open();
    EXPECT_TRUE(Find<QWidget>(Window.get(), u"cmdReviewMarked"_s)->isEnabled());
    ASSERT_EQ(List->count(), 12);
    for (int row = 0; row < 12; ++row) {
        EXPECT_EQ(List->item(row)->text(), row == 1 ? u"2 - B"_s : QString::number(row + 1));
        // A green tick, a red flag, or an empty box.
        int red = 0, green = 0, grey = 0;
        const QImage icon = List->viewport()->grab(QRect(List->visualItemRect(List->item(row)).topLeft(), QSize(22, 26))).toImage();
        for (int y = 0; y < icon.height(); ++y) {
            for (int x = 0; x < icon.width(); ++x) {
                const QColor ink = icon.pixelColor(x, y);
                (ink.red() > ink.green() + 60 ? red : ink.green() > ink.red() + 60 ? green : grey) += ink.lightness() < 210;
            }
        }
        EXPECT_TRUE(row == 1 ? green > 30 && red == 0 : row == 11 ? red > 30 && green == 0 : grey > 30 && red + green == 0)
            << row << ": " << red << ' ' << green << ' ' << grey;
    }
}

TEST_F(ReviewWindowTest, FocusGoesToTheField)
{
    Open();
    Type(u"12"_s);
    List->setFocus();
    Field->deselect();
    QEvent activation(QEvent::WindowActivate);
    QCoreApplication::sendEvent(Window.get(), &activation);
    EXPECT_EQ(Window->focusWidget(), Field);
    EXPECT_TRUE(QTest::qWaitFor([&] { return Field->selectedText() == u"12"_s; }));
}

TEST_F(ReviewWindowTest, ListTakesDigitsOnly)
{
    Open();
    List->setCurrentRow(0);
    // Each digit within the moment that belongs to one word.
    for (const auto &[key, row] : { std::pair{ Qt::Key_1, 9 }, std::pair{ Qt::Key_A, 9 }, std::pair{ Qt::Key_2, 11 } }) {
        QTest::keyClick(List, key);
        EXPECT_EQ(List->currentRow(), row) << key;
    }
}

TEST_F(ReviewWindowTest, WaysBackToTheExam)
{
    Globals::CurrentExam->Questions().Item(3)->SetIsMarked(true);
    const struct { QString Way; std::function<void()> Go; int Index; int Mode; } rows[] = {
        { u"number and button"_s, [this] { Type(u"7"_s); Click(Window.get(), u"cmdGoTo"_s); }, 7, 0 },
        { u"number and Enter"_s, [this] { Type(u"12"_s); QTest::keyClick(Field, Qt::Key_Return); }, 12, 0 },
        { u"double-click"_s, [this] {
             QTest::mouseClick(List->viewport(), Qt::LeftButton, Qt::NoModifier, CentreOf(3));
             QTest::mouseDClick(List->viewport(), Qt::LeftButton, Qt::NoModifier, CentreOf(3));
         }, 4, 0 },
        { u"Enter in the list"_s, [this] { List->setCurrentRow(9); QTest::keyClick(List, Qt::Key_Return); }, 10, 0 },
        { u"review all"_s, [this] { Click(Window.get(), u"cmdReviewAll"_s); }, 1, 1 },
        { u"review marked"_s, [this] { Click(Window.get(), u"cmdReviewMarked"_s); }, 3, 2 },
        { u"Escape in the list"_s, [this] { QTest::keyClick(List, Qt::Key_Escape); }, 5, 0 },
    };
    for (const auto &row : rows) {
        Exam.Session().SetReviewMode(0);
        Exam.Session().GotoQuestion(5);
        Open();
        row.Go();
        EXPECT_FALSE(Window->isVisible()) << row.Way.toStdString();
        EXPECT_EQ(Exam.Session().CurrentIndex(), row.Index) << row.Way.toStdString();
        EXPECT_EQ(Exam.Session().ReviewMode(), row.Mode) << row.Way.toStdString();
    }
    Open();
    Type(u"   "_s);
    List->setFocus();
    Boxes.Expect(u"Please enter the question number into the given field."_s, InformationMessage);
    Click(Window.get(), u"cmdGoTo"_s);
    EXPECT_TRUE(Window->isVisible());
    EXPECT_EQ(Window->focusWidget(), Field);
}

// Enter held down on the last item opens the list, and nothing more.
TEST_F(ReviewWindowTest, AKeyHeldDownChoosesNothing)
{
    QObject::connect(&Exam, &frmExam::ReviewRequested, &Exam, [this] { Open(); });
    Exam.Session().GotoQuestion(12);
    for (const bool isMarked : { true, false }) {
        Show(&Exam);
        Find<QWidget>(&Exam, u"cmdNext"_s)->setFocus();
        HeldKey enter(Qt::Key_Return, isMarked);
        enter.Press();
        enter.Repeat(5);
        EXPECT_TRUE(Window->isVisible());
        EXPECT_EQ(QApplication::focusWidget(), Field);
        Window.reset();
    }
}

TEST_F(ReviewWindowTest, EndingTheExam)
{
    Open();
    for (const int answer : { AnswerNo, NoAnswer }) {
        Boxes.Expect(EndQuestion, QuestionMessage, answer);
        Click(Window.get(), u"cmdEnd"_s);
        EXPECT_TRUE(Window->isVisible());
        EXPECT_FALSE(Globals::CurrentExam->IsEnded());
    }
    int reports = 0;
    const auto end = [&] {
        WhenOpen report(u"frmReport"_s, [&](QWidget *window) {
            ++reports;
            EXPECT_TRUE(Globals::CurrentExam->IsEnded());
            EXPECT_EQ(Exam.Session().CurrentIndex(), 1);
            EXPECT_FALSE(Window->isVisible());
            EXPECT_EQ(window->parentWidget(), &Exam);
            Click(window, u"cmdExit"_s);
        });
        Click(Window.get(), u"cmdEnd"_s);
    };
    Boxes.Expect(EndQuestion, QuestionMessage, AnswerYes);
    end();
    EXPECT_FALSE(Window->isVisible());
    Open();
    EXPECT_EQ(Find<QPushButton>(Window.get(), u"cmdEnd"_s)->text(), u"&View Report"_s);
    end();
    EXPECT_EQ(reports, 2) << "the second without a question";
}
