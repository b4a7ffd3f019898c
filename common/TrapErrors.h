// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Error.h"

#include <new>
#include <utility>

// Runs an action and gives what it raises to the handler, as an Error. No
// exception may travel through Qt's own code, so every slot and event handler
// that can raise stands inside one.
template <class Action, class Handler> void TrapErrors(Action &&action, Handler &&handler)
{
    try {
        std::forward<Action>(action)();
    } catch (const Error &error) {
        handler(error);
    } catch (const std::bad_alloc &) {
        handler(Error::RunTime(OutOfMemory));
    } catch (const std::exception &exception) {
        handler(Error(InvalidCall, QString::fromLocal8Bit(exception.what())));
    }
}
