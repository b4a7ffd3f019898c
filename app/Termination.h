// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

class QObject;

// Calls the action from the event loop when the system asks the program to end: on
// SIGTERM, SIGINT and SIGHUP, if they are not ignored. Windows has no such
// signals for programs with windows. To be called once; the context lives until the end.
void WhenTerminated(QObject *context, std::function<void()> action);
