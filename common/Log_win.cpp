// SPDX-License-Identifier: Apache-2.0
#include "common/Common.h"

#include "common/WidePath_win.h"

#include <windows.h>

using namespace Qt::Literals::StringLiterals;

namespace Common {

void Log(const QString &text)
{
    const QString line = u"Practorium: "_s + OneLine(text.left(LongestLogLine)) + u"\r\n"_s;
    const QByteArray bytes = line.toUtf8();
    const HANDLE error = GetStdHandle(STD_ERROR_HANDLE);
    DWORD put = 0;
    const bool isWritten = error && error != INVALID_HANDLE_VALUE
        && WriteFile(error, bytes.constData(), static_cast<DWORD>(bytes.size()), &put, nullptr);
    if (!isWritten)
        OutputDebugStringW(Wide(line));
}

}
