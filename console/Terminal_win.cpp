// SPDX-License-Identifier: Apache-2.0
#include "console/Terminal.h"

#include <windows.h>

bool Console::HasTerminal()
{
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), &mode) != 0;
}
