#include "ui/Guard.h"

#include "common/Common.h"
#include "ui/Busy.h"
#include "ui/Messages.h"

#include <QCoreApplication>

using namespace Qt::Literals::StringLiterals;

void ReportUnhandled(const Error &error)
{
    EndBusy();
    // The description is shown as it is: a template would expand it.
    CurrentMessagePort().Show(u"Run-time error '"_s + QString::number(error.Number()) + u"':\r\n\r\n"_s
                                  + Common::ShownText(error.Description()),
                              CriticalMessage);
    QCoreApplication::exit(1);
}
