// SPDX-License-Identifier: Apache-2.0
#include "tests/support/Sandbox.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

int main(int argc, char **argv)
{
    Sandbox sandbox;
    QCoreApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
