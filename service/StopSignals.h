// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

// The signals that ask the program to stop: SIGINT and SIGTERM.
namespace StopSignals {

// Blocks them in this thread and in every thread that it starts later, so that
// they stay pending until WaitFor receives them. Also ignores SIGPIPE: writing to
// a closed connection must not end the program. To be called before the first
// thread is started.
void Block();

// Waits until a stop signal is pending and removes it; false if none arrives
// within the time. Needs Block.
bool WaitFor(std::chrono::seconds time);

}
