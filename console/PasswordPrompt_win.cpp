// SPDX-License-Identifier: Apache-2.0
#include "console/PasswordPrompt.h"

#include <QByteArray>

#include <cstdio>

#include <windows.h>

namespace {

// Empty unless the standard input is a console.
std::optional<DWORD> ConsoleMode()
{
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(STD_INPUT_HANDLE), &mode) ? std::optional(mode) : std::nullopt;
}

QString WithoutEnd(QString text)
{
    while (text.endsWith(u'\n') || text.endsWith(u'\r'))
        text.chop(1);
    return text;
}

// Byte by byte, so that the next line can be read later.
QString LineOf(HANDLE file)
{
    QByteArray line;
    char byte = 0;
    for (DWORD count = 0; !line.endsWith('\n') && ReadFile(file, &byte, 1, &count, nullptr) && count == 1;)
        line += byte;
    return QString::fromUtf8(line);
}

QString LineOfConsole(HANDLE console)
{
    wchar_t line[1024];
    DWORD count = 0;
    return ReadConsoleW(console, line, std::size(line), &count, nullptr)
        ? QString::fromWCharArray(line, static_cast<qsizetype>(count))
        : QString();
}

}

QString ReadPassword(const QString &prompt)
{
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    const auto mode = ConsoleMode();
    if (!mode)
        return WithoutEnd(LineOf(input));
    std::fputs(qPrintable(prompt), stderr);
    SetConsoleMode(input, *mode & ~static_cast<DWORD>(ENABLE_ECHO_INPUT));
    const QString line = LineOfConsole(input);
    SetConsoleMode(input, *mode);
    std::fputc('\n', stderr);
    return WithoutEnd(line);
}

std::optional<QString> ReadNewPassword(const QString &prompt, const QString &again)
{
    const QString password = ReadPassword(prompt);
    if (ConsoleMode() && ReadPassword(again) != password)
        return {};
    return password;
}
