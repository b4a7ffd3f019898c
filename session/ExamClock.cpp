// SPDX-License-Identifier: Apache-2.0
#include "session/ExamClock.h"

using namespace std::chrono_literals;

ExamClock::ExamClock(const Clock &clock, QObject *parent)
    : QObject(parent)
    , m_clock(clock)
{
    m_timer.setTimerType(Qt::PreciseTimer);
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &ExamClock::Catch);
}

void ExamClock::Start()
{
    m_nextTick = m_clock.Elapsed() + 1s;
    Arm();
}

void ExamClock::Stop()
{
    m_timer.stop();
    m_nextTick.reset();
}

// A single shot to the next full second: being late once makes no tick after
// it late, and a timer that is armed before its slot has returned still fires.
void ExamClock::Arm()
{
    m_timer.start(std::max(0ms, *m_nextTick - m_clock.Elapsed()));
}

void ExamClock::Catch()
{
    if (!m_nextTick)
        return;
    const bool isDue = m_clock.Elapsed() >= *m_nextTick;
    if (isDue)
        *m_nextTick += 1s;
    Arm();
    if (isDue)
        Q_EMIT Tick();
}
