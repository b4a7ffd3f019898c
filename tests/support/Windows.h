// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/Messages.h"
#include "tests/support/Test.h"

#include <QAbstractButton>
#include <QApplication>
#include <QKeyEvent>
#include <QTest>
#include <QTimer>

// Real windows, found by name and driven by events.
namespace Windows {

constexpr int Patience = 10'000; // milliseconds

// The control of that name. Without one the program ends and lists what there is.
template <class Widget = QWidget> Widget *Find(const QWidget *window, const QString &name)
{
    if (auto *widget = window->findChild<Widget *>(name))
        return widget;
    QStringList names;
    for (const QWidget *child : window->findChildren<QWidget *>()) {
        if (!child->objectName().isEmpty())
            names.append(child->objectName());
    }
    qFatal("no %s in %s, but %s", qPrintable(name), qPrintable(window->objectName()), qPrintable(names.join(u' ')));
}

// Shows the window and makes it the active one, even where no window manager does.
inline void Show(QWidget *window)
{
    window->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window)) << window->objectName().toStdString();
    QApplication::setActiveWindow(window);
}

inline void Click(QWidget *widget)
{
    ASSERT_TRUE(widget->isVisible() && widget->isEnabled()) << widget->objectName().toStdString();
    QTest::mouseClick(widget, Qt::LeftButton, Qt::NoModifier, widget->rect().center());
}

inline void Click(const QWidget *window, const QString &name)
{
    Click(Find<QWidget>(window, name));
}

// On the indicator of a radio button or check box, where a click always counts.
inline void ClickBox(const QWidget *window, const QString &name)
{
    auto *button = Find<QAbstractButton>(window, name);
    ASSERT_TRUE(button->isVisible() && button->isEnabled()) << name.toStdString();
    QTest::mouseClick(button, Qt::LeftButton, Qt::NoModifier, QPoint(8, button->height() / 2));
}

// A key of a keyboard that repeats: in front of each further press a release of
// the same time. Not every system marks these as repeats.
struct HeldKey {
    Qt::Key Key;
    bool IsMarked;
    QString Text = {};
    Qt::KeyboardModifiers Modifiers = {};
    inline static ulong Time = 0;

    void Send(QEvent::Type type, bool isRepeat)
    {
        QKeyEvent event(type, Key, Modifiers, Text, isRepeat && IsMarked);
        event.setTimestamp(Time);
        QCoreApplication::sendEvent(QApplication::focusWidget(), &event);
    }
    void Press(bool isRepeat = false)
    {
        Time += isRepeat ? 0 : 50;
        if (!qt_sendShortcutOverrideEvent(QApplication::focusWidget(), Time, Key, Modifiers, Text, isRepeat && IsMarked))
            Send(QEvent::KeyPress, isRepeat);
    }
    void Release(bool isRepeat = false)
    {
        Time += 50;
        Send(QEvent::KeyRelease, isRepeat);
    }
    void Repeat(int times)
    {
        for (; times > 0; --times) {
            Release(true);
            Press(true);
        }
    }
};

// Has a step done in the next modal window of that object name or class, as
// soon as it is open. One that does not open ends the program.
class WhenOpen : public QObject {
public:
    WhenOpen(const QString &name, std::function<void(QWidget *)> step)
    {
        m_timer.setInterval(5);
        connect(&m_timer, &QTimer::timeout, this, [this, name, step = std::move(step)] {
            QWidget *window = QApplication::activeModalWidget();
            if (++m_rounds * m_timer.interval() > Patience)
                qFatal("%s did not open, but %s", qPrintable(name), window ? qPrintable(window->objectName()) : "nothing");
            if (!window || !window->isVisible() || (window->objectName() != name && !window->inherits(qPrintable(name))))
                return;
            m_timer.stop();
            m_isDone = true;
            QApplication::setActiveWindow(window);
            step(window);
        });
        m_timer.start();
    }
    ~WhenOpen() override { EXPECT_TRUE(m_isDone) << "a window did not open"; }

private:
    QTimer m_timer;
    int m_rounds = 0;
    bool m_isDone = false;
};

// Runs an event loop, in which the action is done first; its exit code.
inline int RunLoop(const std::function<void()> &action)
{
    QTimer watchdog;
    QObject::connect(&watchdog, &QTimer::timeout, &watchdog, [] { qFatal("the event loop goes on"); });
    watchdog.start(3 * Patience);
    QTimer::singleShot(0, qApp, action);
    return QApplication::exec();
}

}
