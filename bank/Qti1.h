// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Bank.h"

// Reads QTI 1.2 of IMS: a file, or a package of a learning platform such as those of
// Canvas and Common Cartridge.
namespace Qti1 {

bool Suits(const Bank::Source &source);
// A file of a package that cannot be read is warned of, unless it is the only one.
void Read(const Bank::Source &source, const Bank::Options &options, Bank::Receiver &receiver);

}
