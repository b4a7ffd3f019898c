// SPDX-License-Identifier: Apache-2.0
#include "session/view/frmExam.h"

#include "session/view/frmExplain.h"
#include "tests/session/Candidate.h"
#include "tests/support/Seed.h"
#include "tests/support/Sketch.h"

#include <QAccessible>
#include <QFrame>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>

using namespace Windows;

namespace {

const QString Letters = u"ABCDEFGHIJKLMNOPQRSTUVWXYZ"_s;

// A window that is used by mouse and keys, now in this way, now in that.
class WindowHands : public Hands, public MessagePort {
public:
    WindowHands()
    {
        SetMessagePort(this);
        QObject::connect(&Window, &frmExam::ReviewRequested, &Window, [this] { Port.ShowReviewList(); });
        QObject::connect(&Window, &frmExam::ReportRequested, &Window, [this] { Port.ShowReport(); });
        Windows::Show(&Window);
        Window.setWindowState(Qt::WindowNoState);
        Window.resize(900, 640);
    }
    ~WindowHands() override { SetMessagePort(nullptr); }

    MessageAnswer Show(const QString &text, MessageStyle style) override { return Port.Ask(text, style, {}); }
    ExamSession &Session() override { return Window.Session(); }
    void Choose(int row, SelectorKind kind, bool) override
    {
        auto *selector = Find(&Window, (kind == SelectorKind::Radio ? u"optChoices%1"_s : u"chkChoices%1"_s).arg(row));
        if (m_acts++ % 2 == 0)
            return ClickBox(&Window, selector->objectName());
        selector->setFocus();
        QTest::keyClick(selector, Qt::Key_Space);
    }
    void ClickText(int row) override { Click(&Window, u"lblChoices%1"_s.arg(row)); }
    void PressLetter(QChar letter, bool) override
    {
        QTest::keyClick(Window.focusWidget(), static_cast<Qt::Key>(letter.toUpper().unicode()));
    }
    void Mark(bool) override { Press(u"chkMarked"_s, Qt::Key_Space); }
    void Next() override { Press(u"cmdNext"_s); }
    void Previous() override { Press(u"cmdPrev"_s); }
    void Review() override { Press(u"cmdReview"_s); }
    void Exhibit() override
    {
        Port.Meanwhile = {}; // it is missing anyway
        Press(u"cmdExhibit"_s);
    }
    void Why() override
    {
        WhenOpen explanation(u"frmExplain"_s, [this](QWidget *window) {
            Port.Log += u"why "_s + window->windowTitle().section(u"Explaination - Question: "_s, 1);
            QTest::keyClick(window, Qt::Key_Escape);
        });
        Press(u"cmdWhy"_s);
        QApplication::setActiveWindow(&Window);
    }
    bool Close() override { return Session().Page().IsPostExam || Window.close(); }
    QStringList Shown() override { return Sketch(&Window); }
    bool Hears(const QString &word) const override
    {
        return !QStringList{ u"item"_s, u"clock"_s, u"no clock"_s, u"exam"_s, u"map.gif"_s }.contains(word);
    }

    frmExam Window;

private:
    void Press(const QString &name, Qt::Key key = Qt::Key_Return)
    {
        if (m_acts++ % 2 == 0)
            return Click(&Window, name);
        Find(&Window, name)->setFocus();
        QTest::keyClick(Window.focusWidget(), key);
    }

    int m_acts = 0;
};

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
        AddItem(*Globals::CurrentExam, { u"texts"_s, { u"*AT&T"_s, u"*<i>x</i>"_s, u"cut\0off"_s } });
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

// Whatever is clicked and pressed, the window shows what the rules say.
TEST(ExamWindowSittingTest, AnySteps)
{
    constexpr int Sittings = 30, Steps = 40;
    const unsigned seed = TestSeed();
    for (unsigned sitting = 0; sitting < Sittings && !HasFailure(); ++sitting) {
        SCOPED_TRACE(testing::Message() << "seed " << seed + sitting);
        WindowHands hands;
        Candidate(hands, seed + sitting, 60).Sit(Steps);
    }
}

// In pixels, of which each length of the rules may be rounded once.
TEST_F(ExamWindowTest, Places)
{
    AddItem(*Globals::CurrentExam, { u"exhibit"_s, { u"*one"_s, u"two"_s }, false, u"map.gif"_s });
    Start();
    EndExam();
    const auto place = [&](const QString &name) { return PlaceOf(Find(&Window, name)); };
    const auto below = [](const QRect &upper, double twips) { return upper.bottom() + 1 + twips / 15; };
    for (const qint16 item : { 1, 4 }) {
        Window.Session().GotoQuestion(item);
        const QString kind = u"optChoices"_s;
        const QRect frame = place(u"picBorder"_s), inner = Frame->contentsRect().translated(frame.topLeft()),
                    mark = place(u"chkMarked"_s), next = place(u"cmdNext"_s), review = place(u"cmdReview"_s),
                    stem = place(u"lblQuestion"_s), text = place(u"lblChoices1"_s), row = place(kind + u'1'),
                    bar = place(u"vsbScroll"_s), exhibit = place(u"cmdExhibit"_s);
        const double step = (review.left() - next.left()) / (item == 4 ? 3.0 : 2.0);
        const struct {
            const char *What;
            double Is, Expected;
        } rows[] = {
            { "the frame's width", frame.width() * 1.0, 0.99 * Window.width() },
            { "the frame in the middle", frame.center().x() * 1.0, Window.width() / 2.0 - 0.5 },
            { "the frame below the mark", frame.top() * 1.0, below(mark, 100) },
            { "the buttons below the frame", next.top() * 1.0, below(frame, 100) },
            { "the buttons at the foot", next.bottom() + 1.0, Window.height() * 1.0 },
            { "the mark at the frame's left", mark.left() * 1.0, frame.left() * 1.0 },
            { "the time at the frame's right", place(u"lblTime"_s).right() + 1.0, below(inner.transposed(), 0) },
            { "Next", next.left() * 1.0, frame.left() * 1.0 },
            { "Previous", place(u"cmdPrev"_s).left() * 1.0, next.left() + step },
            { "Exhibit", exhibit.left() * 1.0, item == 4 ? next.left() + 2 * step : exhibit.left() },
            { "Review", review.right() * 1.0, frame.right() * 1.0 },
            { "the bar", bar.right() * 1.0, inner.right() * 1.0 },
            { "the bar's height", bar.height() * 1.0, inner.height() * 1.0 },
            { "the stem's width", stem.width() * 1.0, 0.98 * 0.97 * inner.width() },
            { "the first option", row.top() * 1.0, below(stem, 500) },
            { "the second option", place(kind + u'2').top() * 1.0, below(text, 200) },
            { "the option's text", text.left() * 1.0, row.right() + 1.0 },
            { "the text's width", text.right() * 1.0, stem.right() * 1.0 },
            { "the panel's right", below(PlaceOf(Panel).transposed(), 50), bar.left() * 1.0 },
            { "the panel's foot", below(PlaceOf(Panel), 50), inner.bottom() + 1.0 },
        };
        for (const auto &[what, is, expected] : rows)
            EXPECT_NEAR(is, expected, 1.01) << what << " of item " << item;
    }
}

TEST_F(ExamWindowTest, TextSize)
{
    Start();
    const auto *question = Find<QLabel>(&Window, u"lblQuestion"_s);
    const double normal = question->font().pointSizeF();
    const int top = Row(u"optChoices"_s, 1)->y();
    struct Step {
        QString Keys;
        double Factor;
    };
    for (const Step &step : { Step{ u"+="_s, 1.21 }, Step{ u"-"_s, 1.1 }, Step{ u"0"_s, 1 }, Step{ u"-"_s.repeated(40), 0.7 },
                              Step{ u"+"_s.repeated(60), 2.6 } }) {
        for (const QChar key : step.Keys)
            QTest::keyClick(&Window, static_cast<Qt::Key>(key.unicode()), Qt::ControlModifier);
        EXPECT_NEAR(question->font().pointSizeF(), normal * step.Factor, 0.05) << step.Keys.toStdString();
    }
    EXPECT_GT(Row(u"optChoices"_s, 1)->y(), top) << "the rows make room";
    Click(&Window, u"cmdNext"_s);
    EXPECT_NEAR(Row(u"optChoices"_s, 26)->font().pointSizeF(), normal * 2.6, 0.05) << "on the next item too";
}

TEST_F(ExamWindowTest, Scrolling)
{
    Start();
    // On an item that fits there is nothing to scroll, and the keys do nothing.
    for (const Qt::Key key : { Qt::Key_PageDown, Qt::Key_PageUp, Qt::Key_End, Qt::Key_Home })
        QTest::keyClick(&Window, key);
    EXPECT_FALSE(Bar->isEnabled());
    EXPECT_EQ(Content->y(), Frame->contentsRect().y());
    Click(&Window, u"cmdNext"_s);
    EXPECT_TRUE(Bar->isEnabled());
    const QRect inner = Frame->contentsRect();
    QTest::keyClick(&Window, Qt::Key_PageDown);
    EXPECT_EQ(Content->y(), inner.top() - inner.height()) << "by a page";
    QTest::keyClick(&Window, Qt::Key_End);
    EXPECT_EQ(Content->geometry().bottom(), inner.bottom()) << "the end of the content at the end of the frame";

    // A row that the focus goes to is scrolled into view.
    QTest::keyClick(&Window, Qt::Key_Home);
    // But not by the press of a click: its release would miss the row.
    Row(u"optChoices"_s, 20)->setFocus(Qt::MouseFocusReason);
    EXPECT_EQ(Content->y(), inner.top());
    for (const int row : { 26, 1, 13 }) {
        Row(u"optChoices"_s, row)->setFocus(Qt::TabFocusReason);
        const QRect label = Find<QWidget>(&Window, u"lblChoices%1"_s.arg(row))->geometry().translated(Content->pos());
        EXPECT_TRUE(inner.contains(label)) << row;
    }
    // Also when the bar stands there already, and the page, after a change of size, does not.
    for (const int width : { 901, 900 }) {
        Resize(width, 640);
        Find<QWidget>(&Window, u"cmdNext"_s)->setFocus();
        Row(u"optChoices"_s, 26)->setFocus(Qt::TabFocusReason);
        EXPECT_LE(Row(u"optChoices"_s, 26)->geometry().bottom() + Content->y(), inner.bottom()) << width;
    }
    // But not when the window becomes the active one again, maybe by a click.
    Row(u"optChoices"_s, 26)->setFocus(Qt::BacktabFocusReason);
    Bar->setValue(Row(u"optChoices"_s, 1)->y() * 15);
    const QPoint place = Row(u"optChoices"_s, 1)->mapTo(&Window, QPoint(8, 8));
    QWidget other;
    Show(&other);
    QApplication::setActiveWindow(&Window);
    QTest::mouseClick(Window.windowHandle(), Qt::LeftButton, Qt::NoModifier, place);
    EXPECT_TRUE(Row(u"optChoices"_s, 1)->isChecked());

    const int value = Bar->value();
    Resize(910, 630);
    EXPECT_EQ(Content->y(), Frame->contentsRect().top()) << "a resize shows the top";
    EXPECT_EQ(Bar->value(), value) << "and the bar stays where it is";
    Bar->setValue(value + 15);
    EXPECT_EQ(Content->y(), Frame->contentsRect().top() - (value + 15 + 7) / 15) << "until it is moved";
    const int shown = Content->y();
    Window.showMinimized();
    Window.showNormal();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&Window));
    EXPECT_EQ(Content->y(), shown) << "minimised and restored";
    Window.Session().GotoQuestion(2);
    EXPECT_EQ(Bar->value(), 0);
    EXPECT_EQ(Content->y(), Frame->contentsRect().top());
}

TEST_F(ExamWindowTest, AKeyHeldDownGoesOneItemOn)
{
    Start();
    auto *next = Find<QAbstractButton>(&Window, u"cmdNext"_s);
    for (const bool isMarked : { true, false }) {
        for (HeldKey key : { HeldKey{ Qt::Key_Return, isMarked }, HeldKey{ Qt::Key_N, isMarked, u"n"_s, Qt::AltModifier },
                             HeldKey{ Qt::Key_Space, isMarked, u" "_s } }) {
            const bool isSpace = key.Key == Qt::Key_Space; // acts when released
            Window.Session().GotoQuestion(1);
            next->setFocus();
            key.Press();
            EXPECT_TRUE(isSpace || QTest::qWaitFor([&] { return Window.Session().CurrentIndex() == 2; }));
            key.Repeat(5);
            EXPECT_EQ(next->isDown(), isSpace && isMarked) << "another click is on its way";
            key.Release();
            EXPECT_EQ(Window.Session().CurrentIndex(), 2) << isMarked;
        }
        HeldKey letter{ Qt::Key_A, isMarked, u"a"_s };
        Window.Session().GotoQuestion(3);
        for (const QString &rows : { u"x.."_s, u"..."_s }) {
            letter.Press();
            letter.Repeat(3);
            letter.Release();
            EXPECT_EQ(Rows(u"chkChoices"_s, 3), rows);
        }
    }
}

TEST_F(ExamWindowTest, PanelIsDraggedAndReturns)
{
    for (const int options : { 26, 900 })
        AddItem(*Globals::CurrentExam, { u"many"_s, QStringList(options, u"*x"_s) });
    Start();
    EXPECT_FALSE(Panel->isVisible());
    EndExam();
    ASSERT_TRUE(Panel->isVisible());
    const QPoint home = Panel->pos();
    const auto drag = [&](Qt::MouseButton button, QPoint by) {
        QTest::mousePress(Panel, button, Qt::NoModifier, QPoint(5, 5));
        QTest::mouseMove(Panel, QPoint(5, 5) + by);
        QTest::mouseRelease(Panel, button, Qt::NoModifier, QPoint(5, 5));
        return Panel->pos() - home;
    };
    EXPECT_EQ(drag(Qt::LeftButton, { -150, -80 }), QPoint(-150, -80));
    EXPECT_EQ(drag(Qt::LeftButton, { 50, 9'000 }), QPoint(-100, -80)) << "each way by itself stays inside";
    EXPECT_EQ(drag(Qt::RightButton, { -20, -20 }), QPoint(-100, -80));
    Resize(900, 641);
    EXPECT_EQ(Panel->pos(), home + QPoint(0, 1));
    QTest::keyClick(&Window, Qt::Key_Left, Qt::ControlModifier);
    EXPECT_EQ(Panel->pos(), home + QPoint(-20, 1)) << "by the keyboard";
    const auto colour = [&] { return Find<QLabel>(&Window, u"lblStatus"_s)->palette().color(QPalette::WindowText); };
    EXPECT_EQ(colour(), QColor(255, 0, 0));
    Click(&Window, u"cmdNext"_s);
    Globals::CurrentExam->Questions().Item(1)->SetAnswer(u"1"_s);
    Window.Session().GotoQuestion(1);
    EXPECT_EQ(colour(), QColor(0, 128, 0));

    // At the left and top edges, with keys that need a line and more room than there is.
    Resize(560, 400);
    drag(Qt::LeftButton, Frame->contentsRect().topLeft() + QPoint(1, 1) - Panel->pos());
    const QRect left = Panel->geometry();
    const auto *answer = Find<QLabel>(Panel, u"lblAnswer"_s);
    for (const qint16 item : { 4, 5, 1 }) {
        Window.Session().GotoQuestion(item);
        EXPECT_TRUE(Frame->contentsRect().adjusted(0, 0, -Bar->width(), 0).contains(Panel->geometry())) << item;
        EXPECT_TRUE(Panel->rect().contains(answer->geometry() | Find<QWidget>(Panel, u"lblStatus"_s)->geometry())) << item;
        EXPECT_LE(answer->heightForWidth(answer->width()), answer->height()) << "all lines are painted";
        EXPECT_EQ(answer->text().endsWith(u'…'), item == 5);
    }
    EXPECT_EQ(Panel->geometry(), left) << "a short key brings it back";
}

TEST_F(ExamWindowTest, Explanations)
{
    Start();
    EndExam();
    WhenOpen explanation(u"frmExplain"_s, [&](QWidget *window) {
        EXPECT_EQ(window->windowTitle(), u"Explaination - Question: 1"_s);
        auto *text = Find<QPlainTextEdit>(window, u"txtExplaination"_s);
        QTest::keyClicks(text, u"x"_s);
        QTest::keyClick(text, Qt::Key_Delete);
        EXPECT_EQ(text->toPlainText(), u"because"_s) << "not to be edited";
        QTest::keyClick(window, Qt::Key_Escape);
    });
    Click(&Window, u"cmdWhy"_s);

    const QString none = u"Sorry! Explaination is not available for this question."_s;
    struct Text {
        QString Stored, Shown;
    };
    for (const Text &row : { Text{ u"    "_s, none }, Text{ u"  a \r\n b  "_s, u"a \n b"_s },
                             Text{ u"<b>AT&T</b>"_s, u"<b>AT&T</b>"_s }, Text{ u"a\0b"_s, u"a"_s }, Text{ u"\0b"_s, none } }) {
        Globals::CurrentExam->Questions().Item(2)->SetExplaination(row.Stored);
        frmExplain window(&Window);
        window.QuestionNumber = 2;
        window.Load();
        EXPECT_EQ(Find<QPlainTextEdit>(&window, u"txtExplaination"_s)->toPlainText(), row.Shown) << row.Stored.toStdString();
        window.QuestionNumber = 4;
        EXPECT_EQ(ResultOf([&] { window.Load(); }), u"9 "_s);
    }
}

// As many options as a file can hold: those in view have controls, and every
// one can be reached.
TEST_F(ExamWindowTest, ThousandsOfOptions)
{
    constexpr int Count = 32'767;
    QStringList options{ u"*option 1"_s };
    for (int number = 2; number <= Count; ++number)
        options.append(u"option %1"_s.arg(number));
    Globals::CurrentExam = NewExam();
    AddItem(*Globals::CurrentExam, { u"many"_s, options });
    AddItem(*Globals::CurrentExam, { u"last"_s, { u"*one"_s } });
    QObject::connect(&Window, &frmExam::Starting,
                     [&] { EXPECT_TRUE(Content->height() < 1'000 || Content->width() > 1'000) << "laid out without a width"; });
    Start();
    EXPECT_LT(Window.findChildren<QAbstractButton *>().size(), 1'000);
    // The options that stand in the frame, from its top to its bottom.
    const auto shown = [&] {
        QList<int> numbers;
        for (int y = 0; y < Frame->height(); y += 5) {
            const auto *label = qobject_cast<QLabel *>(Content->childAt(200, y - Content->y()));
            if (const int number = label ? label->text().mid(7).toInt() : 0; number > 0 && !numbers.endsWith(number))
                numbers.append(number);
        }
        return numbers;
    };
    for (const double part : { 0.001, 0.0015, 0.5, 0.4999, 0.9, 1.0, 0.3 }) {
        Bar->setValue(static_cast<int>(Bar->maximum() * part));
        const QList<int> numbers = shown();
        ASSERT_GT(numbers.size(), 5);
        EXPECT_EQ(numbers.last() - numbers.first() + 1, numbers.size()) << "none is missing at " << part;
    }
    const struct {
        QString From;
        Qt::Key Key;
        int Row;
    } ways[] = {
        { u"chkMarked"_s, Qt::Key_Tab, 1 },
        { u"cmdNext"_s, Qt::Key_Backtab, Count },
        { u"optChoices%1"_s.arg(Count), Qt::Key_Up, Count - 1 },
        { u"optChoices1"_s, Qt::Key_Down, 2 },
        { u"optChoices2"_s, Qt::Key_Tab, 3 },
    };
    for (const auto &way : ways) {
        Find<QWidget>(&Window, way.From)->setFocus();
        // What is in view does not count, only where the focus is.
        Bar->setValue(Bar->maximum() / 2);
        QTest::keyClick(Window.focusWidget(), way.Key);
        EXPECT_EQ(Window.focusWidget()->objectName(), u"optChoices%1"_s.arg(way.Row));
        EXPECT_TRUE(shown().contains(way.Row)) << way.Row;
    }
    Bar->setValue(Bar->maximum());
    Click(&Window, u"lblChoices%1"_s.arg(Count - 2));
    for (const int value : { 0, Bar->maximum() })
        Bar->setValue(value);
    EXPECT_TRUE(Row(u"optChoices"_s, Count - 2)->isChecked()) << "also when it comes back into view";
    Click(&Window, u"cmdNext"_s);
    EXPECT_EQ(Globals::CurrentExam->Questions().Item(1)->Answer(), QString::number(Count - 2));
}

TEST_F(ExamWindowTest, TheFocusStaysInItsRow)
{
    AddItem(*Globals::CurrentExam, { u"many"_s, QStringList(26, u"*x"_s) });
    Start();
    const struct {
        qint16 From, To;
        QString Focus, Next;
    } rows[] = {
        { 1, 4, u"optChoices3"_s, u"chkChoices3"_s },
        { 4, 1, u"chkChoices3"_s, u"optChoices3"_s },
        { 2, 4, u"optChoices10"_s, u"chkChoices10"_s },
        { 2, 3, u"optChoices20"_s, u"cmdNext"_s },
        { 4, 1, u"chkChoices4"_s, u"cmdNext"_s },
        { 2, 1, u"optChoices26"_s, u"cmdNext"_s },
        // Out of view there.
        { 1, 2, u"optChoices3"_s, u"cmdNext"_s },
        { 2, 4, u"optChoices26"_s, u"cmdNext"_s },
    };
    for (const auto &row : rows) {
        Window.Session().GotoQuestion(row.From);
        Find<QWidget>(&Window, row.Focus)->setFocus();
        Window.Session().GotoQuestion(row.To);
        EXPECT_EQ(Window.focusWidget()->objectName(), row.Next) << row.From << ' ' << row.Focus.toStdString();
    }
}

TEST_F(ExamWindowTest, RowsForAScreenReader)
{
    Start();
    const auto rowOf = [&](const QString &name) { return QAccessible::queryAccessibleInterface(Find<QWidget>(&Window, name)); };
    const auto told = [&](const QString &name) {
        const QAccessible::State state = rowOf(name)->state();
        return QString::number(rowOf(name)->role() == QAccessible::RadioButton) + (state.checkable ? u""_s : u"?"_s)
            + (state.checked ? u'x' : u'.') + (state.disabled ? u"-"_s : u""_s) + rowOf(name)->text(QAccessible::Name);
    };
    rowOf(u"optChoices2"_s)->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
    EXPECT_EQ(told(u"optChoices2"_s), u"1xB. two"_s);
    QTest::keyClick(&Window, Qt::Key_C);
    EXPECT_EQ(told(u"optChoices2"_s) + told(u"optChoices3"_s), u"1.B. two1xC. three"_s);
    Window.Session().GotoQuestion(3);
    EXPECT_EQ(rowOf(u"chkChoices3"_s)->role(), QAccessible::CheckBox);
    EXPECT_EQ(told(u"chkChoices3"_s), u"0.C. cut"_s);
    // In their order, also those that another item has used before.
    for (const qint16 item : { 2, 1, 2 })
        Window.Session().GotoQuestion(item);
    QString letters;
    for (int i = 0; i < rowOf(u"picQuestion"_s)->childCount(); ++i) {
        QAccessibleInterface *child = rowOf(u"picQuestion"_s)->child(i);
        if (child->role() == QAccessible::RadioButton && !child->state().invisible)
            letters += child->text(QAccessible::Name).front();
        else if (child->actionInterface())
            child->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
    }
    EXPECT_EQ(letters, Letters);
    EXPECT_FALSE(Rows(u"optChoices"_s, 26).contains(u'x')) << "what is hidden is pressed in vain";
    EndExam();
    EXPECT_EQ(told(u"optChoices1"_s) + told(u"optChoices3"_s), u"1.-A. one1x-C. three"_s);
}

// The box comes while the candidate types and clicks.
TEST_F(ExamWindowTest, TheTimeQuestionIsNotAnsweredByAccident)
{
    Globals::CurrentExam->SetDuration(0);
    Start();
    SetMessagePort(nullptr);
    WhenOpen question(u"QMessageBox"_s, [](QWidget *box) {
        for (const Qt::Key key : { Qt::Key_Return, Qt::Key_Escape, Qt::Key_Space })
            QTest::keyClick(box, key);
        QTest::mouseClick(qobject_cast<QMessageBox *>(box)->button(QMessageBox::No), Qt::LeftButton);
        EXPECT_TRUE(box->isVisible());
        qobject_cast<QMessageBox *>(box)->done(QMessageBox::Yes);
    });
    Window.Session().tmrTimer_Timer();
    EXPECT_EQ(Window.Session().SecondsRemaining(), 1800);
    SetMessagePort(&Boxes);
}
