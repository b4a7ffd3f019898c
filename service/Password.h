// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

// Stored passwords: Argon2id hashes, which contain their own salt and cost. All
// functions may be called from several threads at once and raise an error if the
// cryptographic library cannot be initialised.
namespace Password {

// What it costs to compute or check one hash.
struct Cost {
    quint64 Passes;
    size_t Bytes; // of memory
};
extern const Cost UsualCost; // about a tenth of a second and 64 MiB
extern const Cost LeastCost; // for tests

// The hash of a password with a new random salt, as ASCII text. Raises ENOMEM if
// there is not enough memory.
QByteArray Hash(const QString &password, const Cost &cost = UsualCost);

// Whether the hash was made from this password; false if it is not a hash. Takes
// as long as it took to compute the hash.
bool Matches(const QByteArray &hash, const QString &password);

// Whether a text is a hash that Matches can check, at no more than four times the usual
// cost.
bool IsHash(const QByteArray &text);

// A random password that is hard to guess and easy to type, such as
// "h3kd-9wmx-pq7c-tz4n".
QString Generated();

// Why nobody could log in with this user ID or this password, as part of an error
// message; empty if it is usable. The download window removes blanks at both ends,
// and the protocol carries only the characters of the system's code page.
QString InvalidUserReason(const QString &email);
QString InvalidReason(const QString &password);

}
