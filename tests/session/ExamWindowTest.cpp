#include "session/frmExam.h"

#include "model/Globals.h"
#include "session/frmExplain.h"
#include "tests/support/ExamBuilder.h"
#include "tests/support/ExpectError.h"
#include "tests/support/Messages.h"
#include "tests/support/Windows.h"

#include <QCheckBox>
#include <QFrame>
#include <QKeyEvent>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSignalSpy>

using namespace Qt::Literals::StringLiterals;
using namespace Windows;

namespace {

const QString Letters = u"ABCDEFGHIJKLMNOPQRSTUVWXYZ"_s;
const QString EndQuestion = u"Are you sure you want to terminate the exam?"_s;

class ExamWindowTest : public testing::Test {
protected:
    ExamWindowTest()
    {
        QStringList options;
        for (const QChar letter : Letters)
            options.append(u"option "_s + letter);
        Globals::CurrentExam = NewExam();
        AddItem(*Globals::CurrentExam, { u"single"_s, { u"*one"_s, u"two"_s, u"three"_s }, false, u""_s, u" because "_s });
        options.first().prepend(u'*');
        AddItem(*Globals::CurrentExam, { u"long "_s.repeated(3'000), options });
        AddItem(*Globals::CurrentExam, { u"<b>bold</b> <img src='/etc/x.png'> AT&T"_s, { u"*AT&T"_s, u"*<i>x</i>"_s, u"cut\0off"_s } });
    }
    ~ExamWindowTest() override { Globals::CurrentExam.reset(); }

    void Start(int width = 900, int height = 640)
    {
        Window.StartExam();
        Show(&Window);
        Resize(width, height);
    }
    void Resize(int width, int height)
    {
        Window.setWindowState(Qt::WindowNoState);
        Window.resize(width, height);
        ASSERT_TRUE(QTest::qWaitFor([&] { return Window.size() == QSize(width, height); }));
    }
    void EndExam()
    {
        Globals::CurrentExam->EndExam();
        Window.Session().GotoQuestion(1);
        Window.Session().StartPostExamReview();
    }
    QAbstractButton *Row(const QString &kind, int row) { return Find<QAbstractButton>(&Window, kind + QString::number(row)); }
    // The rows of the page as . and x.
    QString Rows(const QString &kind, int count)
    {
        QString rows;
        for (int row = 1; row <= count; ++row)
            rows += Row(kind, row)->isChecked() ? u'x' : u'.';
        return rows;
    }

    Messages Boxes;
    frmExam Window;
    QFrame *Frame = Find<QFrame>(&Window, u"picBorder"_s);
    QWidget *Content = Find<QWidget>(&Window, u"picQuestion"_s);
    QScrollBar *Bar = Find<QScrollBar>(Frame, u"vsbScroll"_s);
    QWidget *Panel = Find<QWidget>(&Window, u"fraInfo"_s);
};

}

TEST_F(ExamWindowTest, RowsByMouseAndKeyboard)
{
    Start();
    const QString radio = u"optChoices"_s;
    struct Step { QString Action; std::function<void()> Do; QString Rows; };
    const Step steps[] = {
        { u"the button"_s, [&] { ClickBox(&Window, u"optChoices2"_s); }, u".x."_s },
        { u"a chosen one again"_s, [&] { ClickBox(&Window, u"optChoices2"_s); }, u".x."_s },
        { u"the text"_s, [&] { Click(&Window, u"lblChoices3"_s); }, u"..x"_s },
        { u"its letter"_s, [&] { QTest::keyClick(&Window, Qt::Key_A); }, u"x.."_s },
        { u"a letter on another control"_s, [&] { QTest::keyClick(Row(radio, 1), Qt::Key_B); }, u".x."_s },
        { u"a letter without a row"_s, [&] { QTest::keyClick(&Window, Qt::Key_D); }, u".x."_s },
        { u"a capital letter"_s, [&] { QTest::keyClick(&Window, Qt::Key_C, Qt::ShiftModifier); }, u"..x"_s },
        { u"a letter with Control"_s, [&] { QTest::keyClick(&Window, Qt::Key_A, Qt::ControlModifier); }, u"..x"_s },
        { u"a letter held down"_s, [&] {
             QKeyEvent repeated(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier, u"a"_s, true);
             QCoreApplication::sendEvent(&Window, &repeated);
         }, u"..x"_s },
        { u"Space"_s, [&] { QTest::keyClick(Row(radio, 1), Qt::Key_Space); }, u"x.."_s },
    };
    for (const Step &step : steps) {
        step.Do();
        EXPECT_EQ(Rows(radio, 3), step.Rows) << step.Action.toStdString();
    }
    Click(&Window, u"cmdNext"_s);
    EXPECT_EQ(Globals::CurrentExam->Questions().Item(1)->Answer(), u"1"_s);
    for (int row = 1; row <= Letters.size(); ++row) {
        QTest::keyClick(&Window, Letters.at(row - 1).toLower().toLatin1());
        EXPECT_EQ(Rows(radio, 26), u"."_s.repeated(row - 1) + u'x' + u"."_s.repeated(26 - row)) << row;
    }
    Click(&Window, u"cmdNext"_s);
    QTest::keyClick(&Window, Qt::Key_A);
    QTest::keyClick(&Window, Qt::Key_C);
    QTest::keyClick(&Window, Qt::Key_A);
    Click(&Window, u"lblChoices2"_s);
    EXPECT_EQ(Rows(u"chkChoices"_s, 3), u".xx"_s);

    EndExam();
    QTest::keyClick(&Window, Qt::Key_B);
    Click(&Window, u"lblChoices2"_s);
    EXPECT_EQ(Rows(radio, 3), u"x.."_s) << "after the exam";
    EXPECT_FALSE(Row(radio, 1)->isEnabled());
}

TEST_F(ExamWindowTest, ButtonsByKeyboard)
{
    Start();
    QSignalSpy lists(&Window, &frmExam::ReviewRequested);
    const auto item = [&] { return int(Window.Session().CurrentIndex()); };
    const auto becomes = [&](int index) { return QTest::qWaitFor([&] { return item() == index; }); };
    QTest::keyClick(&Window, Qt::Key_N, Qt::AltModifier);
    EXPECT_TRUE(becomes(2));
    QTest::keyClick(&Window, Qt::Key_P, Qt::AltModifier);
    EXPECT_TRUE(becomes(1));
    QTest::keyClick(&Window, Qt::Key_M, Qt::AltModifier);
    EXPECT_TRUE(QTest::qWaitFor([&] { return Find<QCheckBox>(&Window, u"chkMarked"_s)->isChecked(); }));
    QTest::keyClick(&Window, Qt::Key_R, Qt::AltModifier);
    EXPECT_TRUE(QTest::qWaitFor([&] { return lists.count() == 1; }));
    EXPECT_TRUE(Globals::CurrentExam->Questions().Item(1)->IsMarked());

    Find<QWidget>(&Window, u"cmdNext"_s)->setFocus();
    QTest::keyClick(Window.focusWidget(), Qt::Key_Return);
    EXPECT_EQ(item(), 2);
    Find<QWidget>(&Window, u"cmdPrev"_s)->setFocus();
    QTest::keyClick(Window.focusWidget(), Qt::Key_Enter);
    EXPECT_EQ(item(), 1);
    Find<QWidget>(&Window, u"chkMarked"_s)->setFocus();
    QTest::keyClick(Window.focusWidget(), Qt::Key_Return);
    EXPECT_EQ(item(), 1) << "Enter presses the button that has the focus, no other";
}

TEST_F(ExamWindowTest, TextSize)
{
    Start();
    const auto *question = Find<QLabel>(&Window, u"lblQuestion"_s);
    const double normal = question->font().pointSizeF();
    const int top = Row(u"optChoices"_s, 1)->y();
    struct Step { QString Keys; double Factor; };
    for (const Step &step : { Step{ u"+"_s, 1.1 }, Step{ u"="_s, 1.21 }, Step{ u"-"_s, 1.1 }, Step{ u"0"_s, 1 }, Step{ u"-"_s, 1 / 1.1 },
                              Step{ u"-"_s.repeated(40), 0.7 }, Step{ u"+"_s.repeated(60), 2.6 } }) {
        for (const QChar key : step.Keys)
            QTest::keyClick(&Window, static_cast<Qt::Key>(key.unicode()), Qt::ControlModifier);
        EXPECT_NEAR(question->font().pointSizeF(), normal * step.Factor, 0.05) << step.Keys.toStdString();
    }
    EXPECT_GT(Row(u"optChoices"_s, 1)->y(), top) << "the rows make room";
    Click(&Window, u"cmdNext"_s);
    for (const QWidget *text : { Find<QWidget>(&Window, u"lblQuestion"_s), Find<QWidget>(&Window, u"lblChoices1"_s),
                                 Find<QWidget>(&Window, u"optChoices1"_s), Find<QWidget>(&Window, u"optChoices26"_s) })
        EXPECT_NEAR(text->font().pointSizeF(), normal * 2.6, 0.05) << text->objectName().toStdString() << " on the next item";
}

TEST_F(ExamWindowTest, Geometry)
{
    Start();
    for (const QSize size : { QSize(900, 640), QSize(620, 450), QSize(1'250, 900) }) {
        Resize(size.width(), size.height());
        SCOPED_TRACE(testing::Message() << size.width() << " x " << size.height());
        const QRect frame = Frame->geometry();
        const QRect inner = Frame->contentsRect();
        const auto box = [&](const QString &name) { return Find<QWidget>(&Window, name)->geometry(); };
        const double pixel = 1.01; // two edges, rounded
        EXPECT_NEAR(frame.width(), size.width() * 0.99, pixel);
        EXPECT_NEAR(frame.left(), size.width() * 0.005, pixel);
        EXPECT_NEAR(frame.top() - (box(u"chkMarked"_s).bottom() + 1), 100 / 15.0, pixel);
        EXPECT_NEAR(box(u"cmdNext"_s).top() - (frame.bottom() + 1), 100 / 15.0, pixel);
        EXPECT_EQ(box(u"cmdNext"_s).bottom() + 1, size.height());
        EXPECT_NEAR(box(u"chkMarked"_s).left(), frame.left(), pixel);
        EXPECT_NEAR(frame.left() + inner.width() - (box(u"lblTime"_s).right() + 1), 50 / 15.0, pixel);
        EXPECT_NEAR(Content->width(), inner.width() * 0.97, pixel);
        EXPECT_NEAR(box(u"lblQuestion"_s).width(), inner.width() * 0.97 * 0.98, pixel);
        EXPECT_EQ(Bar->geometry().right(), inner.right());
        EXPECT_TRUE(inner.contains(Bar->geometry()));
        EXPECT_NEAR(Bar->height(), inner.height(), 1);
        const int span = box(u"cmdReview"_s).left() - frame.left();
        EXPECT_NEAR(box(u"cmdReview"_s).right(), frame.right(), pixel);
        EXPECT_NEAR(box(u"cmdPrev"_s).left(), frame.left() + span / 2.0, pixel);
        // The first row 500 below the question, the next ones 200 below the one before.
        EXPECT_NEAR(box(u"lblChoices1"_s).top() - (box(u"lblQuestion"_s).bottom() + 1), 500 / 15.0, pixel);
        EXPECT_NEAR(box(u"lblChoices2"_s).top() - (box(u"lblChoices1"_s).bottom() + 1), 200 / 15.0, pixel);
        EXPECT_NEAR(Content->height() - (box(u"lblChoices3"_s).bottom() + 1), 1'000 / 15.0, pixel);
        EXPECT_EQ(box(u"optChoices2"_s).top(), box(u"lblChoices2"_s).top());
        EXPECT_EQ(box(u"optChoices2"_s).right() + 1, box(u"lblChoices2"_s).left());
        EXPECT_EQ(box(u"lblChoices2"_s).right(), box(u"lblQuestion"_s).right());
    }
    Globals::CurrentExam->Questions().Item(2)->SetExhibit(u"map.gif"_s);
    Click(&Window, u"cmdNext"_s);
    const int span = Find<QWidget>(&Window, u"cmdReview"_s)->x() - Frame->x();
    EXPECT_NEAR(Find<QWidget>(&Window, u"cmdPrev"_s)->x(), Frame->x() + span / 3.0, 1.01);
    EXPECT_NEAR(Find<QWidget>(&Window, u"cmdExhibit"_s)->x(), Frame->x() + span * 2 / 3.0, 1.01);
}

TEST_F(ExamWindowTest, Scrolling)
{
    Start();
    EXPECT_FALSE(Bar->isEnabled());
    Click(&Window, u"cmdNext"_s);
    EXPECT_TRUE(Bar->isEnabled());
    const QRect inner = Frame->contentsRect();
    EXPECT_EQ(Bar->pageStep(), inner.height() * 15);
    EXPECT_NEAR(Bar->singleStep(), inner.height() * 1.5, 1);
    QTest::keyClick(&Window, Qt::Key_PageDown);
    EXPECT_EQ(Content->y(), inner.top() - inner.height()) << "by a page";
    QTest::keyClick(&Window, Qt::Key_End);
    EXPECT_EQ(Bar->value(), Bar->maximum());
    EXPECT_EQ(Content->geometry().bottom(), inner.bottom()) << "the end of the content at the end of the frame";

    // A row that the focus goes to is scrolled into view.
    QTest::keyClick(&Window, Qt::Key_Home);
    EXPECT_EQ(Content->y(), inner.top());
    for (const int row : { 26, 1, 13 }) {
        Row(u"optChoices"_s, row)->setFocus();
        const QRect label = Find<QWidget>(&Window, u"lblChoices%1"_s.arg(row))->geometry().translated(Content->pos());
        EXPECT_TRUE(inner.contains(label)) << row;
    }

    const int value = Bar->value();
    Resize(910, 630);
    EXPECT_EQ(Content->y(), Frame->contentsRect().top()) << "a resize shows the top";
    EXPECT_EQ(Bar->value(), value) << "and the bar stays where it is";
    Bar->setValue(value + 15);
    EXPECT_EQ(Content->y(), Frame->contentsRect().top() - (value + 15 + 7) / 15) << "until it is moved";
    for (const qint16 item : { 2, 3 }) {
        Window.Session().GotoQuestion(item);
        EXPECT_EQ(Bar->value(), 0) << item;
        EXPECT_EQ(Content->y(), Frame->contentsRect().top()) << item;
        EXPECT_EQ(Bar->isEnabled(), item == 2);
    }
}

// On an item that fits there is nothing to scroll, and the keys do nothing.
TEST_F(ExamWindowTest, ScrollKeysOnAShortItem)
{
    Start();
    for (const Qt::Key key : { Qt::Key_PageDown, Qt::Key_PageUp, Qt::Key_End, Qt::Key_Home })
        QTest::keyClick(&Window, key);
    EXPECT_FALSE(Bar->isEnabled());
    EXPECT_EQ(Content->y(), Frame->contentsRect().y());
}

// The press of a click gives the row the focus; were the page to move under
// it, the release would miss the row.
TEST_F(ExamWindowTest, ClicksMoveNothing)
{
    Start();
    Click(&Window, u"cmdNext"_s);
    QAbstractButton *row = Row(u"optChoices"_s, 20);
    Bar->setValue(static_cast<int>((row->y() - Frame->height() + 20) * 15.0));
    const int before = Content->y();
    ASSERT_LT(before, 0);
    row->setFocus(Qt::MouseFocusReason);
    EXPECT_EQ(Content->y(), before);
    Row(u"optChoices"_s, 21)->setFocus(Qt::TabFocusReason);
    EXPECT_LT(Content->y(), before) << "but a key brings its row into view";
}

TEST_F(ExamWindowTest, HeldMnemonics)
{
    Start();
    QKeyEvent held(QEvent::ShortcutOverride, Qt::Key_N, Qt::AltModifier, u"n"_s, true);
    held.ignore();
    QCoreApplication::sendEvent(&Window, &held);
    EXPECT_TRUE(held.isAccepted()) << "not left to the mnemonic";
    QKeyEvent pressed(QEvent::ShortcutOverride, Qt::Key_N, Qt::AltModifier, u"n"_s);
    pressed.ignore();
    QCoreApplication::sendEvent(&Window, &pressed);
    EXPECT_FALSE(pressed.isAccepted());
}

TEST_F(ExamWindowTest, PanelByKeyboard)
{
    Start();
    const QPoint before = Panel->pos();
    QTest::keyClick(&Window, Qt::Key_Left, Qt::ControlModifier);
    EXPECT_EQ(Panel->pos(), before) << "not while the exam runs";
    EndExam();
    const QPoint home = Panel->pos();
    QTest::keyClick(&Window, Qt::Key_Left, Qt::ControlModifier);
    QTest::keyClick(&Window, Qt::Key_Up, Qt::ControlModifier);
    EXPECT_EQ(Panel->pos(), home - QPoint(20, 20));
}

TEST_F(ExamWindowTest, PanelIsDraggedAndReturns)
{
    Start();
    EXPECT_FALSE(Panel->isVisible());
    EndExam();
    ASSERT_TRUE(Panel->isVisible());
    EXPECT_FALSE(Find<QWidget>(&Window, u"lblTime"_s)->isVisible());
    const QRect inner = Frame->contentsRect();
    const QPoint home = Panel->pos();
    EXPECT_NEAR(Bar->x() - (Panel->geometry().right() + 1), 50 / 15.0, 1.01);
    EXPECT_NEAR(inner.bottom() - Panel->geometry().bottom(), 50 / 15.0, 1.01);
    const auto drag = [&](Qt::MouseButton button, QPoint by) {
        QTest::mousePress(Panel, button, Qt::NoModifier, QPoint(5, 5));
        QTest::mouseMove(Panel, QPoint(5, 5) + by);
        QTest::mouseRelease(Panel, button, Qt::NoModifier, QPoint(5, 5));
    };
    struct Step { QPoint By, Moved; Qt::MouseButton Button = Qt::LeftButton; };
    for (const Step &step : { Step{ { -150, -80 }, { -150, -80 } }, Step{ { 50, 9'000 }, { -100, -80 } }, Step{ { -9'000, -9'000 }, { -100, -80 } },
                              Step{ { -20, -20 }, { -100, -80 }, Qt::RightButton } }) {
        drag(step.Button, step.By);
        EXPECT_EQ(Panel->pos() - home, step.Moved) << step.By.x() << ' ' << step.By.y();
    }
    Resize(900, 641);
    EXPECT_EQ(Panel->pos(), home + QPoint(0, 1));
    // It does not move when its button comes and goes.
    const QSize size = Panel->size();
    EXPECT_TRUE(Find<QWidget>(&Window, u"cmdWhy"_s)->isVisible());
    Click(&Window, u"cmdNext"_s);
    EXPECT_FALSE(Find<QWidget>(&Window, u"cmdWhy"_s)->isVisible());
    EXPECT_EQ(Panel->size(), size);
    const auto colour = [&] { return Find<QLabel>(&Window, u"lblStatus"_s)->palette().color(QPalette::WindowText); };
    EXPECT_EQ(colour(), QColor(255, 0, 0));
    Globals::CurrentExam->Questions().Item(1)->SetAnswer(u"1"_s);
    Window.Session().GotoQuestion(1);
    EXPECT_EQ(colour(), QColor(0, 128, 0));
}

TEST_F(ExamWindowTest, TheClockIsNotAnnouncedEachSecond)
{
    Start();
    const auto *time = Find<QLabel>(&Window, u"lblTime"_s);
    QStringList names;
    QStringList texts;
    for (int tick = 0; tick < 120; ++tick) {
        Window.Session().tmrTimer_Timer();
        if (!names.contains(time->accessibleName()))
            names.append(time->accessibleName());
        texts.append(time->text());
    }
    EXPECT_EQ(texts.removeDuplicates(), 0);
    EXPECT_TRUE(texts.contains(u"Time Remaining:  00:59:00"_s));
    EXPECT_GE(names.size(), 2);
    EXPECT_LE(names.size(), 4) << "once a minute";
    EXPECT_TRUE(names.first().contains(u"00:59"_s)) << names.first().toStdString();
}

TEST_F(ExamWindowTest, TextsAreShownAsTheyStand)
{
    Start();
    Window.Session().GotoQuestion(3);
    struct Expected { QString Label, Text; };
    for (const Expected &row : { Expected{ u"lblQuestion"_s, u"<b>bold</b> <img src='/etc/x.png'> AT&T"_s }, Expected{ u"lblChoices1"_s, u"AT&T"_s },
                                 Expected{ u"lblChoices2"_s, u"<i>x</i>"_s }, Expected{ u"lblChoices3"_s, u"cut"_s } }) {
        EXPECT_EQ(Find<QLabel>(&Window, row.Label)->text(), row.Text);
        EXPECT_EQ(Find<QLabel>(&Window, row.Label)->textFormat(), Qt::PlainText);
    }
    EXPECT_EQ(Row(u"chkChoices"_s, 1)->text(), u"A."_s);
    EXPECT_EQ(Row(u"chkChoices"_s, 1)->accessibleName(), u"A. AT&T"_s);
    Globals::CurrentExam->Questions().Item(3)->Choices().Item(1)->SetNumber(qint16(u'&') - 64);
    Window.Session().GotoQuestion(3);
    EXPECT_EQ(Row(u"chkChoices"_s, 1)->text(), u"&&."_s) << "an ampersand is no mnemonic";
}

TEST_F(ExamWindowTest, Explanations)
{
    Start();
    EndExam();
    WhenOpen explanation(u"frmExplain"_s, [&](QWidget *window) {
        EXPECT_EQ(window->windowTitle(), u"Explaination - Question: 1"_s);
        EXPECT_EQ(Find<QPlainTextEdit>(window, u"txtExplaination"_s)->toPlainText(), u"because"_s);
        EXPECT_TRUE(Find<QPlainTextEdit>(window, u"txtExplaination"_s)->isReadOnly());
        QTest::keyClick(window, Qt::Key_Escape);
    });
    Click(&Window, u"cmdWhy"_s);

    const QString none = u"Sorry! Explaination is not available for this question."_s;
    struct Text { QString Stored, Shown; };
    for (const Text &row : { Text{ u""_s, none }, Text{ u"    "_s, none }, Text{ u"  a \r\n b  "_s, u"a \n b"_s }, Text{ u" \tx\t "_s, u"\tx\t"_s },
                             Text{ u"<b>AT&T</b>"_s, u"<b>AT&T</b>"_s }, Text{ u"a\0b"_s, u"a"_s }, Text{ u"\0b"_s, none } }) {
        Globals::CurrentExam->Questions().Item(2)->SetExplaination(row.Stored);
        frmExplain window(&Window);
        window.QuestionNumber = 2;
        window.Load();
        EXPECT_EQ(Find<QPlainTextEdit>(&window, u"txtExplaination"_s)->toPlainText(), row.Shown) << row.Stored.toStdString();
    }
    for (const qint16 number : { 0, 4, -1 }) {
        frmExplain window(&Window);
        window.QuestionNumber = number;
        EXPECT_EQ(ResultOf([&] { window.Load(); }), u"9 "_s) << number;
    }
}

TEST_F(ExamWindowTest, Closing)
{
    QSignalSpy unloaded(&Window, &frmExam::Unloaded);
    Start();
    Boxes.Expect(EndQuestion, QuestionMessage, AnswerNo);
    EXPECT_FALSE(Window.close());
    EXPECT_TRUE(Window.isVisible());
    EXPECT_NE(Globals::CurrentExam, nullptr);
    EXPECT_EQ(unloaded.count(), 0);
    const auto exam = Globals::CurrentExam;
    for (const bool isEnded : { false, true }) {
        frmExam window;
        QSignalSpy closed(&window, &frmExam::Unloaded);
        Globals::CurrentExam = exam;
        window.StartExam();
        if (isEnded)
            exam->EndExam();
        else
            Boxes.Expect(EndQuestion, QuestionMessage, AnswerYes);
        window.close();
        EXPECT_FALSE(window.isVisible()) << isEnded;
        EXPECT_EQ(Globals::CurrentExam, nullptr) << isEnded;
        EXPECT_EQ(closed.count(), 1) << isEnded;
    }
}
