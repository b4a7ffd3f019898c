// SPDX-License-Identifier: Apache-2.0
#include "tests/support/Sandbox.h"
#include "ui/HeldKeys.h"
#include "ui/Messages.h"
#include "ui/Theme.h"

#include <QApplication>
#include <QFont>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    Sandbox sandbox;
    // A dialog of the system's own could not be driven.
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication application(argc, argv);
    QApplication::setApplicationName(ApplicationTitle);
    // A test's loop ends when the test says so.
    QApplication::setQuitOnLastWindowClosed(false);
    // Gaps follow from the font, and the system's choice from the fonts that there are.
    if (QGuiApplication::platformName() != "windows"_L1)
        QApplication::setFont(QFont(u"DejaVu Sans"_s, QApplication::font().pointSize()));
    Theme::Apply(application);
    HeldKeys::Watch(application);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
