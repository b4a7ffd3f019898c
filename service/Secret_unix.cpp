// SPDX-License-Identifier: Apache-2.0
#include "service/Secret.h"

#include <QFile>

#include <array>
#include <csignal>
#include <cstdio>

#include <termios.h>
#include <unistd.h>

namespace {

// A terminal that shows nothing of what is typed, until the end of the object,
// and of the program, too.
class Silence {
public:
    explicit Silence(const termios &before)
    {
        s_before = before;
        for (size_t i = 0; i < Ends.size(); ++i) {
            struct sigaction action = {};
            action.sa_handler = OnEnd;
            action.sa_flags = static_cast<int>(SA_RESETHAND);
            sigaction(Ends[i], nullptr, &m_actions[i]);
            if (m_actions[i].sa_handler != SIG_IGN)
                sigaction(Ends[i], &action, nullptr);
        }
        termios silent = before;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    }
    ~Silence()
    {
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &s_before);
        for (size_t i = 0; i < Ends.size(); ++i)
            sigaction(Ends[i], &m_actions[i], nullptr);
    }
    Silence(const Silence &) = delete;
    Silence &operator=(const Silence &) = delete;

private:
    static constexpr std::array Ends = { SIGINT, SIGQUIT, SIGTERM, SIGHUP };

    // By now the signal has its usual effect again.
    static void OnEnd(int signal)
    {
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &s_before);
        raise(signal);
    }

    static inline termios s_before;
    std::array<struct sigaction, Ends.size()> m_actions{};
};

QByteArray ReadLine()
{
    QFile input;
    return input.open(stdin, QIODevice::ReadOnly) ? input.readLine() : QByteArray();
}

}

QString ReadSecret(const QString &prompt)
{
    QByteArray line;
    termios before;
    if (isatty(STDIN_FILENO) && tcgetattr(STDIN_FILENO, &before) == 0) {
        const Silence silence(before);
        std::fputs(qPrintable(prompt), stderr);
        line = ReadLine();
        std::fputc('\n', stderr);
    } else {
        line = ReadLine();
    }
    QString text = QString::fromUtf8(line);
    while (text.endsWith(u'\n') || text.endsWith(u'\r'))
        text.chop(1);
    return text;
}
