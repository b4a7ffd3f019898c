// SPDX-License-Identifier: Apache-2.0
#include "tests/support/Sandbox.h"

#include "model/Globals.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstdio>
#include <cstdlib>

using namespace Qt::Literals::StringLiterals;

namespace {

QString root;

void FailOnWarning(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    std::fprintf(stderr, "%s\n", qPrintable(text));
    // The platform without a screen says this of every window with a fixed
    // size, and nothing is wrong then. Wine 8 does not know the newest way of
    // scaling that the library asks for, nor dark frames, and some calls not at all.
    const bool harmless = text.contains("This plugin does not support"_L1)
        || text.startsWith("SetProcessDpiAwarenessContext("_L1) || text.startsWith("queryDarkBorder: "_L1)
        || text.contains("(Call not implemented.)"_L1);
    if (type != QtDebugMsg && type != QtInfoMsg && !harmless)
        std::abort();
}

}

Sandbox::Sandbox()
{
    root = QDir::toNativeSeparators(m_folder.path());
    qputenv("HOME", root.toLocal8Bit());
    for (const char *name : { "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME", "XDG_RUNTIME_DIR",
                              "XDG_DATA_DIRS", "TMPDIR" }) {
        const QString folder = Path(QString::fromLatin1(name).toLower());
        QDir().mkpath(folder);
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv(name, folder.toLocal8Bit());
    }
    // What Windows calls it.
    qputenv("TMP", qgetenv("TMPDIR"));
    // The platform of the windows, where a run is to be on another one, and the
    // fonts of one that has none of its own.
    for (const auto &[own, name] : { std::pair{ "PRACTORIUM_TEST_PLATFORM", "QT_QPA_PLATFORM" },
                                     std::pair{ "PRACTORIUM_TEST_FONTS", "QT_QPA_FONTDIR" } }) {
        if (!qEnvironmentVariableIsEmpty(own))
            qputenv(name, qgetenv(own));
    }
    QDir::setCurrent(root);
    qInstallMessageHandler(FailOnWarning);
}

Sandbox::~Sandbox()
{
    QDir::setCurrent(QDir::rootPath());
}

QString Sandbox::Path(const QString &name)
{
    return root + QDir::separator() + QDir::toNativeSeparators(name);
}

QString Sandbox::ExamsFolder()
{
    const QString folder = Globals::ExamsFolder();
    QDir().mkpath(folder);
    return folder;
}

void Sandbox::WriteFile(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path));
}

QByteArray Sandbox::ReadFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("cannot read %s", qPrintable(path));
    return file.readAll();
}
