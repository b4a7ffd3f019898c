// SPDX-License-Identifier: Apache-2.0
#include "author/Interrupt.h"

#include "common/Error.h"

#include <array>
#include <cerrno>
#include <csignal>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr std::array Signals = { SIGINT, SIGTERM, SIGHUP };

volatile std::sig_atomic_t hasCome = 0;
std::array<struct sigaction, Signals.size()> before;

void Note(int)
{
    hasCome = 1;
}

}

Interrupt::Interrupt()
{
    hasCome = 0;
    for (size_t i = 0; i < Signals.size(); ++i) {
        sigaction(Signals[i], nullptr, &before[i]);
        struct sigaction action = {};
        action.sa_handler = Note;
        action.sa_flags = SA_RESTART;
        // What was started to run on regardless goes on regardless.
        if (before[i].sa_handler != SIG_IGN)
            sigaction(Signals[i], &action, nullptr);
    }
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
}

Interrupt::~Interrupt()
{
    for (size_t i = 0; i < Signals.size(); ++i)
        sigaction(Signals[i], &before[i], nullptr);
}

void Interrupt::Check()
{
    if (hasCome)
        throw Error(ECANCELED, u"Cancelled"_s, u"Interrupt::Check()"_s);
}
