// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Bank.h"

// Reads tables of questions as text (CSV, TSV): a row for each question, its columns
// known by the first row or by Options::Columns.
namespace Table {

// Whether the first row, or one of some below it, names columns that such a table has.
bool Suits(const Bank::Source &source);
// Whether it is a table of anything: two rows or more with as many fields each, three
// or more.
bool IsTable(const Bank::Source &source);
void Read(const Bank::Source &source, const Bank::Options &options, Bank::Receiver &receiver);

}
