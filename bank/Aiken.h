// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Bank.h"

// Reads Aiken: a stem, options behind the letters A, B and so on ("A." or "A)"), and
// "ANSWER: B". Its texts have no markup.
namespace Aiken {

bool Suits(const Bank::Source &source);
void Read(const Bank::Source &source, const Bank::Options &options, Bank::Receiver &receiver);

}
