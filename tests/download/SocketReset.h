// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

// Has the closing of a socket break its connection off.
void ResetOnClose(qintptr descriptor);

// How a request ended whose connection was reset: Wine shows that to programs as
// an ordinary end.
QString AsReset(const QString &end);
