// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Bank.h"

namespace Bank {

// The text of a source that does not tell its encoding by a declaration of its own.
// A byte order mark decides; without one the encoding of the source, unless that is a
// code page and the bytes are UTF-8; without that UTF-16 where every second byte is 0,
// and else UTF-8. Byte order marks are left out wherever they stand, as files that were
// joined have them. Lines end with a line feed.
//
// Names are those that IsEncoding (bank/Encoding.h) knows.
//
// Raises InvalidCall for an unknown name, and for bytes that are not of the
// encoding, with the first line that holds some.
QString Decode(const Source &source);

// The beginning of such a text, at most 64 KB of it in whole lines, to recognise a
// format by. Bytes that are not of the encoding become U+FFFD. Empty for what is no
// text, and for an unknown encoding.
QString Beginning(const Source &source);

// What can be done about bytes that are not UTF-8, such as "say its encoding
// with --encoding".
QString EncodingAdvice(QByteArrayView bytes);

}
