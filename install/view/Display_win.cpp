// SPDX-License-Identifier: Apache-2.0
#include "install/view/Display.h"

bool HasDisplay()
{
    return true;
}
