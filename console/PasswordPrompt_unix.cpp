// SPDX-License-Identifier: Apache-2.0
#include "console/PasswordPrompt.h"

#include <QFile>

#include <array>
#include <csignal>
#include <cstdio>

#include <termios.h>
#include <unistd.h>

namespace {

// Turns the echo of the terminal at the standard input off until the object is
// destroyed or a signal ends the program.
class EchoOff {
public:
    explicit EchoOff(const termios &mode)
    {
        s_mode = mode;
        for (size_t i = 0; i < Signals.size(); ++i) {
            struct sigaction action = {};
            action.sa_handler = OnSignal;
            action.sa_flags = static_cast<int>(SA_RESETHAND);
            sigaction(Signals[i], nullptr, &m_actions[i]);
            if (m_actions[i].sa_handler != SIG_IGN)
                sigaction(Signals[i], &action, nullptr);
        }
        termios silent = mode;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    }
    ~EchoOff()
    {
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &s_mode);
        for (size_t i = 0; i < Signals.size(); ++i)
            sigaction(Signals[i], &m_actions[i], nullptr);
    }
    EchoOff(const EchoOff &) = delete;
    EchoOff &operator=(const EchoOff &) = delete;

private:
    static constexpr std::array Signals = { SIGINT, SIGQUIT, SIGTERM, SIGHUP };

    // SA_RESETHAND has restored the default action, so raising the signal again
    // ends the program.
    static void OnSignal(int signal)
    {
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &s_mode);
        raise(signal);
    }

    static inline termios s_mode; // to restore; static for the signal handler
    std::array<struct sigaction, Signals.size()> m_actions{}; // to restore
};

QByteArray ReadLine()
{
    QFile input;
    // Without a buffer, so that the next line can be read later.
    return input.open(stdin, QIODevice::ReadOnly | QIODevice::Unbuffered) ? input.readLine() : QByteArray();
}

}

QString ReadPassword(const QString &prompt)
{
    QByteArray line;
    termios mode;
    if (isatty(STDIN_FILENO) && tcgetattr(STDIN_FILENO, &mode) == 0) {
        const EchoOff echoOff(mode);
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

std::optional<QString> ReadNewPassword(const QString &prompt, const QString &again)
{
    const QString password = ReadPassword(prompt);
    if (isatty(STDIN_FILENO) && ReadPassword(again) != password)
        return {};
    return password;
}
