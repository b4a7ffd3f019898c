// SPDX-License-Identifier: Apache-2.0
#include "author/Commands.h"
#include "author/SystemFonts.h"

#include <QGuiApplication>

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace {

// Warnings of Qt's decoders are left out: the program reports damaged files itself.
void OnlyFatal(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (type == QtCriticalMsg || type == QtFatalMsg)
        std::fprintf(stderr, "%s\n", qPrintable(text));
}

}

int main(int argc, char **argv)
{
    qInstallMessageHandler(OnlyFatal);
    // QTextDocument needs a QPA platform, but no display.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    UseSystemFonts();
    QGuiApplication::setDesktopSettingsAware(false);
    const QGuiApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"practorium-author"_s);
    QCoreApplication::setApplicationVersion(u"" PRACTORIUM_VERSION ""_s);
    return Command::Run(u"Makes, shows and checks exam files and packages."_s,
                        {
                            { u"build"_s, u"makes a package folder from question banks"_s, Command::Build },
                            { u"dump"_s, u"prints an exam file as JSON"_s, Command::DumpExam },
                            { u"check"_s, u"reports the faults of exam files, package folders and packs"_s,
                              Command::CheckPaths },
                            { u"print"_s, u"makes a PDF of an exam on paper, and its key"_s, Command::Print },
                            { u"pack"_s, u"makes a program that installs a package"_s, Command::Pack },
                            { u"key"_s, u"makes a key that signs packs"_s, Command::Key },
                        });
}
