// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

// What differs between the systems: a pack that leaves a mark when it is run, and
// may do something more.
struct FakePack {
    // Of the file "mark-NAME" in the sandbox.
    QByteArray Name;
    // Copied to CopyTo, whose folder is made.
    QString CopyFrom = {};
    QString CopyTo = {};
    bool RemovesItself = false;
    // Bytes without a meaning behind the program.
    qsizetype Padding = 0;

    // The program, for the system that the test runs on.
    QByteArray Bytes() const;
};

// Has the closing of a socket break its connection off.
void ResetOnClose(qintptr descriptor);
// How a request ended whose connection was reset: Wine shows that to programs as
// an ordinary end.
QString AsReset(const QString &end);
