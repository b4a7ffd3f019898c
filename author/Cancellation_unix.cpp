// SPDX-License-Identifier: Apache-2.0
#include "author/Cancellation.h"

#include "common/Error.h"

#include <array>
#include <cerrno>
#include <csignal>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr std::array Signals = { SIGINT, SIGTERM, SIGHUP };

volatile std::sig_atomic_t isRequested = 0;
std::array<struct sigaction, Signals.size()> before;

void OnSignal(int)
{
    isRequested = 1;
}

}

Cancellation::Cancellation()
{
    isRequested = 0;
    for (size_t i = 0; i < Signals.size(); ++i) {
        sigaction(Signals[i], nullptr, &before[i]);
        struct sigaction action = {};
        action.sa_handler = OnSignal;
        action.sa_flags = SA_RESTART;
        // A program started under nohup keeps ignoring SIGHUP.
        if (before[i].sa_handler != SIG_IGN)
            sigaction(Signals[i], &action, nullptr);
    }
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
}

Cancellation::~Cancellation()
{
    for (size_t i = 0; i < Signals.size(); ++i)
        sigaction(Signals[i], &before[i], nullptr);
}

void Cancellation::Check()
{
    if (isRequested)
        throw Error(ECANCELED, u"Cancelled"_s, u"Cancellation::Check()"_s);
}
