#pragma once

#include "service/Clock.h"

#include <atomic>

// A clock that moves when a test says so.
class ManualClock {
public:
    void Advance(std::chrono::milliseconds time) { m_now += time.count(); }
    MonotonicClock Port()
    {
        return [this] { return std::chrono::milliseconds(m_now); };
    }

private:
    std::atomic<std::chrono::milliseconds::rep> m_now = 5'000;
};
