// SPDX-License-Identifier: Apache-2.0
#include "ui/Guard.h"

#include "common/Common.h"
#include "common/FailureFile.h"
#include "ui/Messages.h"

#include <QCoreApplication>
#include <QScopedValueRollback>

using namespace Qt::Literals::StringLiterals;

void ReportUnhandled(const Error &error)
{
    // What else goes wrong behind the open box has no news for the user.
    static bool isReporting = false;
    if (isReporting)
        return;
    const QScopedValueRollback reporting(isReporting, true);
    FailureFile::Report(error);
    // The description is shown as it is: a template would expand it.
    CurrentMessagePort().Show(u"Run-time error '"_s + QString::number(error.Number()) + u"':\r\n\r\n"_s
                                  + Common::ShownText(error.Description()),
                              CriticalMessage);
    QCoreApplication::exit(1);
}
