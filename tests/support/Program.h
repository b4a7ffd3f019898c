// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <functional>
#include <map>
#include <ostream>

// Programs run by a test, and what they leave behind.

struct Outcome {
    int Code = 0;
    QString Out = {};
    QString Err = {};
    bool operator==(const Outcome &) const = default;
};
inline void PrintTo(const Outcome &outcome, std::ostream *out)
{
    *out << outcome.Code << "\nout: " << outcome.Out.toStdString() << "\nerr: " << outcome.Err.toStdString();
}

// Runs the program to its end, in a folder of the sandbox and prepared like
// that. One that crashes or does not end fails the test.
using Preparation = std::function<void(QProcess &)>;
Outcome OutcomeOf(const QString &program, const QStringList &arguments = {}, const Preparation &prepare = {},
                  const QByteArray &input = {});

// Sends a signal. A process that is to get one has to be made ready for it
// before its start: on Windows the one signal there is goes to a group. False
// where none can be sent.
bool HearsSignals(QProcess &process);
void Signal(const QProcess &process, int number);
// Waits for the end of what was started by the test itself.
Outcome EndOf(QProcess &process);

// No file of the program can grow beyond so many bytes: the disk is full.
Preparation SmallFiles(quint64 bytes);

// Waits until the condition holds. One that never does fails the test.
void Await(const std::function<bool()> &condition);

// Everything below a folder: the contents of files and the targets of links.
std::map<QString, QByteArray> Snapshot(const QString &folder);
