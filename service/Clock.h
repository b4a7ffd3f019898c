// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>

// The time that has passed since some moment in the past. It never goes back,
// whatever becomes of the date.
using MonotonicClock = std::function<std::chrono::milliseconds()>;

MonotonicClock SystemClock();
