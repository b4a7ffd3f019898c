#include "tour/Tour.h"

#include "model/Globals.h"
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

}

// practorium-tour PACKS OUT: sits an exam of the packs in a home folder of its
// own and leaves the pictures in OUT.
int main(int argc, char **argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: practorium-tour PACKS OUT\n");
        return 2;
    }
    const QTemporaryDir home;
    for (const char *name : { "HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME" })
        qputenv(name, home.path().toLocal8Bit());
    QApplication application(argc, argv);
    QApplication::setApplicationName(ApplicationTitle);
    Theme::Apply(application);
    const QString out = QDir(QFile::decodeName(argv[2])).absolutePath();
    QDir().mkpath(out);
    CopyFolder(QDir(QFile::decodeName(argv[1])).absolutePath(), Globals::ExamsFolder());

    // Where the report is saved unless the candidate says otherwise.
    QDir::setCurrent(out);
    Program program;
    program.Start();
    QTimer::singleShot(0, &program, [&] {
        Tour tour(program, out);
        tour.Run();
        std::printf("%d pictures and the score report (PDF) in %s\n", tour.Pictures(), qPrintable(out));
    });
    return QApplication::exec();
}
