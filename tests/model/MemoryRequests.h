// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

// The largest request for memory so far, of Qt's containers too, which do not
// go through operator new.
extern size_t largestRequest;
