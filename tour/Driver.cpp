// SPDX-License-Identifier: Apache-2.0
#include "tour/Driver.h"

#include "ui/Messages.h"

#include <QApplication>
#include <QMessageBox>
#include <QPixmap>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <cstdio>
#include <cstdlib>

using namespace Qt::Literals::StringLiterals;

Driver::Driver(QString folder)
    : m_folder(std::move(folder))
{
}

void Driver::Stop(const QString &what)
{
    std::fprintf(stderr, "the tour stopped: expected %s\n", qPrintable(what));
    std::fflush(nullptr);
    // The windows of the moment are of no use to anybody any more.
    std::_Exit(1);
}

void Driver::Expect(bool holds, const QString &what)
{
    if (!holds)
        Stop(what);
}

void Driver::WaitFor(const std::function<bool()> &condition, const QString &what)
{
    Expect(QTest::qWaitFor(condition, Patience), what);
}

void Driver::WaitForExposed(QWidget *window, const QString &what)
{
    Expect(QTest::qWaitForWindowExposed(window, Patience), what);
}

void Driver::Click(QWidget *widget)
{
    Expect(widget->isVisible() && widget->isEnabled(), widget->objectName() + u" to be ready"_s);
    QTest::mouseClick(widget, Qt::LeftButton, Qt::NoModifier, widget->rect().center());
}

void Driver::Press(QWidget *box, int button)
{
    auto *message = qobject_cast<QMessageBox *>(box);
    QAbstractButton *found = message ? message->button(static_cast<QMessageBox::StandardButton>(button)) : nullptr;
    if (!found)
        Stop(u"another button in "_s + (message ? message->text() : box->objectName()));
    Click(found);
}

void Driver::Picture(QWidget *window, const QString &name)
{
    WaitForExposed(window, name + u" to show"_s);
    QCoreApplication::processEvents();
    ++m_pictures;
    const QString path = u"%1/%2-%3.png"_s.arg(m_folder).arg(m_pictures, 2, 10, QChar(u'0')).arg(name);
    Expect(window->grab().save(path), path);
}

void Driver::At(const std::function<bool()> &condition, const std::function<void()> &step, const QString &what)
{
    ++m_waiting;
    auto *timer = new QTimer(qApp);
    timer->setInterval(10);
    QObject::connect(timer, &QTimer::timeout, timer, [this, timer, condition, step, what, rounds = 0]() mutable {
        if (++rounds * timer->interval() > 2 * Patience)
            Stop(what);
        if (!condition())
            return;
        timer->stop();
        timer->deleteLater();
        --m_waiting;
        step();
    });
    timer->start();
}

void Driver::When(const QString &name, std::function<void(QWidget *)> step)
{
    const auto isOpen = [name] {
        const QWidget *window = QApplication::activeModalWidget();
        // A box that comes by itself takes no click for a second.
        return window && window->isVisible() && !window->property(EarlyBox).toBool()
            && (window->objectName() == name || window->inherits(qPrintable(name)));
    };
    At(
        isOpen, [step = std::move(step)] { step(QApplication::activeModalWidget()); }, name + u" to show"_s);
}

void Driver::WhenAsked(const QString &picture, int button)
{
    When(u"QMessageBox"_s, [this, picture, button](QWidget *box) {
        Picture(box, picture);
        Press(box, button);
    });
}
