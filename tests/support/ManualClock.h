// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Clock.h"

#include <atomic>

// A clock that a test moves.
class ManualClock : public Clock {
public:
    void Advance(std::chrono::milliseconds time) { m_elapsed += time.count(); }
    std::chrono::milliseconds Elapsed() const override { return std::chrono::milliseconds(m_elapsed); }
    QDateTime Now() const override { return QDateTime::fromMSecsSinceEpoch(1'800'000'000'000 + m_elapsed, Qt::UTC); }

private:
    std::atomic<qint64> m_elapsed = 5'000;
};
