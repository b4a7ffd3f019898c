// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>

#include <cstdio>
#include <random>

// Where a random test begins: another number each time, printed so that
// PRACTORIUM_TEST_SEED=NUMBER repeats the run.
inline unsigned TestSeed()
{
    const QByteArray given = qgetenv("PRACTORIUM_TEST_SEED");
    const unsigned seed = given.isEmpty() ? std::random_device()() : given.toUInt();
    std::printf("PRACTORIUM_TEST_SEED=%u\n", seed);
    return seed;
}
