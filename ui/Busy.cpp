#include "ui/Busy.h"

#include "common/Common.h"

#include <QApplication>
#include <QWidget>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr char Tag[] = "tag";

// The program's windows, without pop-ups and tool tips.
QWidgetList OpenWindows()
{
    QWidgetList windows = QApplication::topLevelWidgets();
    windows.removeIf(
        [](const QWidget *widget) { return widget->windowType() != Qt::Window && widget->windowType() != Qt::Dialog; });
    return windows;
}

}

void BeginBusy()
{
    for (QWidget *window : OpenWindows()) {
        window->setProperty(Tag, Common::ToText(window->isEnabled()));
        window->setEnabled(false);
    }
    if (QApplication::overrideCursor())
        QApplication::changeOverrideCursor(Qt::WaitCursor);
    else
        QApplication::setOverrideCursor(Qt::WaitCursor);
}

void EndBusy()
{
    for (QWidget *window : OpenWindows()) {
        const QString tag = Common::TrimBlanks(window->property(Tag).toString());
        window->setEnabled(tag.isEmpty() || tag == Common::ToText(true));
    }
    while (QApplication::overrideCursor())
        QApplication::restoreOverrideCursor();
}
