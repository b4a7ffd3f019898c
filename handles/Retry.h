// SPDX-License-Identifier: Apache-2.0
#pragma once

// How often something is tried that another run or program may be in the way of,
// the first time included.
constexpr int MostAttempts = 100;

// Calls attempt until it returns true, at most so many times and at least once,
// and pause between two calls, not after the last one. Whether it has returned
// true.
template <class Pause, class Attempt> bool Retry(int most, Pause pause, Attempt attempt)
{
    for (int count = 1; !attempt(); ++count) {
        if (count >= most)
            return false;
        pause();
    }
    return true;
}
