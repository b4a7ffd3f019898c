// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QDateTime>

// Where real time comes from.
class Clock {
public:
    virtual ~Clock() = default;
    // The local date and time. It jumps when somebody sets the clock.
    virtual QDateTime Now() const = 0;
    // Milliseconds since some fixed moment; they only ever grow.
    virtual qint64 Monotonic() const = 0;

    // The system's clock.
    static const Clock &System();
};
