// SPDX-License-Identifier: Apache-2.0
#include "tests/support/Program.h"

#include <csignal>
#include <sys/resource.h>

bool HearsSignals(QProcess &)
{
    return true;
}

void Signal(const QProcess &process, int number)
{
    ::kill(static_cast<pid_t>(process.processId()), number);
}

Preparation SmallFiles(quint64 bytes)
{
    return [bytes](QProcess &process) {
        process.setChildProcessModifier([bytes] {
            const rlimit limit = { bytes, bytes };
            setrlimit(RLIMIT_FSIZE, &limit);
        });
    };
}
