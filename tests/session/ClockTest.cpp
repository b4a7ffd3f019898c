// SPDX-License-Identifier: Apache-2.0
#include "session/ExamClock.h"

#include "tests/support/ManualClock.h"

#include <QTest>

#include <gtest/gtest.h>

using namespace std::chrono_literals;

// A tick comes when the clock has moved on by a second, as often as it has, and
// not before; also after a stop, in a tick as the time question makes it.
TEST(ClockTest, Ticks)
{
    ManualClock time;
    ExamClock clock(time);
    int ticks = 0, last = 3;
    QObject::connect(&clock, &ExamClock::Tick, &clock, [&] {
        if (++ticks == last)
            clock.Stop();
    });
    const auto waitFor = [&](int expected) { return QTest::qWaitFor([&] { return ticks >= expected; }, 10'000); };
    clock.Start();
    time.Advance(2'999ms); // the program was too busy for events
    EXPECT_TRUE(waitFor(2));
    EXPECT_FALSE(QTest::qWaitFor([&] { return ticks > 2; }, 200)) << "a millisecond early";
    time.Advance(1ms);
    EXPECT_TRUE(waitFor(3));
    EXPECT_FALSE(clock.IsRunning());
    time.Advance(5'000ms);
    EXPECT_FALSE(QTest::qWaitFor([&] { return ticks > 3; }, 200)) << "stopped for good";

    clock.Start();
    EXPECT_FALSE(QTest::qWaitFor([&] { return ticks > 3; }, 1'200)) << "it counts from there";
    time.Advance(1'000ms);
    EXPECT_TRUE(waitFor(4));
    EXPECT_TRUE(clock.IsRunning());
}
