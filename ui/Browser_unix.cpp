// SPDX-License-Identifier: Apache-2.0
#include "ui/Browser.h"

#include <QProcess>
#include <QStandardPaths>

using namespace Qt::Literals::StringLiterals;

// Desktops open documents and addresses alike with what the user has chosen
// for them through one program.
QString FindDocumentProgram(const QString &)
{
    return QStandardPaths::findExecutable(u"xdg-open"_s);
}

bool OpenWithProgram(const QString &Program, const QString &Url)
{
    return QProcess::startDetached(Program, { Url });
}
