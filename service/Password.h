// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

// Passwords as they are kept: argon2id hashes that carry their own salt and
// cost.
namespace Password {

// What a hash costs whoever makes or checks one.
struct Cost {
    quint64 Passes;
    size_t Bytes;
};
extern const Cost UsualCost; // a fraction of a second and 64 MiB
extern const Cost LeastCost;

// Raises an error when the memory for it is not there.
QByteArray Hash(const QString &password, const Cost &cost = UsualCost);
bool Matches(const QByteArray &hash, const QString &password);

// Why nobody could log in with this user ID or password; empty for no reason.
// The window cuts blanks at both ends, and the wire has the characters of one
// code page.
QString FaultOfUser(const QString &email);
QString Fault(const QString &password);

}
