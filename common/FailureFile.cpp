// SPDX-License-Identifier: Apache-2.0
#include "common/FailureFile.h"

#include "common/FailureFile_p.h"

#include <QCoreApplication>
#include <QDir>
#include <QSysInfo>

using namespace Qt::Literals::StringLiterals;

namespace FailureFile {

namespace {

// Never destroyed, because a crash may come while the program ends.
QString &ownPath = *new QString;
QByteArray &ownHeader = *new QByteArray;

}

void Prepare()
{
    const QString folder = StateFolder();
    if (folder.isEmpty())
        return;
    ownPath = QDir(folder).filePath(u"failure.txt"_s);
    ownHeader = u"%1 %2\n%3, %4 %5, %6\nQt %7\n"_s
                    .arg(QCoreApplication::applicationName(), QCoreApplication::applicationVersion(),
                         QSysInfo::prettyProductName(), QSysInfo::kernelType(), QSysInfo::kernelVersion(),
                         QSysInfo::currentCpuArchitecture(), QString::fromLatin1(qVersion()))
                    .toUtf8();
    Watch(ownPath, { ownHeader.constData(), static_cast<size_t>(ownHeader.size()) });
}

void Report(const Error &error)
{
    if (ownPath.isEmpty())
        return;
    const QByteArray line = u"Error %1 of %2"_s.arg(error.Number()).arg(error.Source()).toUtf8();
    Write({ line.constData(), static_cast<size_t>(line.size()) });
}

}
