// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bank/Bank.h"

namespace Bank {

// The text of a source that does not tell its encoding by a declaration of its own.
// A byte order mark decides; without one the encoding that the user names; without
// that UTF-16 where every second byte is 0, and else UTF-8. Byte order marks are
// left out wherever they stand, as files that were joined have them. Lines end with
// a line feed.
//
// Names are those of Options::Encoding; see UnicodeOf and PageOf.
//
// Raises InvalidCall for an unknown name, and for bytes that are not of the
// encoding, with the first line that holds some.
QString Decode(const Source &source, const QString &encoding);

// The beginning of such a text, at most 64 KB of it, to recognise a format by. Bytes
// that are not UTF-8 become U+FFFD. Empty for what is no text.
QString Beginning(const Source &source);

}
