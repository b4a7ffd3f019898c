// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEvent>
#include <QObject>

#include <cstdio>
#include <cstdlib>

// Notes that a widget has been painted.
class Painted : public QObject {
public:
    explicit Painted(QObject *widget) { widget->installEventFilter(this); }

    // What was painted until now does not count.
    void Forget() { m_isPainted = false; }
    // Lets events be handled until it has been painted since the last Forget or Wait. Ends the
    // program as a failure when nothing is painted for ten seconds.
    void Wait()
    {
        constexpr int patience = 10'000; // milliseconds
        QElapsedTimer timer;
        timer.start();
        while (!m_isPainted) {
            QCoreApplication::processEvents();
            if (timer.elapsed() > patience) {
                std::fprintf(stderr, "nothing is painted\n");
                std::exit(1);
            }
        }
        Forget();
    }

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        m_isPainted = m_isPainted || event->type() == QEvent::Paint;
        return false;
    }

private:
    bool m_isPainted = false;
};
