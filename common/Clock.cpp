// SPDX-License-Identifier: Apache-2.0
#include "common/Clock.h"

namespace {

class SystemClock : public Clock {
public:
    std::chrono::milliseconds Elapsed() const override
    {
        return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch());
    }
    QDateTime Now() const override { return QDateTime::currentDateTimeUtc(); }
};

}

const Clock &Clock::System()
{
    static const SystemClock clock;
    return clock;
}
