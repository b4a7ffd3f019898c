// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QDateTime>

#include <chrono>

// Where a class gets the time from. Tests pass a clock that they set by hand.
// Both functions may be called from several threads at once.
class Clock {
public:
    virtual ~Clock() = default;

    // Time since an arbitrary starting point, for measuring intervals. It never
    // decreases and does not change when somebody sets the computer's date.
    virtual std::chrono::milliseconds Elapsed() const = 0;

    // The current date and time in UTC, for what is shown or stored. It can go
    // backwards.
    virtual QDateTime Now() const = 0;

    // The computer's clock. It exists until the program ends.
    static const Clock &Real();
};
