// SPDX-License-Identifier: Apache-2.0
#include "service/Signals.h"

#include <csignal>

namespace Signals {

namespace {

sigset_t Held()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    return set;
}

}

void Hold()
{
    const sigset_t set = Held();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

bool HasCome(std::chrono::seconds time)
{
    const sigset_t set = Held();
    const timespec limit = { static_cast<time_t>(time.count()), 0 };
    return sigtimedwait(&set, nullptr, &limit) > 0;
}

}
