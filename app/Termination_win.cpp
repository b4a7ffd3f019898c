// SPDX-License-Identifier: Apache-2.0
#include "app/Termination.h"

void WhenTerminated(QObject *, std::function<void()>) { }
