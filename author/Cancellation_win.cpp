// SPDX-License-Identifier: Apache-2.0
#include "author/Cancellation.h"

#include "common/Error.h"

#include <atomic>

#include <windows.h>

using namespace Qt::Literals::StringLiterals;

namespace {

std::atomic<bool> isRequested = false;

// The system calls it in a thread of its own.
BOOL WINAPI OnConsoleEvent(DWORD event)
{
    isRequested = true;
    // After any other event the system ends the program when this returns, so
    // the main thread has until the system's time limit to clean up.
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
        Sleep(INFINITE);
    return TRUE;
}

}

Cancellation::Cancellation()
{
    isRequested = false;
    SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
}

Cancellation::~Cancellation()
{
    SetConsoleCtrlHandler(OnConsoleEvent, FALSE);
}

void Cancellation::Check()
{
    if (isRequested)
        throw Error(ERROR_CANCELLED, u"Cancelled"_s, u"Cancellation::Check()"_s);
}
