// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace Console {

// Whether the error output is a terminal, on which a line can be overwritten.
bool HasTerminal();

// How far a long piece of work is, as one line of the error output that the next
// one overwrites. Nothing is shown where the error output is no terminal.
class Progress {
public:
    ~Progress() { Clear(); }

    // At most a few times a second; calls in between do next to nothing.
    void Show(const QString &text);
    // Removes the line, so that others can be written.
    void Clear();

private:
    bool m_hasTerminal = HasTerminal();
    bool m_isShown = false;
    qint64 m_nextTime = 0; // milliseconds of a clock that only goes on
};

}
