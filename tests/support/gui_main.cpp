// SPDX-License-Identifier: Apache-2.0
#include "tests/support/Sandbox.h"

#include <QGuiApplication>

#include <gtest/gtest.h>

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    Sandbox sandbox;
    QGuiApplication application(argc, argv);
    // There is no such platform: a program that is started has to choose its own.
    qputenv("QT_QPA_PLATFORM", "none");
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
