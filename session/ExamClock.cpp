// SPDX-License-Identifier: Apache-2.0
#include "session/ExamClock.h"

namespace {

constexpr qint64 Second = 1000; // milliseconds

}

ExamClock::ExamClock(QObject *parent)
    : QObject(parent)
{
    m_timer.setTimerType(Qt::PreciseTimer);
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &ExamClock::Catch);
}

void ExamClock::Start()
{
    m_elapsed.start();
    m_ticks = 0;
    Arm();
}

void ExamClock::Stop()
{
    m_timer.stop();
    m_elapsed.invalidate();
}

// A single shot to the next full second: being late once makes no tick after
// it late, and a timer that is armed before its slot has returned still fires.
void ExamClock::Arm()
{
    m_timer.start(static_cast<int>(std::max<qint64>(0, (m_ticks + 1) * Second - m_elapsed.elapsed())));
}

void ExamClock::Catch()
{
    const bool isDue = m_elapsed.isValid() && m_elapsed.elapsed() >= (m_ticks + 1) * Second;
    if (isDue)
        ++m_ticks;
    if (m_elapsed.isValid())
        Arm();
    if (isDue)
        Q_EMIT Tick();
}
