#include "author/Command.h"

#include <QGuiApplication>

#include <cstdio>

namespace {

// What the toolkit's decoders say of a file is said in the program's own words
// where it matters.
void OnlyFatal(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (type == QtCriticalMsg || type == QtFatalMsg)
        std::fprintf(stderr, "%s\n", qPrintable(text));
}

}

int main(int argc, char **argv)
{
    qInstallMessageHandler(OnlyFatal);
    // Formatted texts need a platform, but no display.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication::setDesktopSettingsAware(false);
    const QGuiApplication application(argc, argv);
    return Command::Run(QCoreApplication::arguments());
}
