// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Bank.h"

// Reads GIFT, the text format of question banks.
namespace Gift {

// Whether the beginning has category lines, or braces that hold what an answer block
// holds in most paragraphs with braces. A block that is not closed counts too.
bool Suits(const Bank::Source &source);
void Read(const Bank::Source &source, const Bank::Options &options, Bank::Receiver &receiver);

}
