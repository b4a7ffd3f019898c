// SPDX-License-Identifier: Apache-2.0
#include "service/Clock.h"

namespace {

class RealClock : public Clock {
public:
    std::chrono::milliseconds Elapsed() const override
    {
        return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch());
    }
    QDateTime Now() const override { return QDateTime::currentDateTimeUtc(); }
};

}

const Clock &Clock::Real()
{
    static const RealClock clock;
    return clock;
}
