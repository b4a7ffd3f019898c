// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

// What the download window keeps between runs, in the user's registry: on Linux a
// file that only the user can read. The cipher keeps the password from being read
// by accident, no more than that (model/CryptoAPI.h).
namespace Credentials {

// The text under ServiceKey that takes the place of the built-in address.
extern const QString EndpointName;

// As they were typed, not trimmed. Empty when nothing is remembered.
struct Pair {
    QString UserID;
    QString Password;
};
// A password without a user ID, or one that cannot be read, is empty. One that was
// stored on another computer comes out as meaningless characters. Raises nothing.
Pair Load();
// Stores the password enciphered for this computer; what the ANSI code page lacks
// comes back as "?". Raises the system's error; the user ID may be stored by then.
void Store(const Pair &pair);
// Deletes both values. Raises nothing: what is not there, or cannot be deleted, is
// no error.
void Forget();

// Where the service is: the text EndpointName without blanks at its ends, or, when
// that is empty or not there, the address that the program was built with.
QString Endpoint();

}
