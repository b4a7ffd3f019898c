// SPDX-License-Identifier: Apache-2.0
#include "ui/Browser.h"

#include "ui/Messages.h"

#include <QFile>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

void LaunchBrowser(const QString &Url)
{
    const QString probe = u"temp.htm"_s;
    QFile file(probe);
    // Only a document can be asked for its program, so there must be one.
    const bool written = !QFileInfo(probe).isSymLink() && file.open(QIODevice::WriteOnly) && file.write("<HTML></HTML>\r\n") > 0
        && file.flush();
    file.close();
    if (!written) {
        CurrentMessagePort().Show(u"Cannot launch browser because an error occured writing to temporary file."_s, PlainMessage);
        return;
    }
    const QString program = FindDocumentProgram(probe);
    if (program.isEmpty())
        CurrentMessagePort().Show(u"Unable to launch the browser"_s, ExclamationMessage);
    else if (!OpenWithProgram(program, Url))
        CurrentMessagePort().Show(u"Unable to load webpage"_s, ExclamationMessage);
    QFile::remove(probe);
}
