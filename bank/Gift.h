// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Bank.h"

// Reads GIFT, the text format of question banks.
namespace Gift {

bool Suits(const Bank::Source &source);
void Read(const Bank::Source &source, const Bank::Options &options, Bank::Receiver &receiver);

// The text of a file: UTF-8, or the encoding of its byte order mark. Invalid
// bytes become U+FFFD. Lines end with a line feed.
QString Decode(const QByteArray &bytes);

}
