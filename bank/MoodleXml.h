// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Bank.h"

// Reads Moodle XML, what Moodle's question banks are exported as.
namespace MoodleXml {

// Whether the root is a "quiz" and its first element, if any, a "question".
bool Suits(const Bank::Source &source);
void Read(const Bank::Source &source, const Bank::Options &options, Bank::Receiver &receiver);

}
