// SPDX-License-Identifier: Apache-2.0
#include "app/Program.h"
#include "app/Termination.h"

#include "common/FailureFile.h"
#include "ui/Guard.h"
#include "ui/HeldKeys.h"
#include "ui/Messages.h"
#include "ui/Theme.h"

#include <QApplication>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    QApplication::setApplicationName(ApplicationTitle);
    QApplication::setDesktopFileName(u"practorium"_s);
    QApplication::setApplicationVersion(u"" PRACTORIUM_VERSION ""_s);
    FailureFile::Prepare();
    Theme::Follow(application);
    HeldKeys::Watch(application);
    Program program;
    // Inside the event loop, where an error that nothing trapped can end it.
    QTimer::singleShot(0, &program, [&] { Guard([&] { program.Start(); }); });
    WhenTerminated(&program, [&] { program.End(); });
    return QApplication::exec();
}
