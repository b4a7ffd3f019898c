// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Error.h"

#include <new>
#include <utility>

// Reports an error that nothing trapped to the user, with its number and its
// description, and ends the program's event loops with exit code 1.
void ReportUnhandled(const Error &error);

// Runs what the user's action asks for. No exception may travel through Qt's
// own code, so every slot and event handler that can raise stands inside one.
template <class Action> void Guard(Action &&action)
{
    try {
        std::forward<Action>(action)();
    } catch (const Error &error) {
        ReportUnhandled(error);
    } catch (const std::bad_alloc &) {
        ReportUnhandled(Error(7, QStringLiteral("Out of memory")));
    } catch (const std::exception &exception) {
        ReportUnhandled(Error(InvalidCall, QString::fromLocal8Bit(exception.what())));
    }
}
