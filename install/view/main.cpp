// SPDX-License-Identifier: Apache-2.0
#include "install/Installation.h"
#include "install/view/Display.h"
#include "install/view/frmInstall.h"

#include "common/FailureFile.h"
#include "common/TrapErrors.h"
#include "console/Command.h"
#include "console/Console.h"
#include "pack/stub/Install.h"
#include "ui/HeldKeys.h"
#include "ui/Messages.h"
#include "ui/Theme.h"

#include <QApplication>
#include <QFileDialog>

#include <cstring>
#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString Summary = u"Installs exams: packs, exam files, and the folders of exams."_s;
const QString Notes = u"A pack is read and never run, so one for another system can be installed too. Without --yes\n"
                      "a window shows what would be installed, and asks.\n"_s;

// Whether the arguments ask for something that needs no window.
bool IsForTerminal(int argc, char **argv)
{
    for (int at = 1; at < argc; ++at) {
        for (const char *option : { "-y", "--yes", "-h", "--help", "--help-all", "-v", "--version" }) {
            if (std::strcmp(argv[at], option) == 0)
                return true;
        }
    }
    return !HasDisplay();
}

bool InstallAtOnce(const QString &path)
{
    bool isInstalled = false;
    QString line;
    TrapErrors(
        [&] {
            isInstalled = Installation::Run(path, [&](const Installation::Offer &offer) {
                line = u"%1: %2 %3"_s.arg(offer.Folder)
                           .arg(offer.Exam.Items)
                           .arg(offer.Exam.Items == 1 ? u"item"_s : u"items"_s);
                line += offer.Replaced ? u", installed in place of the one before"_s : u", installed"_s;
                if (!offer.Signer.isEmpty())
                    line += u", signed by "_s + offer.Signer;
                return true;
            });
        },
        [](const Error &error) { Console::Complain(u"practorium-install: "_s + Console::OneLine(error.Description())); });
    if (isInstalled)
        Console::Print(Console::OneLine(line));
    return isInstalled;
}

int InstallAll(const QStringList &paths)
{
    PrepareProgram();
    bool areInstalled = true;
    for (const QString &path : paths)
        areInstalled = InstallAtOnce(path) && areInstalled;
    return Console::Flush() && areInstalled ? Command::Success : Command::Failure;
}

// Without PrepareProgram: a signal ends the program at once. The next installation removes
// what that leaves in the exams folder.
int InstallInWindow(const QString &path)
{
    frmInstall window(path);
    window.show();
    window.Start();
    QApplication::exec();
    return window.IsInstalled() ? Command::Success : Command::Failure;
}

QString ChosenFile()
{
    return QFileDialog::getOpenFileName(nullptr, u"Install Exam - "_s + ApplicationTitle, {},
                                        u"Exams (*.exam *.run *.exe);;All files (*)"_s);
}

}

int main(int argc, char **argv)
{
    const bool isForTerminal = IsForTerminal(argc, argv);
    const std::unique_ptr<QCoreApplication> application(isForTerminal ? new QCoreApplication(argc, argv)
                                                                      : new QApplication(argc, argv));
    QCoreApplication::setApplicationName(u"practorium-install"_s);
    QCoreApplication::setApplicationVersion(u"" PRACTORIUM_VERSION ""_s);
    FailureFile::Prepare();
    QCommandLineParser parser;
    parser.setApplicationDescription(Summary);
    const QCommandLineOption yes({ u"y"_s, u"yes"_s }, u"Install without a question and without a window."_s);
    parser.addOption(yes);
    parser.addVersionOption();
    parser.addPositionalArgument(u"FILE"_s, u"A pack, an exam file, or the folder of an exam."_s, u"[FILE...]"_s);
    if (const auto code
        = Command::Parse(parser, QStringList(u"practorium-install"_s) + QCoreApplication::arguments().mid(1), Notes))
        return *code;
    QStringList paths = parser.positionalArguments();
    if (parser.isSet(yes))
        return paths.isEmpty() ? Command::Misused(u"nothing is named that could be installed"_s) : InstallAll(paths);
    if (isForTerminal)
        return Command::Misused(u"there is no display for a window; --yes installs without one"_s);

    auto &windows = static_cast<QApplication &>(*application);
    QGuiApplication::setDesktopFileName(u"practorium-install"_s);
    Theme::Follow(windows);
    HeldKeys::Watch(windows);
    if (paths.isEmpty())
        paths += ChosenFile();
    int result = Command::Success;
    for (const QString &path : paths) {
        if (path.isEmpty() || InstallInWindow(path) != Command::Success)
            result = Command::Failure;
    }
    return result;
}
