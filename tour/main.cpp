// SPDX-License-Identifier: Apache-2.0
#include "common/Registry.h"
#include "common/ServiceKey.h"
#include "download/Credentials.h"
#include "model/Globals.h"
#include "tour/DownloadTour.h"
#include "tour/SittingTour.h"
#include "ui/HeldKeys.h"
#include "ui/Messages.h"
#include "ui/Theme.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace {

void CopyFolder(const QString &from, const QString &to)
{
    QDir().mkpath(to);
    for (const QFileInfo &entry : QDir(from).entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot)) {
        if (entry.isDir())
            CopyFolder(entry.filePath(), to + u'/' + entry.fileName());
        else
            QFile::copy(entry.filePath(), to + u'/' + entry.fileName());
    }
}

int Usage()
{
    std::fprintf(stderr,
                 "usage: practorium-tour sitting OUT PACKS [LOOK]\n"
                 "       practorium-tour download OUT ENDPOINT USER-ID PASSWORD [LOOK]\n"
                 "LOOK is light (unless given), dark or contrast\n");
    return 2;
}

}

// Takes the program through a sitting of an exam of the packs, or through a
// download, in a home folder of its own, and leaves the pictures in OUT.
int main(int argc, char **argv)
{
    QStringList words;
    for (int i = 1; i < argc; ++i)
        words.append(QString::fromLocal8Bit(argv[i]));
    const QMap<QString, Theme::Look> looks = { { u"light"_s, Theme::Look::Light },
                                               { u"dark"_s, Theme::Look::Dark },
                                               { u"contrast"_s, Theme::Look::HighContrast } };
    const QString look = looks.contains(words.value(words.size() - 1)) ? words.takeLast() : u"light"_s;
    const QString what = words.value(0);
    if (!(what == "sitting"_L1 && words.size() == 3) && !(what == "download"_L1 && words.size() == 5))
        return Usage();
    const QTemporaryDir home;
    for (const char *name : { "HOME", "XDG_DATA_HOME", "XDG_DATA_DIRS", "XDG_CONFIG_HOME", "XDG_CACHE_HOME" })
        qputenv(name, home.path().toLocal8Bit());
    const QString temporary = home.filePath(u"tmp"_s);
    QDir().mkpath(temporary);
    // What others may write to is no place for a pack.
    QFile::setPermissions(temporary, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    for (const char *name : { "TMPDIR", "TMP" })
        qputenv(name, QDir::toNativeSeparators(temporary).toLocal8Bit());

    // A dialog of the system's own could not be driven.
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication application(argc, argv);
    QApplication::setApplicationName(ApplicationTitle);
    Theme::Apply(application, looks.value(look));
    HeldKeys::Watch(application);
    const QString out = QDir(words.at(1)).absolutePath();
    QDir().mkpath(out);
    if (what == "sitting"_L1)
        CopyFolder(QDir(words.at(2)).absolutePath(), Globals::ExamsFolder());
    else
        Registry::WriteValue(ServiceKey, Credentials::EndpointName, words.at(2), Registry::Text, Registry::CurrentUser);
    if (const QString keys = qEnvironmentVariable("PRACTORIUM_KEYS"); !keys.isEmpty())
        Registry::WriteValue(ServiceKey, u"Pack Keys"_s, keys, Registry::Text, Registry::CurrentUser);

    // Where the report is saved unless the candidate says otherwise.
    QDir::setCurrent(out);
    Program program;
    program.Start();
    QTimer::singleShot(0, &program, [&] {
        const int pictures = what == "sitting"_L1 ? SittingTour(program, out).Run()
                                                  : DownloadTour(program, out, { words.at(3), words.at(4) }).Run();
        std::printf("%d pictures in %s\n", pictures, qPrintable(out));
    });
    return QApplication::exec();
}
