// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

// The first line of the standard input, without its end; typed unseen where
// that is a terminal.
QString ReadSecret(const QString &prompt);
