// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

// Has the closing of a socket break its connection off.
void ResetOnClose(qintptr descriptor);

// Boxes that tell of such an end, with libcurl's number of a reset: Wine shows it
// to programs as an ordinary end.
QString ToldAsReset(QString boxes);
