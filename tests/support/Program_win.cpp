// SPDX-License-Identifier: Apache-2.0
#include "tests/support/Program.h"

#include <windows.h>

bool HearsSignals(QProcess &process)
{
    // It would come through the console.
    if (GetConsoleCP() == 0)
        return false;
    process.setCreateProcessArgumentsModifier(
        [](QProcess::CreateProcessArguments *arguments) { arguments->flags |= CREATE_NEW_PROCESS_GROUP; });
    return true;
}

// Every signal is the one that ends a group of programs in a console.
void Signal(const QProcess &process, int)
{
    GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, static_cast<DWORD>(process.processId()));
}

Preparation SmallFiles(quint64)
{
    return {};
}
