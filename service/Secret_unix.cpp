#include "service/Secret.h"

#include <QFile>

#include <cstdio>

#include <termios.h>
#include <unistd.h>

QString ReadSecret(const QString &prompt)
{
    termios before;
    const bool isTerminal = isatty(STDIN_FILENO) && tcgetattr(STDIN_FILENO, &before) == 0;
    if (isTerminal) {
        std::fputs(qPrintable(prompt), stderr);
        termios silent = before;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    }
    QFile input;
    const QByteArray line = input.open(stdin, QIODevice::ReadOnly) ? input.readLine() : QByteArray();
    if (isTerminal) {
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &before);
        std::fputc('\n', stderr);
    }
    QString text = QString::fromUtf8(line);
    while (text.endsWith(u'\n') || text.endsWith(u'\r'))
        text.chop(1);
    return text;
}
