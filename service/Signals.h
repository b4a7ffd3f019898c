// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>

// The signals by which an administrator controls the program.
namespace Signals {

enum class Signal {
    Stop, // SIGINT or SIGTERM
    Reload, // SIGHUP
};

// Blocks the signals in this thread and in every thread that it starts later, so
// that they stay pending until WaitFor receives them. If there is nothing to reload,
// SIGHUP still ends the program together with its terminal. Also ignores SIGPIPE: writing to a closed connection must not end
// the program. To be called before the first thread is started.
void Block(bool canReload);

// Waits until a signal is pending and removes it; empty if none arrives within the
// time. Needs Block.
std::optional<Signal> WaitFor(std::chrono::milliseconds time);

}
