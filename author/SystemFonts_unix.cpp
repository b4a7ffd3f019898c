// SPDX-License-Identifier: Apache-2.0
#include "author/SystemFonts.h"

// Fontconfig knows them.
void UseSystemFonts() { }
