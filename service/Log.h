// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <functional>

// What the service writes for its administrator: one line for each event, in the form
// "logfmt", for example: event=login_failed user="ann" from=192.0.2.7
namespace Log {

// Receives the lines, without the time and possibly from several threads at once.
using Sink = std::function<void(const QString &line)>;

class Line {
public:
    // Names are lower-case ASCII letters and "_".
    explicit Line(const QString &event)
        : m_text(QStringLiteral("event=") + event)
    {
    }

    // Any text, quoted as by Console::Quoted; only its beginning if it is long.
    Line &&Text(const QString &name, const QString &value) &&;
    // A number, an address or the like, which needs no quotes.
    Line &&Plain(const QString &name, const QString &value) &&;

    operator QString() const { return m_text; }

private:
    QString m_text;
};

// Writes a line with the time to the standard error output.
void ToStandardError(const QString &line);

}
