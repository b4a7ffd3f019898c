// SPDX-License-Identifier: Apache-2.0
#include "app/Program.h"
#include "app/Termination.h"
#include "tests/support/Windows.h"

#include <csignal>

using namespace Windows;

// Whatever window is open at that moment.
TEST(TerminationTest, SignalAndEndOfTheSessionAskNoQuestion)
{
    QDir(Sandbox::ExamsFolder()).removeRecursively();
    Messages boxes;
    void (*const rows[])()
        = { [] { std::raise(SIGTERM); }, [] { QCoreApplication::postEvent(qApp, new QEvent(QEvent::Quit)); } };
    for (const auto end : rows) {
        Program program;
        WhenTerminated(&program, [] { Program::End(); });
        bool wasOpen = false;
        const int code = RunLoop([&] {
            program.Start();
            Show(&program.Main());
            const WhenOpen about(u"frmAbout"_s, [&](QWidget *window) {
                wasOpen = window->isVisible();
                end();
            });
            Click(&program.Main(), u"lblAbout"_s);
        });
        std::signal(SIGTERM, SIG_DFL);
        EXPECT_EQ(code, 0);
        EXPECT_TRUE(wasOpen);
        for (const QWidget *window : QApplication::topLevelWidgets())
            EXPECT_FALSE(window->isVisible()) << window->objectName().toStdString();
    }
}
