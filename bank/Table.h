// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Bank.h"

// Reads tables of questions as text (CSV, TSV): a row for each question, its columns
// known by the first row or by Options::Columns.
namespace Table {

// Whether the first row names columns that such a table has.
bool Suits(const Bank::Source &source);
void Read(const Bank::Source &source, const Bank::Options &options, Bank::Receiver &receiver);

}
