// SPDX-License-Identifier: Apache-2.0
// bench_message: Pack and UnPack of a message with 1,000 parameters and of one
// with 16,000, for each parameter. One that looked its parameters up by walking
// the list would take 16 times as long for each.

#include "protocol/Message.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int Few = 1000;
constexpr int Many = 16 * Few;
constexpr int Rounds = 15;

// Nanoseconds for each parameter.
double Cost(int parameters)
{
    MESSAGE message;
    message.SetCommand(u"LIST"_s);
    for (int i = 0; i < parameters; ++i)
        message.Parameters().Add(u"name%1"_s.arg(i), u"50% of a=b & c; d?"_s);
    MESSAGE unpacked;
    const auto begin = std::chrono::steady_clock::now();
    for (int repetition = 0; repetition < Many / parameters; ++repetition) {
        message.Pack();
        unpacked.UnPack(message.Text());
    }
    const std::chrono::duration<double, std::nano> time = std::chrono::steady_clock::now() - begin;
    if (unpacked.Parameters().Count() != parameters)
        std::abort();
    return time.count() / Many;
}

}

int main()
{
    std::vector<double> ratios;
    std::vector<double> costs;
    Cost(Many);
    for (int round = 0; round < Rounds; ++round) {
        const double few = Cost(Few);
        ratios.push_back(Cost(Many) / few);
        costs.push_back(few);
    }
    std::sort(costs.begin(), costs.end());
    std::printf("Pack and UnPack for each of 16,000 parameters, to 1,000 (%.0f ns)|", costs[Rounds / 2]);
    for (const double ratio : ratios)
        std::printf(" %.3f", ratio);
    std::printf("|2|x\n");
    return 0;
}
