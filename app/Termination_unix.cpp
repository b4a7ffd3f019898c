// SPDX-License-Identifier: Apache-2.0
#include "app/Termination.h"

#include <QSocketNotifier>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

int writingEnd = -1;

// Few functions may be called in a handler of signals; write is one of them.
void OnSignal(int)
{
    const int before = errno;
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = write(writingEnd, &byte, 1);
    errno = before;
}

}

void WhenTerminated(QObject *context, std::function<void()> action)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    writingEnd = ends[1];
    auto *notifier = new QSocketNotifier(ends[0], QSocketNotifier::Read, context);
    QObject::connect(notifier, &QSocketNotifier::activated, context, [notifier, action = std::move(action)] {
        notifier->setEnabled(false);
        action();
    });
    for (const int signal : { SIGTERM, SIGINT, SIGHUP }) {
        struct sigaction now = {};
        sigaction(signal, nullptr, &now);
        // A program started under nohup keeps ignoring SIGHUP.
        if (now.sa_handler == SIG_IGN)
            continue;
        struct sigaction wanted = {};
        wanted.sa_handler = OnSignal;
        wanted.sa_flags = SA_RESTART;
        sigaction(signal, &wanted, nullptr);
    }
}
