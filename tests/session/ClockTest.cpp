// SPDX-License-Identifier: Apache-2.0
#include "session/ExamClock.h"

#include <QElapsedTimer>
#include <QTest>

#include <gtest/gtest.h>

#include <functional>

namespace {

class ClockTest : public testing::Test {
protected:
    ClockTest()
    {
        QObject::connect(&Clock, &ExamClock::Tick, &Clock, [this] {
            ++Ticks;
            if (OnTick)
                OnTick();
        });
        Since.start();
        Clock.Start();
    }
    bool WaitForTicks(int ticks, int milliseconds)
    {
        return QTest::qWaitFor([&] { return Ticks >= ticks; }, milliseconds);
    }

    ExamClock Clock;
    QElapsedTimer Since;
    int Ticks = 0;
    std::function<void()> OnTick;
};

}

TEST_F(ClockTest, MissedSecondsAreMadeUp)
{
    while (Since.elapsed() < 2'300) { } // a program too busy for events
    EXPECT_TRUE(WaitForTicks(2, 400)) << Ticks;
    EXPECT_TRUE(WaitForTicks(3, 1'500));
    EXPECT_GE(Since.elapsed(), 3'000) << "not early";
    EXPECT_LT(Since.elapsed(), 3'600) << "the third second is no later for it";
}

TEST_F(ClockTest, StopAndStartInATick)
{
    OnTick = [&] { Clock.Stop(); };
    EXPECT_TRUE(WaitForTicks(1, 3'000));
    EXPECT_FALSE(WaitForTicks(2, 1'400)) << "stopped for good";

    // As after the question for more time: the next second counts from there.
    OnTick = {};
    Since.start();
    Clock.Start();
    EXPECT_TRUE(WaitForTicks(2, 3'000));
    EXPECT_GE(Since.elapsed(), 1'000);
}
