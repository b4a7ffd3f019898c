// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

// Ticks once a second by the monotonic clock. A second that a busy program
// missed is made up, so that after hours it is no second off. A tick may open
// a window and wait for it: the ticks go on meanwhile.
class ExamClock : public QObject {
    Q_OBJECT
public:
    explicit ExamClock(QObject *parent = nullptr);

    // Seconds count from now on; a running clock begins anew.
    void Start();
    void Stop();
    bool IsRunning() const { return m_timer.isActive(); }

Q_SIGNALS:
    void Tick();

private:
    void Catch();
    void Arm();

    QTimer m_timer;
    QElapsedTimer m_elapsed;
    qint64 m_ticks = 0;
};
