// SPDX-License-Identifier: Apache-2.0
#pragma once

// Whether windows can be shown at all: without a display Qt ends the program.
bool HasDisplay();
