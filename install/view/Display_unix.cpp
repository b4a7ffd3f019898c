// SPDX-License-Identifier: Apache-2.0
#include "install/view/Display.h"

#include <QtGlobal>

bool HasDisplay()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")
        || !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
}
