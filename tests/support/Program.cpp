// SPDX-License-Identifier: Apache-2.0
#include "tests/support/Program.h"

#include "tests/support/Sandbox.h"

#include <QDirIterator>
#include <QElapsedTimer>
#include <QThread>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

Outcome OutcomeOf(const QString &program, const QStringList &arguments, const Preparation &prepare, const QByteArray &input)
{
    QProcess process;
    process.setWorkingDirectory(Sandbox::Path({}));
    if (prepare)
        prepare(process);
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    return EndOf(process);
}

Outcome EndOf(QProcess &process)
{
    EXPECT_TRUE(process.waitForFinished(120'000))
        << process.program().toStdString() << ": " << process.errorString().toStdString();
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit) << process.program().toStdString();
    // Windows ends lines with two characters.
    const auto text = [](const QByteArray &bytes) { return QString::fromUtf8(bytes).replace("\r\n"_L1, "\n"_L1); };
    return { process.exitCode(), text(process.readAllStandardOutput()), text(process.readAllStandardError()) };
}

void Await(const std::function<bool()> &condition)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > 60'000) {
            ADD_FAILURE() << "nothing came in a minute";
            return;
        }
        QThread::usleep(100);
    }
}

std::map<QString, QByteArray> Snapshot(const QString &folder)
{
    std::map<QString, QByteArray> found;
    QDirIterator entries(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString path = entries.next();
        const QFileInfo info = entries.fileInfo();
        found[path.mid(folder.size())] = info.isSymLink() ? "-> " + info.symLinkTarget().toUtf8()
            : info.isFile()                               ? Sandbox::ReadFile(path)
                                                          : QByteArray("folder");
    }
    return found;
}
