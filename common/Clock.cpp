// SPDX-License-Identifier: Apache-2.0
#include "common/Clock.h"

#include <QElapsedTimer>

namespace {

class SystemClock : public Clock {
public:
    SystemClock() { m_sinceStart.start(); }
    QDateTime Now() const override { return QDateTime::currentDateTime(); }
    qint64 Monotonic() const override { return m_sinceStart.elapsed(); }

private:
    QElapsedTimer m_sinceStart;
};

}

const Clock &Clock::System()
{
    static const SystemClock clock;
    return clock;
}
