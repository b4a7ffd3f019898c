// SPDX-License-Identifier: Apache-2.0
#include "service/StopSignals.h"

#include <csignal>

namespace StopSignals {

namespace {

sigset_t SignalSet()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    return set;
}

}

void Block()
{
    const sigset_t set = SignalSet();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

bool WaitFor(std::chrono::seconds time)
{
    const sigset_t set = SignalSet();
    const timespec limit = { static_cast<time_t>(time.count()), 0 };
    return sigtimedwait(&set, nullptr, &limit) > 0;
}

}
