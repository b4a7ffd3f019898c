// SPDX-License-Identifier: Apache-2.0
#include "console/Terminal.h"

#include <chrono>
#include <cstdio>

namespace Console {

namespace {

constexpr qint64 Pause = 200; // milliseconds between two lines
constexpr int Width = 79;

qint64 Now()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

void Overwrite(const QString &text)
{
    const QByteArray bytes = '\r' + text.left(Width).leftJustified(Width).toUtf8() + '\r';
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stderr);
    std::fflush(stderr);
}

}

void Progress::Show(const QString &text)
{
    if (!m_hasTerminal || Now() < m_nextTime)
        return;
    m_nextTime = Now() + Pause;
    m_isShown = true;
    Overwrite(text);
}

void Progress::Clear()
{
    if (m_isShown)
        Overwrite({});
    m_isShown = false;
}

}
