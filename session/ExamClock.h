// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Clock.h"

#include <QObject>
#include <QTimer>

#include <optional>

// Ticks once a second by the monotonic clock. A second that a busy program
// missed is made up, so that after hours it is no second off. A tick may open
// a window and wait for it: the ticks go on meanwhile.
class ExamClock : public QObject {
    Q_OBJECT
public:
    // The clock must outlive this one.
    explicit ExamClock(const Clock &clock = Clock::System(), QObject *parent = nullptr);

    // Seconds count from now on: the first Tick comes a second later. A running
    // clock begins anew.
    void Start();
    // No Tick comes any more until the next Start.
    void Stop();
    bool IsRunning() const { return m_timer.isActive(); }

Q_SIGNALS:
    // From the event loop, one for each second since Start. Those that were
    // missed come one after the other, as fast as the event loop goes. While a
    // slot runs an event loop of its own, the next Tick calls it again.
    void Tick();

private:
    void Catch();
    void Arm();

    const Clock &m_clock;
    QTimer m_timer;
    std::optional<std::chrono::milliseconds> m_nextTick; // by m_clock; none while stopped
};
