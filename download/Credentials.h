// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

// What the download window keeps between runs, in the user's registry.
namespace Credentials {

extern const QString RegistryKey;
// The text under the key that takes the place of the built-in address.
extern const QString EndpointName;

// Empty when nothing is remembered.
struct Pair {
    QString UserID;
    QString Password;
};
// A password that cannot be read is empty.
Pair Load();
// Stores the password enciphered. Raises the system's error.
void Store(const Pair &pair);
// Values that are not there are no error.
void Forget();

// Where the service is: the text EndpointName, or else the address that the
// program was built with.
QString Endpoint();

}
