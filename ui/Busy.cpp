// SPDX-License-Identifier: Apache-2.0
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
    // Disabling a window disables those that it owns as well: a window's own
    // state counts, and all of them are kept before the first one changes.
    const QWidgetList windows = OpenWindows();
    for (QWidget *window : windows)
        window->setProperty(Tag, Common::ToText(window->isEnabledTo(window->parentWidget())));
    for (QWidget *window : windows)
        window->setEnabled(false);
    if (QApplication::overrideCursor())
        QApplication::changeOverrideCursor(Qt::WaitCursor);
    else
        QApplication::setOverrideCursor(Qt::WaitCursor);
}

void EndBusy()
{
    // Either change reaches the windows that a window owns: all are enabled
    // before the first is disabled again.
    const QWidgetList windows = OpenWindows();
    for (QWidget *window : windows)
        window->setEnabled(true);
    for (QWidget *window : windows) {
        const QString tag = Common::TrimBlanks(window->property(Tag).toString());
        if (!tag.isEmpty() && tag != Common::ToText(true))
            window->setEnabled(false);
    }
    while (QApplication::overrideCursor())
        QApplication::restoreOverrideCursor();
}

WaitCursor::WaitCursor()
{
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
}

WaitCursor::~WaitCursor()
{
    QGuiApplication::restoreOverrideCursor();
}
