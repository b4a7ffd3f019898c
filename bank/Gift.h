// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Bank.h"

// Reads GIFT, the text format of question banks.
namespace Gift {

// Whether most pairs of braces at the beginning hold what an answer block holds, or a
// category line stands there. An answer block that is not closed counts too.
bool Suits(const Bank::Source &source);
void Read(const Bank::Source &source, const Bank::Options &options, Bank::Receiver &receiver);

}
