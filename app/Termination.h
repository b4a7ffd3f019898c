// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

class QObject;

// Calls the action from the event loop when the system asks the program to end: on
// SIGTERM, SIGINT and SIGHUP, if they are not ignored. Windows tells programs with
// windows nothing of the kind. To be called once; the context lives until the end.
void WhenTerminated(QObject *context, std::function<void()> action);
