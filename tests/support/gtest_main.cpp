// SPDX-License-Identifier: Apache-2.0
#include "tests/support/Sandbox.h"
#include "tests/support/System.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <cstdio>

int main(int argc, char **argv)
{
    // Rules are tested without windows.
    if (System::HasWidgets()) {
        std::fputs("This program of logic tests links Qt Widgets\n", stderr);
        return 1;
    }
    Sandbox sandbox;
    QCoreApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
