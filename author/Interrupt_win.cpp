// SPDX-License-Identifier: Apache-2.0
#include "author/Interrupt.h"

#include "common/Error.h"

#include <atomic>

#include <windows.h>

using namespace Qt::Literals::StringLiterals;

namespace {

std::atomic<bool> hasCome = false;

// Runs in a thread of the system's own.
BOOL WINAPI Note(DWORD event)
{
    hasCome = true;
    // After the others the system ends the program as soon as this returns:
    // what is left of it goes on until the system's patience is over.
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
        Sleep(INFINITE);
    return TRUE;
}

}

Interrupt::Interrupt()
{
    hasCome = false;
    SetConsoleCtrlHandler(Note, TRUE);
}

Interrupt::~Interrupt()
{
    SetConsoleCtrlHandler(Note, FALSE);
}

void Interrupt::Check()
{
    if (hasCome)
        throw Error(ERROR_CANCELLED, u"Cancelled"_s, u"Interrupt::Check()"_s);
}
