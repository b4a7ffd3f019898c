// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Bank.h"

// Reads the items, tests and packages of QTI 2.0 to 2.2 and QTI 3.0 (1EdTech Question
// and Test Interoperability).
namespace Qti2 {

// Of a package, whether its manifest names tests or items of these versions, or
// where it names nothing, whether one of its first files is such a test or item.
bool Suits(const Bank::Source &source);

// A package gives the items of its tests in their order, then all others of its
// manifest, each once. Without any of both, it gives the tests and items among
// its files in the order of their paths.
void Read(const Bank::Source &source, const Bank::Options &options, Bank::Receiver &receiver);

}
