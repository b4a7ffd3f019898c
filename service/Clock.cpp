// SPDX-License-Identifier: Apache-2.0
#include "service/Clock.h"

MonotonicClock SystemClock()
{
    return [] {
        return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch());
    };
}
