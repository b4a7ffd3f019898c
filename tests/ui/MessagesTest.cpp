// SPDX-License-Identifier: Apache-2.0
#include "ui/Guard.h"
#include "tests/support/Windows.h"

#include <QElapsedTimer>
#include <QMap>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QWindow>

using namespace Windows;

TEST(MessagesTest, Templates)
{
    Messages boxes;
    boxes.Expect(u"a\r\n7{crlf}"_s, InformationMessage);
    EXPECT_EQ(ShowMessage(u"{1}{CRLF}{2}{crlf}"_s, InformationMessage, { u"a"_s, 7 }), AnswerOK);
    EXPECT_EQ(ShowMessage(u""_s, QuestionMessage, { u"x"_s }), NoAnswer) << "nothing to show";
}

// The real boxes. Every row answers by a button or, with none, by Escape.
TEST(MessagesTest, Boxes)
{
    using Box = QMessageBox;
    const QString asks = u"&Yes &No"_s;
    const struct {
        MessageStyle Style;
        QString Buttons;
        Box::StandardButton Pressed;
        MessageAnswer Answer;
    } rows[] = {
        { PlainMessage, u"OK"_s, Box::Ok, AnswerOK },       { CriticalMessage, u"OK"_s, Box::Ok, AnswerOK },
        { ExclamationMessage, u"OK"_s, Box::Ok, AnswerOK }, { InformationMessage, u"OK"_s, Box::NoButton, AnswerOK },
        { QuestionMessage, asks, Box::Yes, AnswerYes },     { QuestionMessage, asks, Box::No, AnswerNo },
        { QuestionMessage, asks, Box::NoButton, AnswerNo }, { QuestionMessage, asks, Box::Default, AnswerYes },
    };
    QMap<MessageStyle, QImage> icons;
    // A box belongs to a window that stays.
    QWidget owner, tip(nullptr, Qt::ToolTip), hidden, gone;
    gone.setAttribute(Qt::WA_DeleteOnClose);
    for (QWidget *shown : { &gone, &tip, &owner })
        Show(shown);
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.Style << " answered by " << row.Pressed);
        WhenOpen open(u"QMessageBox"_s, [&](QWidget *window) {
            auto *box = qobject_cast<QMessageBox *>(window);
            QStringList buttons;
            for (const QAbstractButton *button : box->buttons())
                buttons += button->text() + (button->icon().isNull() ? u""_s : u" with a picture"_s);
            EXPECT_EQ(buttons.join(u' '), row.Buttons);
            EXPECT_EQ(box->parentWidget(), &owner);
            EXPECT_EQ(box->windowTitle() + box->text(), u"Practorium<b>{1}</b>\r\n&amp;"_s);
            EXPECT_EQ(box->textFormat(), Qt::PlainText);
            icons[row.Style] = box->iconPixmap().toImage();
            if (row.Pressed == Box::NoButton || row.Pressed == Box::Default)
                QTest::keyClick(box, row.Pressed == Box::Default ? Qt::Key_Return : Qt::Key_Escape);
            else
                Click(box->button(row.Pressed));
        });
        EXPECT_EQ(ShowMessage(u"<b>{1}</b>{CRLF}&amp;\0cut"_s, row.Style), row.Answer);
    }
    for (const MessageStyle style : icons.keys())
        EXPECT_EQ(icons.keys(icons[style]), QList<MessageStyle>{ style }) << "each has an icon of its own";
}

// Whoever wrote the text, the button stays on the screen.
TEST(MessagesTest, EndlessTexts)
{
    // The text, and how many characters of it are shown.
    const std::pair<QString, qsizetype> rows[] = {
        { u"line\n"_s.repeated(2000), 124 }, { u"\n"_s.repeated(2000), 24 },           { u"word "_s.repeated(20'000), 1500 },
        { QString(20'000, u'w'), 1500 },     { u"line\n"_s.repeated(24) + u'x', 121 }, { QString(1500, u'w'), 1500 },
    };
    for (const auto &[text, shown] : rows) {
        WhenOpen open(u"QMessageBox"_s, [text = text, shown = shown](QWidget *box) {
            EXPECT_EQ(qobject_cast<QMessageBox *>(box)->text(), shown < text.size() ? text.first(shown) + u'…' : text);
            EXPECT_LT(box->height(), box->screen()->availableSize().height());
            QTest::keyClick(box, Qt::Key_Return);
        });
        EXPECT_EQ(ShowMessage(text, CriticalMessage), AnswerOK);
    }
}

// What is meant for the window below does not answer a box that comes by itself.
TEST(MessagesTest, UnpromptedBoxesWait)
{
    using Way = std::pair<int, void (*)(QWidget * box, QPoint no)>;
    const Way ways[] = {
        { AnswerYes, [](QWidget *box, QPoint) { QTest::keyClick(box, Qt::Key_Return); } },
        { AnswerNo, [](QWidget *box, QPoint no) { QTest::mouseClick(box->windowHandle(), Qt::LeftButton, {}, no); } },
        { AnswerNo, [](QWidget *box, QPoint) { box->windowHandle()->close(); } },
    };
    for (const Way &way : ways) {
        WhenOpen open(u"QMessageBox"_s, [&way](QWidget *box) {
            QElapsedTimer since;
            since.start();
            for (const Qt::Key key : { Qt::Key_Return, Qt::Key_Escape, Qt::Key_Y, Qt::Key_N })
                QTest::keyClick(box, key, key < Qt::Key_Escape ? Qt::AltModifier : Qt::NoModifier);
            // Through the system's window, where a click also moves the focus.
            const QAbstractButton *no = qobject_cast<QMessageBox *>(box)->button(QMessageBox::No);
            const QPoint place = no->mapTo(box, no->rect().center());
            QTest::mouseClick(box->windowHandle(), Qt::LeftButton, Qt::NoModifier, place);
            QTest::mouseDClick(box->windowHandle(), Qt::LeftButton, Qt::NoModifier, place);
            box->windowHandle()->close();
            ASSERT_TRUE(box->isVisible() && !no->isDown());
            HeldKey enter{ Qt::Key_Return, false };
            enter.Release(true);
            EXPECT_TRUE(QTest::qWaitFor([&] { return since.elapsed() > 1000; }));
            enter.Press(true);
            ASSERT_TRUE(box->isVisible()) << "the key is still down";
            // A slow machine may be late with the end of that second.
            EXPECT_TRUE(QTest::qWaitFor([&] {
                if (box->isVisible())
                    way.second(box, place);
                return !box->isVisible();
            }));
        });
        EXPECT_EQ(ShowUnpromptedMessage(u"?"_s, QuestionMessage), way.first);
    }
}

// The others repeat as long as they are down.
TEST(MessagesTest, KeysThatActOnce)
{
    struct : QWidget {
        int Presses = 0;
        void keyPressEvent(QKeyEvent *) override { ++Presses; }
    } probe;
    probe.setFocusPolicy(Qt::StrongFocus);
    Show(&probe);
    probe.setFocus();
    const struct {
        HeldKey Key;
        int Presses, PressesInText;
    } rows[] = {
        { { Qt::Key_Return, false, u"\r"_s }, 1, 1 },
        { { Qt::Key_Enter, false, u"\r"_s, Qt::ControlModifier }, 1, 1 },
        { { Qt::Key_Escape, false, u"\x1b"_s }, 1, 1 },
        { { Qt::Key_N, false, u"n"_s, Qt::AltModifier }, 1, 1 },
        { { Qt::Key_Space, false, u" "_s }, 1, 4 },
        { { Qt::Key_C, false, u"C"_s, Qt::ShiftModifier }, 1, 4 },
        { { Qt::Key_Tab, false, u"\t"_s }, 4, 4 },
        { { Qt::Key_PageDown, false }, 4, 4 },
        { { Qt::Key_Plus, false, u"+"_s, Qt::ControlModifier }, 4, 4 },
    };
    for (auto row : rows) {
        for (const bool takesText : { false, true }) {
            probe.setAttribute(Qt::WA_InputMethodEnabled, takesText);
            probe.Presses = 0;
            row.Key.Press();
            row.Key.Repeat(3);
            EXPECT_EQ(probe.Presses, takesText ? row.PressesInText : row.Presses) << row.Key.Key << ' ' << takesText;
        }
    }
}

TEST(MessagesTest, UnhandledErrors)
{
    const std::pair<std::function<void()>, QString> rows[] = {
        { [] { throw Error(qint32(0x80040001), u"{1} <b>\0behind"_s, u"X::Y()"_s); }, u"'-2147221503':\r\n\r\n{1} <b>"_s },
        { [] { throw std::bad_alloc(); }, u"'7':\r\n\r\nOut of memory"_s },
    };
    for (const auto &[action, message] : rows) {
        Messages boxes;
        // What goes wrong behind the open box is not reported, too.
        boxes.Expect(u"Run-time error "_s + message, CriticalMessage, AnswerOK, [&a = action] { Guard(a); });
        EXPECT_EQ(RunLoop([&a = action] { Guard(a); }), 1) << message.toStdString();
    }
}
