// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Bank.h"

// Reads packages of H5P: question sets and whatever else holds choice questions.
namespace H5p {

bool Suits(const Bank::Source &source);
// The line of an item is its number among the questions: the package keeps all of
// them in one line.
void Read(const Bank::Source &source, const Bank::Options &options, Bank::Receiver &receiver);

}
