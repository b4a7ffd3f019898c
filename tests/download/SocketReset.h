#pragma once

#include <QtGlobal>

// Has the closing of a socket break its connection off.
void ResetOnClose(qintptr descriptor);
