// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>
#include <QWidget>

#include <functional>

// Drives real windows by mouse and key events and takes pictures of them. A
// window or control that does not turn up, or does not say what it should, ends
// the program with a line on stderr.
class Driver {
public:
    static constexpr int Patience = 15000; // milliseconds

    // The folder that the pictures go into.
    explicit Driver(QString folder);
    ~Driver() = default;
    Driver(const Driver &) = delete;
    Driver &operator=(const Driver &) = delete;

    int Pictures() const { return m_pictures; }
    const QString &Folder() const { return m_folder; }

    // Numbered in the order in which they are taken.
    void Picture(QWidget *window, const QString &name);
    // Has the step done in the modal window of that object name or class as
    // soon as it shows.
    void When(const QString &window, std::function<void(QWidget *)> step);
    // Has the step done once the condition holds, also while a loop of the
    // program's own runs.
    void At(const std::function<bool()> &condition, const std::function<void()> &step, const QString &what);
    // As When, for the next message box, which then gets the button pressed.
    void WhenAsked(const QString &picture, int button);
    // How many of these have not shown yet.
    int Waiting() const { return m_waiting; }

    [[noreturn]] static void Stop(const QString &what);
    static void Expect(bool holds, const QString &what);
    // Runs events until the condition holds.
    static void WaitFor(const std::function<bool()> &condition, const QString &what);
    // Waits until the window is on the screen.
    static void WaitForExposed(QWidget *window, const QString &what);

    template <class Widget> static Widget *Find(QWidget *window, const QString &name)
    {
        auto *widget = window->findChild<Widget *>(name);
        Expect(widget != nullptr, name + QStringLiteral(" in ") + window->objectName());
        return widget;
    }
    static void Click(QWidget *widget);
    // A standard button of a message box.
    static void Press(QWidget *box, int button);

private:
    QString m_folder;
    int m_pictures = 0;
    int m_waiting = 0;
};
