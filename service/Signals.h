// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

// The wish of the system or of the user at the keyboard that the program ends.
namespace Signals {

// From now on, and in every thread that is started from now on, such a wish
// waits until it is asked for. A reader who has gone is no reason to end.
void Hold();

// Waits for it; false when it has not come in that time.
bool HasCome(std::chrono::seconds time);

}
