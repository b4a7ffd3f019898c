// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/TrapErrors.h"

#include <utility>

// Reports an error that nothing trapped to the user, with its number and its
// description, and ends the program's event loops with exit code 1.
void ReportUnhandled(const Error &error);

// Runs what the user's action asks for; an error that it raises is reported so.
template <class Action> void Guard(Action &&action)
{
    TrapErrors(std::forward<Action>(action), &ReportUnhandled);
}
