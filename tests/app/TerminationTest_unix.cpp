// SPDX-License-Identifier: Apache-2.0
#include "app/Program.h"
#include "app/Termination.h"
#include "download/Credentials.h"
#include "tests/support/Windows.h"

#include <csignal>

using namespace Windows;

namespace {

// Starts the program and opens that window, where the signal comes. The code of the
// program's end.
int CodeAfterSignal(const QString &link, const QString &name, const std::function<void(QWidget *)> &before)
{
    Program program;
    WhenTerminated(&program, [] { Program::End(); });
    bool wasOpen = false;
    const int code = RunLoop([&] {
        program.Start();
        Show(&program.Main());
        const WhenOpen opened(name, [&](QWidget *window) {
            wasOpen = window->isVisible();
            before(window);
            std::raise(SIGTERM);
        });
        Click(&program.Main(), link);
    });
    std::signal(SIGTERM, SIG_DFL);
    EXPECT_TRUE(wasOpen);
    for (const QWidget *window : QApplication::topLevelWidgets())
        EXPECT_FALSE(window->isVisible()) << window->objectName().toStdString();
    return code;
}

}

// Whatever window is open at that moment.
TEST(TerminationTest, ASignalEndsTheProgramWithoutAQuestion)
{
    QDir(Sandbox::ExamsFolder()).removeRecursively();
    Messages boxes;
    EXPECT_EQ(CodeAfterSignal(u"lblAbout"_s, u"frmAbout"_s, [](QWidget *) {}), 0);
    // The download window ends as if it were closed.
    Credentials::Store({ u"me"_s, u"secret"_s });
    const auto forget = [](QWidget *window) { Find<QAbstractButton>(window, u"chkRemember"_s)->setChecked(false); };
    EXPECT_EQ(CodeAfterSignal(u"lblDownload"_s, u"frmExamDownloader"_s, forget), 0);
    EXPECT_EQ(Credentials::Load().UserID, u""_s);
}
