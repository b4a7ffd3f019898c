// SPDX-License-Identifier: Apache-2.0
#include "console/Terminal.h"

#include <unistd.h>

bool Console::HasTerminal()
{
    return isatty(STDERR_FILENO) == 1;
}
