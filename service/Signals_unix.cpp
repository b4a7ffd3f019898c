// SPDX-License-Identifier: Apache-2.0
#include "service/Signals.h"

#include <csignal>

#include <unistd.h>

namespace Signals {

namespace {

sigset_t blocked;

}

void Block(bool canReload)
{
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGINT);
    sigaddset(&blocked, SIGTERM);
    if (canReload || ::isatty(STDIN_FILENO) == 0)
        sigaddset(&blocked, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

std::optional<Signal> WaitFor(std::chrono::milliseconds time)
{
    const timespec limit = { static_cast<time_t>(time.count() / 1'000), static_cast<long>(time.count() % 1'000 * 1'000'000) };
    const int number = sigtimedwait(&blocked, nullptr, &limit);
    if (number <= 0)
        return {};
    return number == SIGHUP ? Signal::Reload : Signal::Stop;
}

}
