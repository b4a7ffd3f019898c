// SPDX-License-Identifier: Apache-2.0
#include "session/view/frmExam.h"

#include "session/view/frmExplain.h"
#include "tests/session/Candidate.h"
#include "tests/support/Seed.h"
#include "tests/support/Sketch.h"

#include <QRegularExpression>
#include <QAccessible>
#include <QFrame>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>

using namespace Windows;

namespace {

const QString Letters = u"ABCDEFGHIJKLMNOPQRSTUVWXYZ"_s;

// By mouse and keys, now in this way, now in that.
class WindowHands : public Hands, public MessagePort {
public:
    WindowHands(frmExam &window, ScriptedPort &port)
        : Hands(window.Session(), port)
        , m_window(window)
    {
        SetMessagePort(this);
        QObject::connect(&window, &frmExam::ReviewRequested, &window, [&port] { port.ShowReviewList(); });
        QObject::connect(&window, &frmExam::ReportRequested, &window, [&port] { port.ShowReport(); });
    }
    ~WindowHands() override { SetMessagePort(nullptr); }

    MessageAnswer Show(const QString &text, MessageStyle style) override
    {
        EXPECT_FALSE(text.startsWith(u"The time"_s)) << "it comes unprompted";
        EXPECT_EQ(Shown(), Sketched(Session.Page())) << "while the box is open";
        return Port.Ask(text, style, {});
    }
    MessageAnswer ShowUnprompted(const QString &text, MessageStyle style) override { return Port.Ask(text, style, {}); }
    void Press(const QString &control, int row) override
    {
        std::optional<WhenOpen> explanation;
        if (control == u"cmdWhy"_s)
            explanation.emplace(u"frmExplain"_s, [this](QWidget *window) {
                Port.Log += u"why "_s + window->windowTitle().section(u"Explaination - Question: "_s, 1);
                QTest::keyClick(window, Qt::Key_Escape);
            });
        if (control == u"cmdExhibit"_s)
            Port.Meanwhile = {}; // the file is missing anyway
        auto *part = Find(&m_window, row > 0 ? control + QString::number(row) : control);
        auto *button = qobject_cast<QAbstractButton *>(part);
        if (!button)
            return Click(part);
        if (m_presses++ % 2 == 0)
            return ClickBox(&m_window, part->objectName());
        part->setFocus();
        QTest::keyClick(m_window.focusWidget(), button->isCheckable() ? Qt::Key_Space : Qt::Key_Return);
    }
    void PressLetter(QChar letter, bool) override
    {
        QTest::keyClick(m_window.focusWidget(), static_cast<Qt::Key>(letter.toUpper().unicode()));
    }
    bool Close() override { return Session.Page().IsPostExam || m_window.close(); }
    QStringList Shown() override
    {
        QStringList rows = Sketch(&m_window);
        // The button stands beside two lines; it depends on the font which one it shares more with.
        if (const auto row = rows.indexOf(QRegularExpression(u".*CORRECT &Why\\?"_s)); row > 0) {
            rows[row].replace(u" &Why?"_s, u" ..."_s);
            rows[row - 1].replace(QRegularExpression(u" \\.\\.\\.$"_s), u" &Why?"_s);
        }
        return rows;
    }
    bool Hears(const QString &word) const override
    {
        return word == u"list"_s || word == u"report"_s || (word.contains(u' ') && word != u"no clock"_s);
    }

private:
    frmExam &m_window;
    int m_presses = 0;
};

class ExamWindowTest : public testing::Test {
protected:
    ExamWindowTest()
    {
        QStringList options(26, u"option"_s);
        Globals::CurrentExam = NewExam();
        AddItem(*Globals::CurrentExam, { u"single"_s, { u"*one"_s, u"two"_s, u"three"_s }, false, u""_s, u" because "_s });
        options.first().prepend(u'*');
        AddItem(*Globals::CurrentExam, { u"long "_s.repeated(3'000), options });
        AddItem(*Globals::CurrentExam,
                { u"texts\n1\n2\n3\n4\n5\n6\n7\n8\n9"_s, { u"*AT&T"_s, u"*<i>x</i>"_s, u"cut\0off"_s } });
    }
    ~ExamWindowTest() override { Globals::CurrentExam.reset(); }

    void Start()
    {
        Window.StartExam();
        Show(&Window);
        Resize(900, 640);
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
    QAbstractButton *Row(int row) { return Find<QAbstractButton>(&Window, u"optChoices%1"_s.arg(row)); }
    // How much of the page stands above the frame.
    int Shown() const { return Frame->contentsRect().y() - Content->y(); }

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
        frmExam window;
        ScriptedPort port;
        WindowHands hands(window, port);
        Show(&window);
        window.setWindowState(Qt::WindowNoState);
        window.resize(900, 640);
        Candidate candidate(hands, seed + sitting);
        candidate.Sit(Steps);
        port.Answer = AnswerYes;
        EXPECT_TRUE(window.close() && !window.isVisible() && !Globals::CurrentExam);
    }
}

// In pixels, of which each length of the rules may be rounded once.
TEST_F(ExamWindowTest, Places)
{
    AddItem(*Globals::CurrentExam, { u"exhibit"_s, { u"*one"_s, u"two"_s }, false, u"map.gif"_s });
    Start();
    EndExam();
    for (const qint16 item : { 1, 4 }) {
        Window.Session().GotoQuestion(item);
        const auto place = [&](const char *name) { return QRectF(PlaceOf(Find(&Window, QLatin1String(name)))); };
        const QRectF window = Window.rect(), frame = place("picBorder"), mark = place("chkMarked"), next = place("cmdNext"),
                     review = place("cmdReview"), stem = place("lblQuestion"), row = place("optChoices1"),
                     text = place("lblChoices1"), bar = place("vsbScroll"), panel = place("fraInfo");
        const QRectF inner = QRectF(Frame->contentsRect()).translated(frame.topLeft());
        const double gap = 100 / 15.0, step = (review.left() - next.left()) / (item == 4 ? 3 : 2);
        const std::tuple<const char *, double, double> rows[] = {
            { "the frame's width", frame.width(), 0.99 * window.width() },
            { "the frame in the middle", frame.center().x(), window.center().x() },
            { "the frame below the mark", frame.top(), mark.bottom() + gap },
            { "the buttons below the frame", next.top(), frame.bottom() + gap },
            { "the buttons at the foot", next.bottom(), window.bottom() },
            { "the mark and Next at the left", mark.left() + next.left(), 2 * frame.left() },
            { "the time at the frame's right", place("lblTime").right(), frame.left() + inner.width() - gap / 2 },
            { "Previous", place("cmdPrev").left(), next.left() + step },
            { "the last but Review", place(item == 4 ? "cmdExhibit" : "cmdPrev").left(), review.left() - step },
            { "Review", review.right(), frame.right() },
            { "the bar", bar.right() + bar.height(), inner.right() + inner.height() },
            { "the stem's width", stem.width(), 0.98 * 0.97 * inner.width() },
            { "the first option", row.top(), stem.bottom() + 5 * gap },
            { "the second option", place("optChoices2").top(), text.bottom() + 2 * gap },
            { "the option's text", text.left() + text.right(), row.right() + stem.right() },
            { "the panel's right", panel.right(), bar.left() - gap / 2 },
            { "the panel's foot", panel.bottom(), inner.bottom() - gap / 2 },
        };
        for (const auto &[what, is, expected] : rows)
            EXPECT_NEAR(is, expected, 1.01) << what << " of item " << item;
    }
    // Paper in a frame, and on it the panel in a frame of its own.
    const QImage picture = Window.grab().toImage();
    const QRect frame = PlaceOf(Frame), panel = PlaceOf(Panel);
    const auto colourAt = [&](QPoint place) { return picture.pixelColor(place * picture.devicePixelRatio()).name(); };
    const QPoint inside(3, 3), corner = frame.bottomLeft(), up(3, -3);
    const QStringList colours{ colourAt(corner + QPoint(-3, -3)), colourAt(corner - QPoint(0, 9)), colourAt(corner + up),
                               colourAt(panel.topLeft()), colourAt(panel.topLeft() + inside) };
    EXPECT_EQ(colours[2], u"#ffffff"_s);
    EXPECT_EQ(QSet<QString>(colours.begin(), colours.end()).size(), 5) << colours.join(u' ').toStdString();
}

// The stem and the options grow, what is read stays in view, and the next item has the size, too.
TEST_F(ExamWindowTest, TextSize)
{
    Start();
    const auto *question = Find<QLabel>(&Window, u"lblQuestion"_s);
    const double normal = question->font().pointSizeF();
    const std::pair<QString, double> steps[]
        = { { u"+="_s, 1.21 }, { u"-"_s, 1.1 }, { u"0"_s, 1 }, { u"-"_s.repeated(40), 0.7 }, { u"+"_s.repeated(60), 2.6 } };
    for (const auto &[keys, factor] : steps) {
        for (const QChar key : keys)
            QTest::keyClick(&Window, static_cast<Qt::Key>(key.unicode()), Qt::ControlModifier);
        EXPECT_NEAR(question->font().pointSizeF(), normal * factor, 0.05) << keys.toStdString();
    }
    Click(&Window, u"cmdNext"_s);
    EXPECT_NEAR(Row(26)->font().pointSizeF(), normal * 2.6, 0.05);
    Bar->setValue(Bar->maximum() / 2);
    const double part = double(Shown()) / Content->height();
    QTest::keyClick(&Window, Qt::Key_Minus, Qt::ControlModifier);
    EXPECT_NEAR(double(Shown()) / Content->height(), part, 0.01);
    // Texts far from the view have their lines, too, as many as the width makes.
    AddItem(*Globals::CurrentExam, { u"many"_s, QStringList(150, u"*words "_s.repeated(30)) + QStringList(150, u"*x"_s) });
    Window.Session().GotoQuestion(4);
    const int wide = Content->height();
    for (const int width : { 600, 900 }) {
        Resize(width, 640);
        EXPECT_TRUE(width == 900 ? Content->height() == wide : Content->height() > wide * 1.2) << width;
    }
    QTest::keyClick(&Window, Qt::Key_0, Qt::ControlModifier);
    const int plain = Content->height();
    Window.Session().GotoQuestion(4);
    EXPECT_EQ(Content->height(), plain);
}

// Texts written from right to left stand at the right, with dots from the letter to them;
// the letters and what they choose stay.
TEST_F(ExamWindowTest, RightToLeft)
{
    Start();
    AddItem(*Globals::CurrentExam, { u"1. \u05D0?"_s, { u"*\u05D0\u05D1"_s, u"b \u05D0"_s, u"(2) \u0627"_s, u"3"_s } });
    Window.Session().GotoQuestion(4);
    const QImage picture = Window.grab().toImage();
    const std::pair<const char *, bool> rows[] = { { "lblQuestion", true },
                                                   { "lblChoices1", true },
                                                   { "lblChoices2", false },
                                                   { "lblChoices3", true },
                                                   { "lblChoices4", false } };
    for (const auto &[name, isRight] : rows) {
        const QRect text = PlaceOf(Find(&Window, QLatin1String(name)));
        const int part = text.width() / 8;
        EXPECT_EQ(HasInk(picture, QRect(text.right() - part, text.top(), part, text.height())), isRight) << name;
        EXPECT_EQ(HasInk(picture, text.adjusted(4 * part, 0, -part, 0)), isRight && name != rows[0].first) << name;
    }
    QTest::keyClick(&Window, Qt::Key_A);
    EXPECT_TRUE(Row(1)->isChecked() && Row(1)->x() < Find(&Window, u"lblChoices1"_s)->x());
}

TEST_F(ExamWindowTest, Scrolling)
{
    Start();
    // On an item that fits there is nothing to scroll, and the keys do nothing.
    for (const Qt::Key key : { Qt::Key_PageDown, Qt::Key_PageUp, Qt::Key_End, Qt::Key_Home })
        QTest::keyClick(&Window, key);
    EXPECT_EQ(Shown() + Bar->isEnabled(), 0);
    Click(&Window, u"cmdNext"_s);
    const QRect inner = Frame->contentsRect();
    const std::pair<Qt::Key, int> keys[]
        = { { Qt::Key_PageDown, inner.height() }, { Qt::Key_End, Content->height() - inner.height() }, { Qt::Key_Home, 0 } };
    for (const auto &[key, shown] : keys) {
        QTest::keyClick(&Window, key);
        EXPECT_EQ(Shown(), shown) << key;
    }
    QWheelEvent wheel({ 9, 9 }, Frame->mapToGlobal(QPointF(9, 9)), {}, { 0, -120 }, {}, {}, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(Frame, &wheel);
    EXPECT_NEAR(Shown(), 0.1 * inner.height() * QApplication::wheelScrollLines(), 2);

    // A row that the focus goes to is scrolled into view, but not by the press of a
    // click, whose release would miss the row.
    QTest::keyClick(&Window, Qt::Key_Home);
    Row(20)->setFocus(Qt::MouseFocusReason);
    EXPECT_EQ(Shown(), 0);
    for (const int row : { 26, 1, 13 }) {
        Row(row)->setFocus(row == 13 ? Qt::BacktabFocusReason : Qt::TabFocusReason);
        EXPECT_TRUE(PlaceOf(Frame).contains(PlaceOf(Find(&Window, u"lblChoices%1"_s.arg(row))))) << row;
    }
    // Also when the bar stands there already, and the page, after a change of size, does not.
    for (const int width : { 901, 900 }) {
        Resize(width, 640);
        Find(&Window, u"cmdNext"_s)->setFocus();
        Row(26)->setFocus(Qt::TabFocusReason);
        EXPECT_LE(PlaceOf(Row(26)).bottom(), PlaceOf(Frame).bottom()) << width;
    }
    // But not when the window becomes the active one again, maybe by a click.
    Bar->setValue(Row(1)->y() * 15);
    const QPoint place = PlaceOf(Row(1)).topLeft() + QPoint(8, 8);
    QWidget other;
    Show(&other);
    QApplication::setActiveWindow(&Window);
    QTest::mouseClick(Window.windowHandle(), Qt::LeftButton, Qt::NoModifier, place);
    EXPECT_TRUE(Row(1)->isChecked());

    const int value = Bar->value();
    Resize(910, 630);
    EXPECT_EQ(Shown(), 0) << "a resize shows the top";
    EXPECT_EQ(Bar->value(), value) << "and the bar stays where it is";
    Bar->setValue(value + 15);
    Window.showMinimized();
    Window.showNormal();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&Window));
    EXPECT_EQ(Shown(), (value + 15 + 7) / 15) << "until it is moved; minimised and restored it stands where it was";
    Window.Session().GotoQuestion(2);
    EXPECT_EQ(Shown() + Bar->value(), 0);
    // Also while the item fits.
    Window.Session().GotoQuestion(3);
    Resize(900, 400);
    Bar->setValue(150);
    EXPECT_EQ(Bar->value(), 150);
    Resize(900, 640);
    EXPECT_FALSE(Bar->isEnabled());
    Resize(900, 400);
    EXPECT_EQ(Bar->value(), 150);
    EXPECT_EQ(Shown(), 0);
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
        for (const bool isChosen : { true, false }) {
            letter.Press();
            letter.Repeat(3);
            letter.Release();
            EXPECT_EQ(Find<QAbstractButton>(&Window, u"chkChoices1"_s)->isChecked(), isChosen);
        }
    }
}

TEST_F(ExamWindowTest, PanelIsDraggedAndReturns)
{
    for (const int options : { 26, 900 })
        AddItem(*Globals::CurrentExam, { u"many"_s, QStringList(options, u"*x"_s) });
    Start();
    EndExam();
    const QPoint home = Panel->pos();
    const auto drag = [&](Qt::MouseButton button, QPoint by) {
        QTest::mousePress(Panel, button, Qt::NoModifier, QPoint(5, 5));
        QTest::mouseMove(Panel, QPoint(5, 5) + by);
        QTest::mouseRelease(Panel, button, Qt::NoModifier, QPoint(5, 5));
        QTest::mouseMove(Panel, QPoint(0, 0)); // nothing is held any more
        return Panel->pos() - home;
    };
    EXPECT_EQ(drag(Qt::LeftButton, { -150, -80 }), QPoint(-150, -80));
    EXPECT_EQ(drag(Qt::LeftButton, { 50, 9'000 }), QPoint(-100, -80)) << "each way by itself stays inside";
    EXPECT_EQ(drag(Qt::LeftButton, { -9'000, -20 }), QPoint(-100, -100));
    EXPECT_EQ(drag(Qt::RightButton, { -20, -20 }), QPoint(-100, -100));
    Resize(900, 641);
    const std::pair<Qt::Key, QPoint> keys[] = {
        { Qt::Key_Left, { -20, 1 } }, { Qt::Key_Up, { -20, -19 } }, { Qt::Key_Right, { 0, -19 } }, { Qt::Key_Down, { 0, 1 } }
    };
    for (const auto &[key, by] : keys) {
        QTest::keyClick(&Window, key, Qt::ControlModifier);
        EXPECT_EQ(Panel->pos(), home + by) << key;
    }
    for (const bool isRight : { false, true }) {
        Window.Session().GotoQuestion(2);
        Globals::CurrentExam->Questions().Item(1)->SetAnswer(isRight ? u"1"_s : u""_s);
        Window.Session().GotoQuestion(1);
        const auto colours = Colours(Find(&Window, u"lblStatus"_s)->grab().toImage());
        EXPECT_TRUE(colours.contains(isRight ? qRgb(0, 128, 0) : qRgb(255, 0, 0)));
    }
    // At the left and top edges, with keys that need a line and more room than there is.
    Resize(560, 400);
    drag(Qt::LeftButton, Frame->contentsRect().topLeft() + QPoint(1, 1) - Panel->pos());
    const QRect left = Panel->geometry();
    const auto *answer = Find<QLabel>(Panel, u"lblAnswer"_s);
    for (const qint16 item : { 4, 5, 1 }) {
        Window.Session().GotoQuestion(item);
        EXPECT_TRUE(Frame->contentsRect().adjusted(0, 0, -Bar->width(), 0).contains(Panel->geometry())) << item;
        EXPECT_TRUE(Panel->rect().contains(answer->geometry() | Find(Panel, u"lblStatus"_s)->geometry())) << item;
        EXPECT_LE(answer->heightForWidth(answer->width()), answer->height()) << "all lines are painted";
        EXPECT_EQ(answer->text().endsWith(u'…'), item == 5);
    }
    EXPECT_EQ(Panel->geometry(), left) << "a short key brings it back";
}

TEST_F(ExamWindowTest, Explanations)
{
    Start();
    const QString none = u"Sorry! Explaination is not available for this question."_s;
    const std::pair<QString, QString> rows[]
        = { { u"    "_s, none }, { u"  <b>a \r\n b  "_s, u"<b>a \n b"_s }, { u"a\0b"_s, u"a"_s }, { u"\0b"_s, none } };
    for (const auto &[stored, shown] : rows) {
        Globals::CurrentExam->Questions().Item(2)->SetExplaination(stored);
        frmExplain window(&Window);
        window.QuestionNumber = 2;
        window.Load();
        Show(&window);
        EXPECT_EQ(Sketch(&window, true),
                  (QStringList{ u"Explaination - Question: 2"_s, u"14: 14 txtExplaination 14"_s, u"12: ... &Close 14"_s }));
        auto *text = Find<QPlainTextEdit>(&window, u"txtExplaination"_s);
        QTest::keyClicks(text, u"x"_s);
        QTest::keyClick(text, Qt::Key_Tab);
        EXPECT_EQ(text->toPlainText(), shown) << "not to be edited";
        EXPECT_NE(window.focusWidget(), text);
        QTest::keyClick(window.focusWidget(), Qt::Key_Return);
        EXPECT_FALSE(window.isVisible());
    }
}

// As many options as a file can hold: those in view have controls, and every
// one can be reached.
TEST_F(ExamWindowTest, ThousandsOfOptions)
{
    constexpr int Count = 32'767;
    QStringList options;
    for (int number = 1; number <= Count; ++number)
        options += (number == 1 ? u"*option %1"_s : u"option %1"_s).arg(number);
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
    const std::tuple<QString, Qt::Key, int> ways[] = {
        { u"chkMarked"_s, Qt::Key_Tab, 1 },
        { u"cmdNext"_s, Qt::Key_Backtab, Count },
        { u"optChoices%1"_s.arg(Count), Qt::Key_Up, Count - 1 },
        { u"optChoices1"_s, Qt::Key_Down, 2 },
        { u"optChoices2"_s, Qt::Key_Tab, 3 },
    };
    for (const auto &[from, key, row] : ways) {
        Find(&Window, from)->setFocus();
        // What is in view does not count, only where the focus is.
        Bar->setValue(Bar->maximum() / 2);
        QTest::keyClick(Window.focusWidget(), key);
        EXPECT_EQ(Window.focusWidget(), Row(row));
        EXPECT_TRUE(shown().contains(row)) << row;
    }
    Bar->setValue(Bar->maximum());
    Click(&Window, u"lblChoices%1"_s.arg(Count - 2));
    for (const int value : { 0, Bar->maximum() })
        Bar->setValue(value);
    EXPECT_TRUE(Row(Count - 2)->isChecked()) << "also when it comes back into view";
}

TEST_F(ExamWindowTest, TheFocusStaysInItsRow)
{
    AddItem(*Globals::CurrentExam, { u"many"_s, QStringList(26, u"*x"_s) });
    Start();
    // No such row, out of view and disabled are left.
    const std::tuple<qint16, QString, qint16, QString> rows[] = {
        { 1, u"optChoices3"_s, 4, u"chkChoices3"_s }, { 4, u"chkChoices3"_s, 1, u"optChoices3"_s },
        { 2, u"optChoices20"_s, 3, u"cmdNext"_s },    { 4, u"chkChoices4"_s, 1, u"cmdNext"_s },
        { 1, u"optChoices3"_s, 2, u"cmdNext"_s },     { 2, u"optChoices26"_s, 4, u"cmdNext"_s },
        { 2, u"cmdPrev"_s, 1, u"cmdNext"_s },
    };
    for (const auto &[from, focus, to, next] : rows) {
        Window.Session().GotoQuestion(from);
        Find(&Window, focus)->setFocus();
        Window.Session().GotoQuestion(to);
        EXPECT_EQ(Window.focusWidget()->objectName(), next) << from << ' ' << focus.toStdString();
    }
}

TEST_F(ExamWindowTest, ForAScreenReader)
{
    Start();
    const auto interfaceOf = [&](const QString &name) { return QAccessible::queryAccessibleInterface(Find(&Window, name)); };
    const auto spoken = [&](const QString &name) {
        const QAccessible::State state = interfaceOf(name)->state();
        return QString::number(interfaceOf(name)->role() == QAccessible::RadioButton) + (state.checkable ? u""_s : u"?"_s)
            + (state.checked ? u'x' : u'.') + (state.disabled ? u"-"_s : u""_s) + interfaceOf(name)->text(QAccessible::Name);
    };
    QTest::keyClick(&Window, Qt::Key_B);
    EXPECT_EQ(spoken(u"optChoices2"_s) + spoken(u"optChoices3"_s), u"1xB. two1.C. three"_s);
    Window.Session().GotoQuestion(3);
    EXPECT_EQ(spoken(u"chkChoices3"_s), u"0.C. cut"_s);
    for (const QString &name : { u"chkChoices3"_s, u"chkMarked"_s }) {
        interfaceOf(name)->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
        QCoreApplication::processEvents();
    }
    EXPECT_TRUE(Window.Session().Page().IsMarked && Window.Session().Page().chkChoices[2].Value == Selector::On);
    // In their order, also those that another item has used before.
    for (const qint16 item : { 2, 1, 2 })
        Window.Session().GotoQuestion(item);
    QString letters;
    for (int i = 0; i < interfaceOf(u"picQuestion"_s)->childCount(); ++i) {
        QAccessibleInterface *child = interfaceOf(u"picQuestion"_s)->child(i);
        if (child->role() == QAccessible::RadioButton && !child->state().invisible)
            letters += child->text(QAccessible::Name).front();
        else if (auto *hidden = qobject_cast<QAbstractButton *>(child->object()))
            hidden->click();
    }
    EXPECT_EQ(letters, Letters);
    Window.Session().GotoQuestion(1);
    EXPECT_EQ(Globals::CurrentExam->Questions().Item(2)->Answer(), u""_s) << "what is hidden is pressed in vain";
    // The time once a minute, and the item with what is known of it.
    QSet<QString> times;
    for (int tick = 0; tick < 120; ++tick) {
        Window.Session().tmrTimer_Timer();
        times.insert(interfaceOf(u"lblTime"_s)->text(QAccessible::Name));
    }
    EXPECT_TRUE(times.contains(u"Time Remaining: 00:58"_s) && times.size() <= 4);
    const QString item = u"Exam: EX-101 - Item 1 of 3. single"_s;
    EXPECT_EQ(interfaceOf(u"picBorder"_s)->text(QAccessible::Name), item);
    EndExam();
    EXPECT_EQ(spoken(u"optChoices2"_s), u"1x-B. two"_s);
    Window.Session().GotoQuestion(1);
    EXPECT_EQ(interfaceOf(u"picBorder"_s)->text(QAccessible::Name), item + u". INCORRECT. Answer: A"_s);
}
